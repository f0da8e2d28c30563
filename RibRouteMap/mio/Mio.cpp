#include "RibRouteMap/mio/Mio.h"

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "RibRouteMap/root/Root.h"
#include "framework/vox/Assert.h"

namespace RibRouteMap {

Vox::Ptr<Mio> mioFactory(const L3::VrfName& vrfName) {
  return Vox::make<Mio>(vrfName);
}

std::string Mio::toString(PrefixListFamily f) {
  switch (f) {
    case PrefixListFamily::ipv4:
      return "ipv4";
    case PrefixListFamily::ipv6:
      return "ipv6";
  }
  return std::to_string(static_cast<U32>(f));
}

std::optional<Mio::PrefixListFamily> Mio::prefixListFamily(std::string_view text) {
  if (text == "ipv4") return PrefixListFamily::ipv4;
  if (text == "ipv6") return PrefixListFamily::ipv6;
  return std::nullopt;
}

std::optional<Mio::PrefixListFamily> Mio::prefixListFamily(U32 value) {
  if (value > 1) return std::nullopt;
  return static_cast<PrefixListFamily>(value);
}

std::ostream& operator<<(std::ostream& os, Mio::PrefixListFamily f) {
  return os << Mio::toString(f);
}

Vox::String Mio::prefixListId(std::string_view name, PrefixListFamily family) {
  switch (family) {
    case PrefixListFamily::ipv4:
      return Vox::String(name);
    case PrefixListFamily::ipv6:
      return ".ipv6." + Vox::String(name);
  }
  Vox::assertionFailed("0 (prefixListId: unknown prefix-list family)");
}

void Mio::ribPathChecked() const {
  RM_TRACE(traceHandler,
           "RibRouteMap::RibPath RibRouteMap::mioVrePath(L3::VrfName, bool) " << vrfName_);
  VOX_ASSERT_MSG(!rmRoot || rmRoot->vrfName() == vrfName_, "rmRoot->vrfName() == vrfName");
}

RibPath Mio::ribPathIs(U32 tag) const {
  ribPathChecked();
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(tag);
  return path;
}

RibPath Mio::ribMapSeqPathIs(std::string_view mapName, U32 seqno) const {
  RibPath path = ribPathIs(Tag::policyRoot);
  path->doPushString(Tag::routeMap, mapName);
  path->doPushPath(Tag::routeMapSeqs);
  path->doPushU32(Tag::routeMapSeq, seqno);
  return path;
}

RibPath Mio::ribSetPathIs(std::string_view mapName, U32 seqno) const {
  RibPath path = ribMapSeqPathIs(mapName, seqno);
  path->doPushPath(Tag::setActions);
  return path;
}

RibValue Mio::ribValueIs() const {
  return Vox::make<Rib::MioValueTagArray>();
}

RibOp Mio::ribOpIs(std::string_view opName, const RibPath& path) const {
  return Vox::validPtr(Vox::make<Rib::MioOp>(opName, path));
}

void Mio::ribExecute(std::string_view opName, const RibPath& path, const RibValue& values,
                     bool del) const {
  RibOp op = ribOpIs(opName, path);
  if (values) op->valueIs(values);
  if (del) op->deleteFlagIs(true);
  op->doExecute();
}

void Mio::doCommit() const {
  Rib::MioCommit::doCommit();
}

void Mio::doSyncCommit() const {
  const Vox::String key = Vox::String("/policy/asplist ") + "not_a_funny_name";
  RibPath path = ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::asPathLists);
  path->doPushString(Tag::asPathListKey, key);
  RibOp op = ribOpIs("deleteAsPathList", path);
  op->deleteFlagIs(true);
  op->doExecute();
  op->doCommit();
}

void Mio::doRouteMapOpConfig(Routing::RouteMap::RouteMapOpModeType mode) const {
  RM_TRACE(traceHandler,
           "void RibRouteMap::Mio::doRouteMapOpConfig("
           "Routing::RouteMap::RouteMapOpModeType)"
               << " vrf: " << vrfName_ << " config: " << mode);
  // The global options node is addressed directly: no VRF trace and no root check.
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(Tag::globalPolicy);
  RibOp op = ribOpIs("RouteMapSetOpMode", path);
  op->doSetU32(Tag::scalarRouteMapOpMode, mode, 0);
  op->doExecute();
}

void Mio::doAsPathRegexMode(Acl::RegexMode mode) const {
  RibPath path = ribPathIs(Tag::globalPolicy);
  RibOp op = ribOpIs("AsPathRegexMode", path);
  op->doSetU32(Tag::scalarAsPathRegexMode, mode == 1 ? 2 : 1, 0);
  op->doExecute();
}

}  // namespace RibRouteMap
