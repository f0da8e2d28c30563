// The policy-reference map shared with the rest of the agent: which route maps, dynamic
// prefix lists and redistributed dynamic prefix lists are in use, and for what reasons.
//
// An entity is present while it has a requester; the requester holds the set of reasons
// (plugin, mode, configuration clause and key) that refer to it. Creating or removing an
// entity notifies the map's notifiees with its name.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "framework/vox/Entity.h"
#include "framework/vox/Types.h"

namespace RoutingPolicyMap {

enum PolicyType : U32 {
  routeMapPolicy = 0,
  dynamicPrefixListPolicy = 1,
  redistributedDynPfxPolicy = 2
};
using PluginType = U32;
using CliMode = U32;

// One reason for a reference.
struct Requester {
  PluginType plugin = 0;
  CliMode mode = 0;
  std::string configCli;
  std::string configKey;
  // NOLINTNEXTLINE(modernize-use-nullptr): the defaulted comparison has no pointer in it.
  friend auto operator<=>(const Requester&, const Requester&) = default;
  friend bool operator==(const Requester&, const Requester&) = default;
};

class PolicyRequester : public Vox::PtrInterface, public Vox::NotifierBase<PolicyRequester> {
 public:
  class Notifiee : public Vox::NotifieeBase<PolicyRequester, Notifiee> {
   public:
    virtual void onReason(const Requester& /*r*/) {}
  };

  explicit PolicyRequester(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  const std::set<Requester>& reason() const { return reasons_; }
  bool empty() const { return reasons_.empty(); }

  void reasonIs(const Requester& r, bool /*present*/) {
    if (!reasons_.insert(r).second) return;
    notify([&](Notifiee& n) { n.onReason(r); });
  }
  void reasonDel(const Requester& r) {
    if (reasons_.erase(r) == 0) return;
    notify([&](Notifiee& n) { n.onReason(r); });
  }

 private:
  std::string name_;
  std::set<Requester> reasons_;
};

class PolicyMap : public Vox::PtrInterface, public Vox::NotifierBase<PolicyMap> {
 public:
  class Notifiee : public Vox::NotifieeBase<PolicyMap, Notifiee> {
   public:
    virtual void onRouteMap(const std::string& /*name*/) {}
    virtual void onDynamicPrefixList(const std::string& /*name*/) {}
    virtual void onRedistributedDynPfx(const std::string& /*name*/) {}
  };

  using Coll = std::map<std::string, Vox::Ptr<PolicyRequester>, std::less<>>;

  const Coll& routeMap() const { return routeMap_; }
  const Coll& dynamicPrefixList() const { return dpl_; }
  const Coll& redistributedDynPfx() const { return redist_; }
  Vox::Ptr<PolicyRequester> routeMap(std::string_view n) const { return find(routeMap_, n); }
  Vox::Ptr<PolicyRequester> dynamicPrefixList(std::string_view n) const { return find(dpl_, n); }
  Vox::Ptr<PolicyRequester> redistributedDynPfx(std::string_view n) const {
    return find(redist_, n);
  }

  // Each returns the entity of that name, creating it (and notifying) if absent.
  Vox::Ptr<PolicyRequester> routeMapIs(const std::string& n) {
    return create(routeMap_, n, &Notifiee::onRouteMap);
  }
  Vox::Ptr<PolicyRequester> dynamicPrefixListIs(const std::string& n) {
    return create(dpl_, n, &Notifiee::onDynamicPrefixList);
  }
  Vox::Ptr<PolicyRequester> redistributedDynPfxIs(const std::string& n) {
    return create(redist_, n, &Notifiee::onRedistributedDynPfx);
  }
  void routeMapDel(const std::string& n) { erase(routeMap_, n, &Notifiee::onRouteMap); }
  void dynamicPrefixListDel(const std::string& n) {
    erase(dpl_, n, &Notifiee::onDynamicPrefixList);
  }
  void redistributedDynPfxDel(const std::string& n) {
    erase(redist_, n, &Notifiee::onRedistributedDynPfx);
  }

 private:
  using On = void (Notifiee::*)(const std::string&);
  static Vox::Ptr<PolicyRequester> find(const Coll& c, std::string_view n) {
    auto it = c.find(n);
    return it == c.end() ? Vox::Ptr<PolicyRequester>() : it->second;
  }
  Vox::Ptr<PolicyRequester> create(Coll& c, const std::string& n, On on) {
    auto it = c.find(n);
    if (it != c.end()) return it->second;
    auto r = Vox::make<PolicyRequester>(n);
    c.emplace(n, r);
    notify([&](Notifiee& x) { (x.*on)(n); });
    return r;
  }
  void erase(Coll& c, const std::string& n, On on) {
    auto it = c.find(n);
    if (it == c.end()) return;
    c.erase(it);
    notify([&](Notifiee& x) { (x.*on)(n); });
  }

  Coll routeMap_;
  Coll dpl_;
  Coll redist_;
};

}  // namespace RoutingPolicyMap
