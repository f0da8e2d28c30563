// Shared pieces of the filter-list tests: a started agent, the configuration values they
// build, and the recorder's text of the filter-list operations.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "tests/support/Agent.h"

namespace filterlist_test {

using Lines = std::vector<std::string>;
using testing_support::join;

// --- Configuration values ---------------------------------------------------------------

inline Acl::PrefixEntry v4Entry(U32 seqno, const char* prefix,
                                Acl::MatchPermit permit = Acl::permit, U32 ge = 0, U32 le = 0) {
  return {seqno, *Vela::Prefix::parse(prefix), permit, ge, le};
}

inline Acl::Ipv6PrefixEntry v6Entry(U32 seqno, const char* prefix) {
  return {seqno, *Vela::Ip6Prefix::parse(prefix), Acl::permit, 0, 0};
}

// An entry valid in the dialects marked, matching any origin unless told otherwise.
inline Acl::AsPathEntry pathEntry(U32 seqno, std::string regex, bool validMode0 = true,
                                  bool validMode1 = true, Acl::MatchPermit permit = Acl::permit) {
  Acl::AsPathEntry e;
  e.seqno = seqno;
  e.regex = std::move(regex);
  e.permit = permit;
  e.validMode0 = validMode0;
  e.validMode1 = validMode1;
  return e;
}

// --- Prefix-list operations -------------------------------------------------------------

inline std::string prefixListPath(const std::string& id) {
  return "512/603/515=\"" + id + "\"";
}
inline std::string addPrefixList(const std::string& name) {
  return "doAddIpPrefixList " + prefixListPath(name) + " {0:str=\"" + name + "\"}";
}
inline std::string addIpv6PrefixList(const std::string& name) {
  const std::string id = ".ipv6." + name;
  return "doAddIpv6PrefixList " + prefixListPath(id) + " {0:str=\"" + id + "\"}";
}
inline std::string delPrefixList(const std::string& id) {
  return "doDelIpPrefixList " + prefixListPath(id) + " del";
}
// An entry of `name` whose values, after the sequence number, are `values`.
inline std::string addPrefixEntry(const std::string& name, U32 seqno, const std::string& values) {
  const std::string s = std::to_string(seqno);
  return "doAddIpPrefixListEntry " + prefixListPath(name) + "/516=" + s + " {9:u32=" + s + " " +
         values + "}";
}
inline std::string delPrefixEntry(const std::string& id, U32 seqno) {
  return "doDelIpPrefixListEntry " + prefixListPath(id) + "/516=" + std::to_string(seqno) + " del";
}

// --- AS-path operations -----------------------------------------------------------------

inline std::string pathListPath(const std::string& name) {
  return "512/534/535=\"/policy/asplist " + name + "\"";
}
inline std::string addPathList(const std::string& name) {
  return "addAsPathList " + pathListPath(name) + " {0:str=\"" + name + "\"}";
}
inline std::string deletePathList(const std::string& name) {
  return "deleteAsPathList " + pathListPath(name) + " del";
}
// A permit entry of any origin.
inline std::string addPathEntry(const std::string& name, U32 seqno, const std::string& regex) {
  const std::string s = std::to_string(seqno);
  return "addAsPathListEntry " + pathListPath(name) + "/536/537=\"" + s +
         "/asplist/entry\" {0:u32=" + s + " 1:str=\"" + regex + "\" 2:u32=256 3:flag=true}";
}
inline std::string delPathEntry(const std::string& name, U32 seqno) {
  return "delAsPathListEntry " + pathListPath(name) + "/536/537=\"" + std::to_string(seqno) +
         "/asplist/entry\" del";
}
// Switching the engine's dialect once every AS-path list is deleted: the sync commit, a
// commit, the mode and its commit. `engineMode` is the value the engine is sent.
inline Lines regexModeSwitch(U32 engineMode) {
  return {deletePathList("not_a_funny_name"), "commit op", "commit",
          "AsPathRegexMode 256 scalars{16:u32=" + std::to_string(engineMode) + "}", "commit"};
}

// --- Fixture ----------------------------------------------------------------------------

// A started agent whose start-up operations are already taken.
class FilterListTest : public ::testing::Test {
 protected:
  void SetUp() override { agent.take(); }

  RibRouteMap::AclListConfigSm& sm() { return *agent.root->vrfStatusSm()->aclListConfigSm(); }
  Acl::AclListConfig& config() { return *agent.aclListConfig; }

  testing_support::Agent agent;
};

}  // namespace filterlist_test
