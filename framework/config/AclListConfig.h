// The filter-list configuration of a VRF: IPv4 and IPv6 prefix lists, AS-path access lists,
// community lists, and the AS-path regular-expression mode.
//
// Entities are written by the agent (mutable pointers) and read by the library (const
// pointers). Every mutator stores first, then notifies; an unchanged value notifies nobody.
// Entry collections are ordered by sequence number, list collections by name (byte order).
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "framework/config/AclTypes.h"
#include "framework/vela/Address.h"
#include "framework/vox/Entity.h"

namespace Acl {

struct PrefixEntry {
  U32 seqno = 0;
  Vela::Prefix prefix;
  MatchPermit permit = deny;
  U32 ge = 0;  // greater-or-equal bound, 0 when not configured
  U32 le = 0;  // less-or-equal bound, 0 when not configured
  friend bool operator==(const PrefixEntry&, const PrefixEntry&) = default;
};

struct Ipv6PrefixEntry {
  U32 seqno = 0;
  Vela::Ip6Prefix prefix;
  MatchPermit permit = deny;
  U32 ge = 0;
  U32 le = 0;
  friend bool operator==(const Ipv6PrefixEntry&, const Ipv6PrefixEntry&) = default;
};

// Prefix lists of both families share one shape; only the notification names differ.
template <class Entry, class Tag>
class PrefixListBase : public Vox::PtrInterface,
                       public Vox::NotifierBase<PrefixListBase<Entry, Tag>> {
 public:
  class Notifiee : public Vox::NotifieeBase<PrefixListBase, Notifiee> {
   public:
    virtual void onEntry(U32 /*seqno*/) {}
    virtual void onVersion() {}
  };

  using EntryMap = std::map<U32, Entry>;
  explicit PrefixListBase(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  U32 version() const { return version_; }
  const EntryMap& entries() const { return entries_; }
  const Entry* entry(U32 seqno) const {
    auto it = entries_.find(seqno);
    return it == entries_.end() ? nullptr : &it->second;
  }

  void entryIs(const Entry& e) {
    auto [it, inserted] = entries_.try_emplace(e.seqno, e);
    if (!inserted) {
      if (it->second == e) return;
      it->second = e;
    }
    this->notify([&](Notifiee& n) { n.onEntry(e.seqno); });
  }
  void entryDel(U32 seqno) {
    if (entries_.erase(seqno) == 0) return;
    this->notify([&](Notifiee& n) { n.onEntry(seqno); });
  }
  void versionIs(U32 v) { Vox::scalarIs(*this, version_, v, &Notifiee::onVersion); }

 private:
  std::string name_;
  U32 version_ = 0;
  EntryMap entries_;
};

struct PrefixListTag {};
struct Ipv6PrefixListTag {};
using PrefixList = PrefixListBase<PrefixEntry, PrefixListTag>;
using Ipv6PrefixList = PrefixListBase<Ipv6PrefixEntry, Ipv6PrefixListTag>;

struct AsPathEntry {
  U32 seqno = 0;
  std::string regex;
  MatchPermit permit = deny;
  BGPOrigin origin = 0xffffffffu;  // 0, 1, 2; any other value matches any origin
  bool validMode0 = false;         // the expression is valid in dialect 0
  bool validMode1 = false;         // ... and in dialect 1
  friend bool operator==(const AsPathEntry&, const AsPathEntry&) = default;
};

class AsPathList : public Vox::PtrInterface, public Vox::NotifierBase<AsPathList> {
 public:
  class Notifiee : public Vox::NotifieeBase<AsPathList, Notifiee> {
   public:
    virtual void onPathEntry(U32 /*seqno*/) {}
    virtual void onVersion() {}
    virtual void onSource() {}
  };

  using EntryMap = std::map<U32, AsPathEntry>;
  explicit AsPathList(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  U32 version() const { return version_; }
  const std::string& source() const { return source_; }
  const EntryMap& pathEntry() const { return entries_; }
  const AsPathEntry* pathEntry(U32 seqno) const {
    auto it = entries_.find(seqno);
    return it == entries_.end() ? nullptr : &it->second;
  }

  void pathEntryIs(const AsPathEntry& e);
  void pathEntryDel(U32 seqno);
  void versionIs(U32 v);
  void sourceIs(const std::string& s);

 private:
  std::string name_;
  U32 version_ = 0;
  std::string source_;
  EntryMap entries_;
};

class CommunityListEntry : public Vox::PtrInterface, public Vox::NotifierBase<CommunityListEntry> {
 public:
  class Notifiee : public Vox::NotifieeBase<CommunityListEntry, Notifiee> {
   public:
    virtual void onVersion() {}
  };

  explicit CommunityListEntry(U32 seqno) : seqno_(seqno) {}

  U32 seqno() const { return seqno_; }
  MatchPermit permit() const { return permit_; }
  CommunityListType listType() const { return listType_; }
  const std::set<CommunityValue>& communities() const { return communities_; }
  const std::string& regex() const { return regex_; }
  // 0 while the entry is not yet complete.
  U32 version() const { return version_; }

  // The contents are rewritten whole and announced by the next version change, so these
  // setters notify nobody.
  void permitIs(MatchPermit p) { permit_ = p; }
  void listTypeIs(CommunityListType t) { listType_ = t; }
  void communitiesIs(std::set<CommunityValue> c) { communities_ = std::move(c); }
  void regexIs(std::string r) { regex_ = std::move(r); }
  void versionIs(U32 v);

 private:
  U32 seqno_;
  MatchPermit permit_ = Acl::permit;
  CommunityListType listType_ = standardValues;
  std::set<CommunityValue> communities_;
  std::string regex_;
  U32 version_ = 0;
};

class CommunityList : public Vox::PtrInterface, public Vox::NotifierBase<CommunityList> {
 public:
  class Notifiee : public Vox::NotifieeBase<CommunityList, Notifiee> {
   public:
    virtual void onCommunityListEntry(U32 /*seqno*/) {}
  };

  using EntryMap = std::map<U32, Vox::Ptr<CommunityListEntry>>;
  explicit CommunityList(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  const EntryMap& communityListEntry() const { return entries_; }
  Vox::Ptr<CommunityListEntry const> communityListEntry(U32 seqno) const {
    return Vox::lookup(entries_, seqno);
  }
  void communityListEntryIs(const Vox::Ptr<CommunityListEntry>& e);
  void communityListEntryDel(U32 seqno);

 private:
  std::string name_;
  EntryMap entries_;
};

class AclListConfig : public Vox::PtrInterface, public Vox::NotifierBase<AclListConfig> {
 public:
  class Notifiee : public Vox::NotifieeBase<AclListConfig, Notifiee> {
   public:
    virtual void onPrefixList(const std::string& /*name*/) {}
    virtual void onIpv6PrefixList(const std::string& /*name*/) {}
    virtual void onPathList(const std::string& /*name*/) {}
    virtual void onCommunityList(const std::string& /*name*/) {}
    virtual void onRegexMode() {}
  };

  template <class T>
  using Coll = std::map<std::string, Vox::Ptr<T>, std::less<>>;

  const Coll<PrefixList>& prefixList() const { return prefixList_; }
  const Coll<Ipv6PrefixList>& ipv6PrefixList() const { return ipv6PrefixList_; }
  const Coll<AsPathList>& pathList() const { return pathList_; }
  const Coll<CommunityList>& communityList() const { return communityList_; }
  Vox::Ptr<PrefixList const> prefixList(std::string_view n) const {
    return Vox::lookup(prefixList_, n);
  }
  Vox::Ptr<Ipv6PrefixList const> ipv6PrefixList(std::string_view n) const {
    return Vox::lookup(ipv6PrefixList_, n);
  }
  Vox::Ptr<AsPathList const> pathList(std::string_view n) const {
    return Vox::lookup(pathList_, n);
  }
  Vox::Ptr<CommunityList const> communityList(std::string_view n) const {
    return Vox::lookup(communityList_, n);
  }
  RegexMode regexMode() const { return regexMode_; }

  void prefixListIs(const Vox::Ptr<PrefixList>& l);
  void prefixListDel(const std::string& name);
  void ipv6PrefixListIs(const Vox::Ptr<Ipv6PrefixList>& l);
  void ipv6PrefixListDel(const std::string& name);
  void pathListIs(const Vox::Ptr<AsPathList>& l);
  void pathListDel(const std::string& name);
  void communityListIs(const Vox::Ptr<CommunityList>& l);
  void communityListDel(const std::string& name);
  void regexModeIs(RegexMode m);

 private:
  Coll<PrefixList> prefixList_;
  Coll<Ipv6PrefixList> ipv6PrefixList_;
  Coll<AsPathList> pathList_;
  Coll<CommunityList> communityList_;
  RegexMode regexMode_ = 0;
};

// --- Standard IP access lists ---------------------------------------------------------

using UniqueId = U32;

// The source filter of a standard rule. `tni` and `vni` keep the range check of the filter
// type: a value outside 0 to 16777215 is refused.
class IpFilter {
 public:
  static constexpr std::int64_t kMaxId = 16777215;
  IpFilter() = default;
  explicit IpFilter(const Vela::IpAddrWithFullMask& source) : source_(source) {}
  const Vela::IpAddrWithFullMask& source() const { return source_; }
  std::int64_t tni() const { return tni_; }
  std::int64_t vni() const { return vni_; }
  void tniIs(std::int64_t v);
  void vniIs(std::int64_t v);
  friend bool operator==(const IpFilter&, const IpFilter&) = default;

 private:
  Vela::IpAddrWithFullMask source_;
  std::int64_t tni_ = 0;
  std::int64_t vni_ = 0;
};

struct RuleConfig {
  MatchPermit action = permit;
  IpFilter filter;
  friend bool operator==(const RuleConfig&, const RuleConfig&) = default;
};

// The current rule set of an access list: rules by sequence number, each naming the unique
// identifier under which its configuration is kept. Immutable once shared.
class RuleSet : public Vox::PtrInterface {
 public:
  std::map<U32, UniqueId> rules;              // sequence number -> rule id, ascending
  std::map<UniqueId, RuleConfig> ruleConfig;  // rule id -> configuration
  bool sameAs(const RuleSet& o) const { return rules == o.rules && ruleConfig == o.ruleConfig; }
};

class AclConfig : public Vox::PtrInterface, public Vox::NotifierBase<AclConfig> {
 public:
  class Notifiee : public Vox::NotifieeBase<AclConfig, Notifiee> {
   public:
    virtual void onCurrCfg() {}
    virtual void onStandard() {}
  };

  explicit AclConfig(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  bool standard() const { return standard_; }
  const Vox::Ptr<RuleSet const>& currCfg() const { return currCfg_; }
  void standardIs(bool s);
  void currCfgIs(const Vox::Ptr<RuleSet const>& r);

 private:
  std::string name_;
  bool standard_ = false;
  Vox::Ptr<RuleSet const> currCfg_;
};

class AclTypeConfig : public Vox::PtrInterface, public Vox::NotifierBase<AclTypeConfig> {
 public:
  class Notifiee : public Vox::NotifieeBase<AclTypeConfig, Notifiee> {
   public:
    virtual void onAcl(const std::string& /*name*/) {}
  };

  using Coll = std::map<std::string, Vox::Ptr<AclConfig>, std::less<>>;
  explicit AclTypeConfig(AclType type) : type_(type) {}
  AclType type() const { return type_; }
  const Coll& acl() const { return acl_; }
  Vox::Ptr<AclConfig const> acl(std::string_view n) const { return Vox::lookup(acl_, n); }
  void aclIs(const Vox::Ptr<AclConfig>& a);
  void aclDel(const std::string& name);

 private:
  AclType type_;
  Coll acl_;
};

class Config : public Vox::PtrInterface, public Vox::NotifierBase<Config> {
 public:
  class Notifiee : public Vox::NotifieeBase<Config, Notifiee> {
   public:
    virtual void onConfig(AclType /*type*/) {}
  };

  using Coll = std::map<AclType, Vox::Ptr<AclTypeConfig>>;
  const Coll& config() const { return config_; }
  Vox::Ptr<AclTypeConfig const> config(AclType t) const { return Vox::lookup(config_, t); }
  void configIs(const Vox::Ptr<AclTypeConfig>& c);
  void configDel(AclType t);

 private:
  Coll config_;
};

}  // namespace Acl
