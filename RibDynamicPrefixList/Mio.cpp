#include "RibDynamicPrefixList/Mio.h"

#include "RibDynamicPrefixList/Trace.h"
#include "framework/rib/MioSink.h"

namespace RibDynamicPrefixList {

namespace {

constexpr U32 kPolicyRoot = 512;
constexpr U32 kDynamicPrefixLists = 627;
constexpr U32 kDynamicPrefixList = 628;

// Value tags under a dynamic-prefix-list node.
constexpr U32 kValueName = 0;
constexpr U32 kValueIpv4PrefixList = 1;
constexpr U32 kValueIpv6PrefixList = 2;
constexpr U32 kValueMatchMap = 3;

// The engine knows an IPv6 prefix list under ".ipv6." and its configured name, which keeps it
// apart from an IPv4 list of the same name; the list must be referred to the same way here.
Vox::String ipv6PrefixListId(const Vox::String& name) {
  return ".ipv6." + name;
}

RibValue stringValue(U32 tag, const Vox::String& value) {
  RibValue v = Vox::make<Rib::MioValueTagArray>();
  v->doPushString(tag, value);
  return v;
}

}  // namespace

Vox::Ptr<Mio> mioFactory() {
  return Vox::validPtr(Vox::make<Mio>());
}

RibPath Mio::mioPath() const {
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(kPolicyRoot);
  path->doPushPath(kDynamicPrefixLists);
  return path;
}

void Mio::execute(std::string_view opName, const String& name, const RibValue& values,
                  bool del) const {
  // As on the route-map channel: a host that forgot its sink learns it at trace level 1.
  if (dynPfxTrace().enabled(traceDelete) && Rib::sink() == nullptr) {
    DPL_TRACE(traceDelete, "Mio: no sink installed, operation dropped: " << opName);
  }
  RibPath path = mioPath();
  path->doPushString(kDynamicPrefixList, name);
  auto op = Vox::validPtr(Vox::make<Rib::MioOp>(opName, path));
  if (values) op->valueIs(values);
  if (del) op->deleteFlagIs(true);
  op->doExecute();
}

void Mio::doAddDynamicPrefixListEntry(const String& name, const String& ipv4PrefixList,
                                      const String& ipv6PrefixList, const String& matchMap) const {
  DPL_TRACE(traceHandler,
            "void RibDynamicPrefixList::Mio::doAddDynamicPrefixListEntry(Vox::String, "
            "Vox::String, Vox::String, Vox::String)"
                << " Setting DynamicPrefixList: " << name);
  execute("addDynamicPrefixList", name, stringValue(kValueName, name));
  if (!ipv4PrefixList.empty()) {
    DPL_TRACE(traceHandler, "Setting ipv4_prefix_list_name: " << ipv4PrefixList);
    execute("ipv4_prefix_list_name", name, stringValue(kValueIpv4PrefixList, ipv4PrefixList));
  }
  if (!ipv6PrefixList.empty()) {
    DPL_TRACE(traceHandler, "Setting ipv6_prefix_list_name: " << ipv6PrefixList);
    execute("ipv6_prefix_list_name", name,
            stringValue(kValueIpv6PrefixList, ipv6PrefixListId(ipv6PrefixList)));
  }
  DPL_TRACE(traceHandler, "Setting match_map: " << matchMap);
  execute("match_map", name, stringValue(kValueMatchMap, matchMap));
  Rib::MioCommit::doCommit();
}

void Mio::doDelDynamicPrefixList(const String& name) const {
  DPL_TRACE(traceCommand, "void RibDynamicPrefixList::Mio::doDelDynamicPrefixList(Vox::String)"
                              << " name: " << name);
  execute("delDynamicPrefixList", name, nullptr, true);
  Rib::MioCommit::doCommit();
}

}  // namespace RibDynamicPrefixList
