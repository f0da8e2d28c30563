// A reactor's keyed collection of nested reactors, one per entry of a watched collection.
//
// The collection gives every state machine the generated mutators of the reactor
// convention: `is` (xIs: create the reactor for an entity, or retarget the one under its key),
// `del` (xDel: remove and release the reactor under a key), `delAll` (xDelAll), and the two
// reconciliations with the watched collection: `reconcile(key, entity)` after a keyed
// notification and `reconcileAll(watched)` for the immediate whole-collection form. Removal
// first marks the reactor a zombie (which reaches its own nested reactors), then runs the
// owner's zombie hook if one is set, then drops the collection's reference.
//
// A reactor created here takes the owner's notification-active and zombie state, so a
// collection that grows under an active state machine produces active reactors.
//
// Iteration is in key order, so whole-collection passes are the same from run to run.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "framework/vox/Reactor.h"

namespace Vox {

template <class Key, class R, class Entity>
class ReactorColl : public ReactorChildren {
 public:
  using EntityPtr = Ptr<Entity const>;
  using Make = std::function<Ptr<R>(const EntityPtr&)>;
  using KeyOf = std::function<Key(const Entity&)>;
  using Hook = std::function<void(R&)>;
  using Map = std::map<Key, Ptr<R>>;

  // `param` and `collection` name the mutator in the refusal of a null entity, for example
  // "_routeMap" and "RibRouteMap::RouteMapConfigSm::routeMap".
  ReactorColl(Reactor* owner, const char* param, const char* collection, KeyOf keyOf, Make make)
      : owner_(owner),
        param_(param),
        collection_(collection),
        keyOf_(std::move(keyOf)),
        make_(std::move(make)) {
    owner->childrenIs(this);
  }
  ReactorColl(const ReactorColl&) = delete;
  ReactorColl& operator=(const ReactorColl&) = delete;
  // Plain release: an owner that wants its hook to run on teardown calls delAll() first.
  ~ReactorColl() override {
    for (auto& [key, r] : reactors_) r->voxDoZombieReactors(true);
  }

  // Runs after a reactor of this collection has become a zombie, before it is released.
  void zombieHookIs(Hook hook) { hook_ = std::move(hook); }

  R* find(const Key& key) const {
    auto it = reactors_.find(key);
    return it == reactors_.end() ? nullptr : it->second.ptr();
  }
  std::size_t size() const { return reactors_.size(); }
  bool empty() const { return reactors_.empty(); }
  typename Map::const_iterator begin() const { return reactors_.begin(); }
  typename Map::const_iterator end() const { return reactors_.end(); }

  R* is(const EntityPtr& entity) {
    if (!entity) {
      fatal(std::string("null ") + param_ + " parameter to mutator for " + collection_ +
            " not allowed");
    }
    const Key key = keyOf_(*entity);
    if (R* existing = find(key)) {
      existing->notifierIs(entity);
      return existing;
    }
    Ptr<R> r = make_(entity);
    if (!r) nullValidPtr();
    if (owner_->zombie()) r->voxDoZombieReactors(true);
    r->hasNotificationActiveIs(owner_->notificationActive());
    R* raw = r.ptr();
    reactors_.emplace(key, std::move(r));
    return raw;
  }

  void del(const Key& key) {
    auto it = reactors_.find(key);
    if (it == reactors_.end()) return;
    Ptr<R> r = it->second;
    r->voxDoZombieReactors(true);
    if (hook_) hook_(*r);
    reactors_.erase(key);
  }

  void delAll() {
    while (!reactors_.empty()) del(reactors_.begin()->first);
  }

  // After a keyed notification: the reactor under `key` follows the watched entity, or goes.
  void reconcile(const Key& key, const EntityPtr& entity) {
    if (entity) {
      is(entity);
    } else {
      del(key);
    }
  }

  // The whole-collection form: a reactor for every watched entry, then none for a key that
  // is gone. `watched` is a map from key to entity pointer.
  template <class WatchedMap>
  void reconcileAll(const WatchedMap& watched) {
    for (const auto& [key, entity] : watched) is(entity);
    for (auto it = reactors_.begin(); it != reactors_.end();) {
      const Key key = it->first;
      ++it;
      if (watched.find(key) == watched.end()) del(key);
    }
  }

  void forEachReactor(void (*fn)(Reactor&, bool), bool value) override {
    for (auto& [key, r] : reactors_) fn(*r, value);
  }

 private:
  Reactor* owner_;
  const char* param_;
  const char* collection_;
  KeyOf keyOf_;
  Make make_;
  Hook hook_;
  Map reactors_;
};

}  // namespace Vox
