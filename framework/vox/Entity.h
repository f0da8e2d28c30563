// Helpers shared by the configuration entities: the notifiee list member and keyed lookups.
//
// An entity derives from NotifierBase<Entity> and stores its attributes; each mutator that
// changes an attribute stores the new value first and then notifies every registered notifiee
// (see Notifier.h for the reentrancy contract). Setting an attribute to the value it already has
// notifies nobody.
#pragma once

#include <map>

#include "framework/vox/Notifier.h"
#include "framework/vox/Ptr.h"

namespace Vox {

// The mutator of a scalar attribute: stores `value` in `member` and calls `on` on every
// notifiee of `entity`; an unchanged value notifies nobody.
template <class Entity, class T, class Notifiee>
void scalarIs(const Entity& entity, T& member, const T& value, void (Notifiee::*on)()) {
  if (member == value) return;
  member = value;
  entity.notify([on](Notifiee& n) { (n.*on)(); });
}

// The entity under `key`, or null.
template <class K, class V, class Q>
Ptr<V const> lookup(const std::map<K, Ptr<V>, std::less<>>& m, const Q& key) {
  auto it = m.find(key);
  return it == m.end() ? Ptr<V const>() : Ptr<V const>(it->second);
}
template <class K, class V, class Q>
Ptr<V const> lookup(const std::map<K, Ptr<V>>& m, const Q& key) {
  auto it = m.find(key);
  return it == m.end() ? Ptr<V const>() : Ptr<V const>(it->second);
}

// Stores `v` under `key` and reports whether anything changed (a different entity).
template <class M, class K, class V>
bool storeEntity(M& m, const K& key, const V& v) {
  auto [it, inserted] = m.try_emplace(key, v);
  if (inserted) return true;
  if (it->second == v) return false;
  it->second = v;
  return true;
}

}  // namespace Vox
