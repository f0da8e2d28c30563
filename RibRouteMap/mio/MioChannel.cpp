#include "RibRouteMap/mio/MioChannel.h"

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "framework/rib/MioSink.h"
#include "framework/vox/Assert.h"

namespace RibRouteMap {

void MioChannel::ribPathChecked() const {
  RM_TRACE(traceHandler,
           "RibRouteMap::RibPath RibRouteMap::mioVrePath(L3::VrfName, bool) " << vrfName_);
  VOX_ASSERT_MSG(!rootVrfDiffers_, "rmRoot->vrfName() == vrfName");
}

RibPath MioChannel::ribPathIs(U32 tag) const {
  ribPathChecked();
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(tag);
  return path;
}

RibPath MioChannel::ribMapSeqPathIs(std::string_view mapName, U32 seqno) const {
  RibPath path = ribPathIs(Tag::policyRoot);
  path->doPushString(Tag::routeMap, mapName);
  path->doPushPath(Tag::routeMapSeqs);
  path->doPushU32(Tag::routeMapSeq, seqno);
  return path;
}

RibPath MioChannel::ribSetPathIs(std::string_view mapName, U32 seqno) const {
  RibPath path = ribMapSeqPathIs(mapName, seqno);
  path->doPushPath(Tag::setActions);
  return path;
}

RibValue MioChannel::ribValueIs() const {
  return Vox::make<Rib::MioValueTagArray>();
}

RibOp MioChannel::ribOpIs(std::string_view opName, const RibPath& path) const {
  // Without a sink the operation goes nowhere; a host that forgot to install one learns it
  // from the lowest trace level that shows anything but errors. The level is looked at first,
  // so that a switched-off trace costs what any other trace site costs.
  if (routeMapTrace().enabled(traceDelete) && Rib::sink() == nullptr) {
    RM_TRACE(traceDelete, "Mio: no sink installed, operation dropped: " << opName);
  }
  return Vox::validPtr(Vox::make<Rib::MioOp>(opName, path));
}

void MioChannel::ribExecute(std::string_view opName, const RibPath& path, const RibValue& values,
                            bool del) const {
  RibOp op = ribOpIs(opName, path);
  if (values) op->valueIs(values);
  if (del) op->deleteFlagIs(true);
  op->doExecute();
}

void MioChannel::doCommit() const {
  Rib::MioCommit::doCommit();
}

void MioChannel::doSyncCommit() const {
  const Vox::String key = Vox::String("/policy/asplist ") + "not_a_funny_name";
  RibPath path = ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::asPathLists);
  path->doPushString(Tag::asPathListKey, key);
  RibOp op = ribOpIs("deleteAsPathList", path);
  op->deleteFlagIs(true);
  op->doExecute();
  op->doCommit();
}

}  // namespace RibRouteMap
