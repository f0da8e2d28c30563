// The dynamic-prefix-list configuration: named lists tying an IPv4 and an IPv6 prefix-list
// name to a match map (a route map).
#pragma once

#include <functional>
#include <map>
#include <string>

#include "framework/vox/Entity.h"
#include "framework/vox/Types.h"

namespace Routing::DynamicPrefixList {

class DynamicPrefixListEntry : public Vox::PtrInterface,
                               public Vox::NotifierBase<DynamicPrefixListEntry> {
 public:
  class Notifiee : public Vox::NotifieeBase<DynamicPrefixListEntry, Notifiee> {
   public:
    virtual void onVersion() {}
  };

  explicit DynamicPrefixListEntry(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  const std::string& matchMap() const { return matchMap_; }
  const std::string& ipv4PrefixList() const { return ipv4PrefixList_; }
  const std::string& ipv6PrefixList() const { return ipv6PrefixList_; }
  U32 version() const { return version_; }

  // The fields are announced by the next version change, so these notify nobody.
  void matchMapIs(std::string v) { matchMap_ = std::move(v); }
  void ipv4PrefixListIs(std::string v) { ipv4PrefixList_ = std::move(v); }
  void ipv6PrefixListIs(std::string v) { ipv6PrefixList_ = std::move(v); }
  void versionIs(U32 v) { Vox::scalarIs(*this, version_, v, &Notifiee::onVersion); }

 private:
  std::string name_;
  std::string matchMap_;
  std::string ipv4PrefixList_;
  std::string ipv6PrefixList_;
  U32 version_ = 0;
};

class Config : public Vox::PtrInterface, public Vox::NotifierBase<Config> {
 public:
  class Notifiee : public Vox::NotifieeBase<Config, Notifiee> {
   public:
    virtual void onDynamicPrefixList(const std::string& /*name*/) {}
  };

  using Coll = std::map<std::string, Vox::Ptr<DynamicPrefixListEntry>, std::less<>>;
  const Coll& dynamicPrefixList() const { return dpl_; }
  Vox::Ptr<DynamicPrefixListEntry const> dynamicPrefixList(std::string_view n) const {
    return Vox::lookup(dpl_, n);
  }
  void dynamicPrefixListIs(const Vox::Ptr<DynamicPrefixListEntry>& e) {
    if (!e) Vox::nullValidPtr();
    const std::string name = e->name();
    if (!Vox::storeEntity(dpl_, name, e)) return;
    notify([&](Notifiee& n) { n.onDynamicPrefixList(name); });
  }
  void dynamicPrefixListDel(const std::string& name) {
    auto it = dpl_.find(name);
    if (it == dpl_.end()) return;
    dpl_.erase(it);
    notify([&](Notifiee& n) { n.onDynamicPrefixList(name); });
  }

 private:
  Coll dpl_;
};

}  // namespace Routing::DynamicPrefixList
