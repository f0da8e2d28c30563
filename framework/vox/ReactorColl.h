// A reactor's keyed collection of nested reactors, one per entry of a watched collection.
//
// The collection gives every state machine the generated mutators of the reactor
// convention: `is` (xIs: create the reactor for an entity, or retarget the one under its key),
// `del` (xDel: remove and release the reactor under a key), `delAll` (xDelAll). It is bound at
// construction to the collection it mirrors (`Watched`, a map from key to entity pointer, read
// through an accessor that answers null while nothing is watched), so that the two
// reconciliations with it need nothing from the state machine: `onKey` after a keyed
// notification (the hand-written handler first, if the notified reactor's handlers are on, then
// the reactor under the key follows the watched entry or goes) and `reconcileAll` for the
// immediate whole-collection form. Removal first marks the reactor a zombie (which reaches its
// own nested reactors), then runs the owner's zombie hook if one is set, then drops the
// collection's reference.
//
// A nested reactor is made as `R(entity, owner)`; it takes the owner's notification-active and
// zombie state, so a collection that grows under an active state machine produces active
// reactors. Iteration is in key order, so whole-collection passes are the same from run to run.
//
// Typical usage: a whole state machine that keeps an engine's copy of a shelf's books, with
// the reactor on the shelf and one nested reactor per book. The configuration gives `Shelf`,
// whose collection `book` (a map from name to Ptr<Book>, type `Shelf::Coll`) notifies
// onBook(name), and `Book`, whose `title` notifies onTitle(). A host makes the machine with
// Vox::make<ShelfSm>(shelf) and turns its handlers on with hasNotificationActiveIs(true).
// (tests/framework/ReactorCollUsage_test.cpp compiles these lines and runs them.)
//
//   class ShelfSm : public Vox::Reactor {
//    public:
//     // The reactor on the watched entity: each keyed notification runs the handler, then
//     // brings the collection in line.
//     class VoxShelf : public Vox::ReactorOn<Shelf> {
//      public:
//       VoxShelf(const EntityPtr& shelf, ShelfSm* sm) : ReactorOn(shelf), sm_(sm) {
//         initializedIs(true);
//       }
//       void onBook(const std::string& name) override {
//         sm_->book_.onKey(*this, name, [this](const std::string& n) { sm_->handleBook(n); });
//       }
//
//      private:
//       ShelfSm* sm_;
//     };
//
//     // One per book: made as VoxBook(book, owner), it sends its book at once.
//     class VoxBook : public Vox::ReactorOn<Book> {
//      public:
//       VoxBook(const EntityPtr& book, ShelfSm* sm) : ReactorOn(book), sm_(sm) {
//         handleTitle();
//         initializedIs(true);
//       }
//       void onTitle() override { dispatch([this] { handleTitle(); }); }
//       void handleTitle() { sm_->sent.push_back("add " + notifier()->name()); }
//
//      private:
//       ShelfSm* sm_;
//     };
//
//     explicit ShelfSm(const Vox::Ptr<Shelf const>& shelf) {
//       shelf_.set(Vox::make<VoxShelf>(shelf, this));
//       book_.reconcileAll();  // a reactor for every book already there
//       initializedIs(true);
//     }
//
//     // A book that appears is its new reactor's business; one that goes is deleted here,
//     // before its reactor goes.
//     void handleBook(const std::string& name) {
//       if (!shelf_->notifier()->book().contains(name)) sent.push_back("delete " + name);
//     }
//
//     std::vector<std::string> sent;  // stands in for the engine
//
//    private:
//     Vox::ReactorSlot<VoxShelf> shelf_{this};
//     Vox::ReactorColl<VoxBook, Shelf::Coll> book_{this, "ShelfSm::book", [this] {
//       return shelf_ ? &shelf_->notifier()->book() : nullptr;
//     }};
//   };
#pragma once

#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/vox/Reactor.h"

