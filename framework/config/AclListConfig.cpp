#include "framework/config/AclListConfig.h"

#include <string>

#include "framework/vox/Fatal.h"

namespace Acl {

namespace {

// Stores `entity` under its name in `coll` and notifies `on(name)` when that changed it.
template <class Coll, class T, class Owner, class On>
void storeNamed(Coll& coll, const Vox::Ptr<T>& entity, const Owner& owner, On on) {
  if (!entity) Vox::nullValidPtr();
  const std::string name = entity->name();
  if (!Vox::storeEntity(coll, name, entity)) return;
  owner.notify([&](auto& n) { (n.*on)(name); });
}

template <class Coll, class Owner, class On>
void eraseNamed(Coll& coll, const std::string& name, const Owner& owner, On on) {
  auto it = coll.find(name);
  if (it == coll.end()) return;
  coll.erase(it);
  owner.notify([&](auto& n) { (n.*on)(name); });
}

}  // namespace

void AsPathList::pathEntryIs(const AsPathEntry& e) {
  auto [it, inserted] = entries_.try_emplace(e.seqno, e);
  if (!inserted) {
    if (it->second == e) return;
    it->second = e;
  }
  notify([&](Notifiee& n) { n.onPathEntry(e.seqno); });
}

void AsPathList::pathEntryDel(U32 seqno) {
  if (entries_.erase(seqno) == 0) return;
  notify([&](Notifiee& n) { n.onPathEntry(seqno); });
}

void AsPathList::versionIs(U32 v) {
  Vox::scalarIs(*this, version_, v, &Notifiee::onVersion);
}

void AsPathList::sourceIs(const std::string& s) {
  Vox::scalarIs(*this, source_, s, &Notifiee::onSource);
}

void CommunityListEntry::versionIs(U32 v) {
  Vox::scalarIs(*this, version_, v, &Notifiee::onVersion);
}

void CommunityList::communityListEntryIs(const Vox::Ptr<CommunityListEntry>& e) {
  if (!e) Vox::nullValidPtr();
  const U32 seqno = e->seqno();
  if (!Vox::storeEntity(entries_, seqno, e)) return;
  notify([&](Notifiee& n) { n.onCommunityListEntry(seqno); });
}

void CommunityList::communityListEntryDel(U32 seqno) {
  if (entries_.erase(seqno) == 0) return;
  notify([&](Notifiee& n) { n.onCommunityListEntry(seqno); });
}

void AclListConfig::prefixListIs(const Vox::Ptr<PrefixList>& l) {
  storeNamed(prefixList_, l, *this, &Notifiee::onPrefixList);
}
void AclListConfig::prefixListDel(const std::string& name) {
  eraseNamed(prefixList_, name, *this, &Notifiee::onPrefixList);
}
void AclListConfig::ipv6PrefixListIs(const Vox::Ptr<Ipv6PrefixList>& l) {
  storeNamed(ipv6PrefixList_, l, *this, &Notifiee::onIpv6PrefixList);
}
void AclListConfig::ipv6PrefixListDel(const std::string& name) {
  eraseNamed(ipv6PrefixList_, name, *this, &Notifiee::onIpv6PrefixList);
}
void AclListConfig::pathListIs(const Vox::Ptr<AsPathList>& l) {
  storeNamed(pathList_, l, *this, &Notifiee::onPathList);
}
void AclListConfig::pathListDel(const std::string& name) {
  eraseNamed(pathList_, name, *this, &Notifiee::onPathList);
}
void AclListConfig::communityListIs(const Vox::Ptr<CommunityList>& l) {
  storeNamed(communityList_, l, *this, &Notifiee::onCommunityList);
}
void AclListConfig::communityListDel(const std::string& name) {
  eraseNamed(communityList_, name, *this, &Notifiee::onCommunityList);
}
void AclListConfig::regexModeIs(RegexMode m) {
  Vox::scalarIs(*this, regexMode_, m, &Notifiee::onRegexMode);
}

void IpFilter::tniIs(std::int64_t v) {
  if (v < 0 || v > kMaxId) Vox::fatal("IpFilterBase::tni < 0 or > 16777215 not allowed");
  tni_ = v;
}
void IpFilter::vniIs(std::int64_t v) {
  if (v < 0 || v > kMaxId) Vox::fatal("IpFilterBase::vni < 0 or > 16777215 not allowed");
  vni_ = v;
}

void AclConfig::standardIs(bool s) {
  Vox::scalarIs(*this, standard_, s, &Notifiee::onStandard);
}
void AclConfig::currCfgIs(const Vox::Ptr<RuleSet const>& r) {
  Vox::scalarIs(*this, currCfg_, r, &Notifiee::onCurrCfg);
}

void AclTypeConfig::aclIs(const Vox::Ptr<AclConfig>& a) {
  storeNamed(acl_, a, *this, &Notifiee::onAcl);
}
void AclTypeConfig::aclDel(const std::string& name) {
  eraseNamed(acl_, name, *this, &Notifiee::onAcl);
}

void Config::configIs(const Vox::Ptr<AclTypeConfig>& c) {
  if (!c) Vox::nullValidPtr();
  const AclType t = c->type();
  if (!Vox::storeEntity(config_, t, c)) return;
  notify([&](Notifiee& n) { n.onConfig(t); });
}
void Config::configDel(AclType t) {
  if (config_.erase(t) == 0) return;
  notify([&](Notifiee& n) { n.onConfig(t); });
}

}  // namespace Acl
