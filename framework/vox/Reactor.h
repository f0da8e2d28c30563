// Base of every state machine and nested reactor.
//
// A reactor is an entity (it has the framework's count word) whose two flag bits gate its
// handlers: bit 29 says its notifications are active, bit 31 that it is a zombie (removed by
// its owner and about to go). A notification runs the hand-written handler only when the
// reactor is active and not a zombie; the nested collections are brought in line either way.
//
// A reactor owns the reactors below it through ReactorSlot and ReactorColl members, which
// register themselves with it at construction. That registration is what lets
// `hasNotificationActiveIs` and `voxDoZombieReactors` reach every owned reactor, in
// registration order (the watched entity's reactor first, then the collections) and within a
// collection in key order, without per-class code.
#pragma once

#include <utility>
#include <vector>

#include "framework/vox/Ptr.h"

namespace Vox {

class Reactor;

// Something a reactor owns that holds further reactors.
class ReactorChildren {
 public:
  virtual ~ReactorChildren() = default;
  virtual void forEachReactor(void (*fn)(Reactor&, bool), bool value) = 0;
};

class Reactor : public PtrInterface {
 public:
  bool notificationActive() const { return flag(kNotificationActiveBit); }
  bool zombie() const { return flag(kZombieBit); }
  // Hand-written handlers run only in this state.
  bool handlersEnabled() const { return notificationActive() && !zombie(); }

  bool initialized() const { return initialized_; }
  void initializedIs(bool v) { initialized_ = v; }

  // Sets or clears bit 29 here and in every owned reactor; nothing at all happens when the
  // flag already has that value. Subclasses react to the change in onNotificationActive().
  void hasNotificationActiveIs(bool active);
  // Sets or clears bit 31 in every owned reactor and then here; nothing at all happens when
  // the flag already has that value. Subclasses react to the change in onZombie().
  void voxDoZombieReactors(bool zombie);

  // Used by ReactorSlot and ReactorColl to register with their owner.
  void childrenIs(ReactorChildren* c) { children_.push_back(c); }

 protected:
  Reactor() = default;
  ~Reactor() override = default;

  // Called when the zombie flag has changed, after the owned reactors were switched.
  virtual void onZombie(bool /*zombie*/) {}
  // Called when the notification-active flag has changed, after the owned reactors were
  // switched, so that a reaction started here finds every owned reactor in the new state.
  virtual void onNotificationActive(bool /*active*/) {}

  // The fixed order of a keyed notification: the handler (if enabled), then reconciliation.
  template <class Key, class Handle, class Reconcile>
  void dispatchKeyed(const Key& key, Handle&& handle, Reconcile&& reconcile) {
    Ptr<Reactor> keepAlive(this);  // the handler may lead to this reactor's removal
    if (handlersEnabled()) handle(key);
    reconcile(key);
  }
  template <class Handle>
  void dispatchScalar(Handle&& handle) {
    if (handlersEnabled()) handle();
  }

 private:
  std::vector<ReactorChildren*> children_;
  bool initialized_ = false;
};

// One owned reactor (for example the reactor on a state machine's watched entity).
template <class R>
class ReactorSlot : public ReactorChildren {
 public:
  explicit ReactorSlot(Reactor* owner) { owner->childrenIs(this); }
  ~ReactorSlot() override { reset(); }

  R* get() const { return r_.ptr(); }
  R* operator->() const { return r_.ptr(); }
  explicit operator bool() const { return static_cast<bool>(r_); }

  void set(Ptr<R> r) {
    Ptr<R> old = std::move(r_);
    r_ = std::move(r);
    if (old) old->voxDoZombieReactors(true);
  }
  void reset() { set(nullptr); }

  void forEachReactor(void (*fn)(Reactor&, bool), bool value) override {
    if (r_) fn(*r_, value);
  }

 private:
  Ptr<R> r_;
};

}  // namespace Vox
