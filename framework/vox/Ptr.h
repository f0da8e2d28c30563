// Intrusive reference counting for every entity of the type framework.
//
// Each entity carries one 32-bit count word. Its low bits are the reference count; bit 29 is
// the notification-active flag and bit 31 the zombie (marked for deletion) flag of a reactor.
// An entity is destroyed when the word masked with kCountMask reaches zero, so the two flags
// never keep an entity alive. `Ptr<T>` and `Ptr<T const>` share the count: the word is mutable
// so that read-only holders of configuration entities still own a reference.
//
// Counts change with plain arithmetic; when the process-wide switch `threadSafePointers` is on
// they change atomically instead. The library itself runs on one event loop.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include "framework/vox/Fatal.h"

namespace Vox {

// Process-wide switch for atomic reference counts (off: the agent's single event loop).
inline bool threadSafePointers = false;

class PtrInterface {
 public:
  static constexpr std::uint32_t kNotificationActiveBit = 1u << 29;
  static constexpr std::uint32_t kZombieBit = 1u << 31;
  static constexpr std::uint32_t kCountMask = 0x5fffffffu;
  // The count proper lives below bit 29; bit 30 is spare but still counted by the mask.
  static constexpr std::uint32_t kMaxCount = (1u << 29) - 1;
  static_assert((kCountMask & (kNotificationActiveBit | kZombieBit)) == 0,
                "flag bits must lie outside the count mask");
  static_assert((kMaxCount & ~kCountMask) == 0, "the count must fit inside the count mask");

  PtrInterface() = default;
  PtrInterface(const PtrInterface&) : word_(0) {}
  PtrInterface& operator=(const PtrInterface&) { return *this; }

  std::uint32_t references() const { return word_ & kCountMask; }
  std::uint32_t countWord() const { return word_; }

  void newRef() const {
    if ((word_ & kCountMask) >= kMaxCount) [[unlikely]] {
      assertionFailed("(word_ & kCountMask) < kMaxCount && \"reference count overflow\"");
    }
    if (threadSafePointers) {
      std::atomic_ref<std::uint32_t>(word_).fetch_add(1);
    } else {
      ++word_;
    }
  }
  // Drops one reference; destroys the entity when the masked count reaches zero.
  void deleteRef() const {
    std::uint32_t after;
    if (threadSafePointers) {
      after = std::atomic_ref<std::uint32_t>(word_).fetch_sub(1) - 1;
    } else {
      after = --word_;
    }
    if ((after & kCountMask) == 0) delete this;
  }

 protected:
  virtual ~PtrInterface() = default;

  bool flag(std::uint32_t bit) const { return (word_ & bit) != 0; }
  void flagIs(std::uint32_t bit, bool on) const {
    if (threadSafePointers) {
      std::atomic_ref<std::uint32_t> ref(word_);
      if (on) {
        ref.fetch_or(bit);
      } else {
        ref.fetch_and(~bit);
      }
    } else {
      word_ = on ? (word_ | bit) : (word_ & ~bit);
    }
  }

 private:
  mutable std::uint32_t word_ = 0;
};

template <class T>
class Ptr {
 public:
  using element_type = T;

  Ptr() = default;
  Ptr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  explicit Ptr(T* p) : p_(p) {
    if (p_) p_->newRef();
  }
  Ptr(const Ptr& o) : p_(o.p_) {
    if (p_) p_->newRef();
  }
  Ptr(Ptr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(const Ptr<U>& o) : p_(o.ptr()) {  // NOLINT(google-explicit-constructor)
    if (p_) p_->newRef();
  }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& o) : p_(o.release()) {}  // NOLINT(google-explicit-constructor)
  ~Ptr() {
    if (p_) p_->deleteRef();
  }
  Ptr& operator=(Ptr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }

  T* ptr() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }
  // Hands the reference over to the caller.
  T* release() { return std::exchange(p_, nullptr); }

  friend bool operator==(const Ptr& a, const Ptr& b) { return a.p_ == b.p_; }
  friend bool operator==(const Ptr& a, std::nullptr_t) { return a.p_ == nullptr; }

 private:
  T* p_ = nullptr;
};

template <class T>
using PtrConst = Ptr<T const>;

// Allocates a new entity; a failed allocation is the framework's range error rather than an
// exception, so no exception leaves the library.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  T* p = new (std::nothrow) T(std::forward<Args>(args)...);
  if (p == nullptr) nullValidPtr();
  return Ptr<T>(p);
}

// Returns `p` if it is set; a null pointer where a valid one is required is fatal.
template <class T>
const Ptr<T>& validPtr(const Ptr<T>& p) {
  if (!p) nullValidPtr();
  return p;
}

}  // namespace Vox
