// Per-attribute change notification of configuration entities.
//
// An entity keeps the list of notifiees that watch it and calls them synchronously, on the
// caller's thread, from inside the mutator that changed the attribute, after the new value
// is stored. A notifiee registers by pointing `notifierIs` at the entity and unregisters by
// pointing it elsewhere (or at null) or by being destroyed.
//
// Reentrancy contract of `NotifierList::notify`:
//  - A notifiee may unregister itself or any other notifiee during a callback. A notifiee
//    that is unregistered before its turn in the current round is not called.
//  - A notifiee registered during a round is not called in that round; it is called from the
//    next notification on.
//  - A callback may change attributes of the same or another entity; the nested notification
//    runs to its end before the outer round continues (notifications nest, never queue).
//  - The list is compacted when the outermost round ends, so removal stays O(1) during one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "framework/vox/Ptr.h"

namespace Vox {

// The notifiees of one entity, in registration order. Entries are kept untyped so that an
// entity can hold its list before its Notifiee class is declared; `notify` names the type.
class NotifierList {
 public:
  void add(void* n) { list_.push_back(n); }
  void remove(void* n) {
    auto it = std::find(list_.begin(), list_.end(), n);
    if (it == list_.end()) return;
    if (depth_ > 0) {
      *it = nullptr;
      dirty_ = true;
    } else {
      list_.erase(it);
    }
  }
  std::size_t size() const {
    return static_cast<std::size_t>(
        std::count_if(list_.begin(), list_.end(), [](void* n) { return n != nullptr; }));
  }

  // Calls f(notifiee) for every notifiee registered when the round began; each was registered
  // as a `Notifiee*`.
  template <class Notifiee, class F>
  void notify(F&& f) {
    const std::size_t n = list_.size();
    ++depth_;
    for (std::size_t i = 0; i < n; ++i) {
      if (void* p = list_[i]) f(*static_cast<Notifiee*>(p));
    }
    if (--depth_ == 0 && dirty_) {
      list_.erase(std::remove(list_.begin(), list_.end(), nullptr), list_.end());
      dirty_ = false;
    }
  }

 private:
  std::vector<void*> list_;
  int depth_ = 0;
  bool dirty_ = false;
};

// Base of every entity that notifies: its notifiee list and `notify`, which calls every
// notifiee as the entity's own Notifiee class (`Entity::Notifiee`).
template <class Entity>
class NotifierBase {
 public:
  NotifierList& notifiees() const { return notifiees_; }
  template <class F>
  void notify(F&& f) const {
    notifiees_.notify<typename Entity::Notifiee>(f);
  }

 private:
  mutable NotifierList notifiees_;
};

// Base of every entity's Notifiee class: holds the watched entity through a const pointer and
// keeps the registration in step with it. `Self` is the entity's own Notifiee class.
template <class Entity, class Self>
class NotifieeBase {
 public:
  using NotifierPtr = Ptr<Entity const>;

  NotifieeBase() = default;
  NotifieeBase(const NotifieeBase&) = delete;
  NotifieeBase& operator=(const NotifieeBase&) = delete;
  // By now the Self part is already destroyed, so `this` may no longer be cast down to it:
  // the pointer registered while the object was whole is what leaves the list.
  virtual ~NotifieeBase() {
    if (notifier_) notifier_->notifiees().remove(registered_);
  }

  const NotifierPtr& notifier() const { return notifier_; }

  // Watches `n` instead of the current entity; a no-op when it is the same entity.
  void notifierIs(const NotifierPtr& n) {
    if (n == notifier_) return;
    if (notifier_) notifier_->notifiees().remove(registered_);
    notifier_ = n;
    if (notifier_) {
      registered_ = static_cast<Self*>(this);
      notifier_->notifiees().add(registered_);
    }
    onNotifier();
  }

  // Called after the watched entity changed through notifierIs.
  virtual void onNotifier() {}

 private:
  NotifierPtr notifier_;
  Self* registered_ = nullptr;  // what the watched entity's list holds for this notifiee
};

}  // namespace Vox