namespace Vox {

// The key under which a watched collection holds an entity: its name, or its sequence number.
template <class Entity>
decltype(auto) collectionKey(const Entity& e) {
  if constexpr (requires { e.name(); }) {
    return e.name();
  } else {
    return e.seqno();
  }
}

template <class R, class Watched>
class ReactorColl : public ReactorChildren {
 public:
  using Key = typename Watched::key_type;
  using Entity = typename Watched::mapped_type::element_type;
  using EntityPtr = Ptr<Entity const>;
  using Accessor = std::function<const Watched*()>;
  using Hook = std::function<void(R&)>;
  using Map = std::map<Key, Ptr<R>>;

  // `qualifiedName` names the mutator in the refusal of a null entity, for example
  // "RibRouteMap::RouteMapConfigSm::routeMap" (the parameter is "_routeMap").
  template <class Owner>
  ReactorColl(Owner* owner, std::string_view qualifiedName, Accessor watched)
      : owner_(owner),
        qualifiedName_(qualifiedName),
        watched_(std::move(watched)),
        make_([owner](const EntityPtr& e) { return make<R>(e, owner); }) {
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
    if (!entity) refuseNull();
    const Key& key = collectionKey(*entity);
    // A whole collection arrives in key order, so a new key usually goes after the last one:
    // that case needs one comparison instead of two searches.
    if (!followsLast(key)) {
      if (R* existing = find(key)) {
        existing->notifierIs(entity);
        return existing;
      }
    }
    Ptr<R> r = make_(entity);
    if (!r) nullValidPtr();
    if (owner_->zombie()) r->voxDoZombieReactors(true);
    r->hasNotificationActiveIs(owner_->notificationActive());
    R* raw = r.ptr();
    // Making the reactor runs its handlers, which may change this collection: the place is
    // found afterwards.
    if (followsLast(key)) {
      reactors_.emplace_hint(reactors_.end(), key, std::move(r));
    } else {
      reactors_.emplace(key, std::move(r));
    }
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

  // A keyed notification of the watched collection, received by `notified`: the hand-written
  // `handle(key)` runs only while that reactor's handlers are on; either way the reactor under
  // `key` then follows the watched entry, or goes with it.
  template <class Handle>
  void onKey(Reactor& notified, const Key& key, Handle&& handle) {
    Ptr<Reactor> keepAlive(&notified);  // the handler may lead to the notified reactor's removal
    if (notified.handlersEnabled()) handle(key);
    reconcile(key);
  }

  // The reactor under `key` follows the watched entry, or goes. Nothing while nothing is
  // watched.
  void reconcile(const Key& key) {
    const Watched* watched = watched_();
    if (!watched) return;
    auto it = watched->find(key);
    if (it != watched->end()) {
      is(it->second);
    } else {
      del(key);
    }
  }

  // The whole-collection form: a reactor for every watched entry, then none for a key that is
  // gone. Nothing while nothing is watched.
  void reconcileAll() {
    const Watched* watched = watched_();
    if (!watched) return;
    for (const auto& [key, entity] : *watched) is(entity);
    // Both are in key order: one merged pass finds the keys that are gone, and they are
    // removed after it, since a removal may run hooks that change the collection.
    std::vector<Key> gone;
    auto w = watched->begin();
    for (const auto& [key, r] : reactors_) {
      while (w != watched->end() && w->first < key) ++w;
      if (w == watched->end() || key < w->first) gone.push_back(key);
    }
    for (const Key& key : gone) del(key);
  }

  void forEachReactor(void (*fn)(Reactor&, bool), bool value) override {
    for (auto& [key, r] : reactors_) fn(*r, value);
  }

 private:
  bool followsLast(const Key& key) const {
    return reactors_.empty() || std::prev(reactors_.end())->first < key;
  }

  [[noreturn]] void refuseNull() const {
    const std::size_t at = qualifiedName_.rfind("::");
    const std::string_view member =
        at == std::string_view::npos ? qualifiedName_ : qualifiedName_.substr(at + 2);
    fatal("null _" + std::string(member) + " parameter to mutator for " +
          std::string(qualifiedName_) + " not allowed");
  }

  Reactor* owner_;
  std::string_view qualifiedName_;
  Accessor watched_;
  std::function<Ptr<R>(const EntityPtr&)> make_;
  Hook hook_;
  Map reactors_;
};

}  // namespace Vox
