// Recycled storage for objects that are made and released at a high rate.
//
// An engine operation, its path and its value list live for one call: the library builds
// them, hands them to the engine and drops them, many times per configuration entry.
// Deriving T from `Recycled<T>` gives T class-specific allocation that keeps up to `kKeep`
// released blocks of exactly sizeof(T) on a free list of the releasing thread and hands them
// out again, so a steady stream of such objects makes no call to the general allocator.
// Blocks of another size (a class derived from T) come from and go to the general allocator.
// The lists hold raw memory only: what they keep is at most kKeep blocks per thread, never
// returned while the thread lives.
//
// Under AddressSanitizer nothing is kept, so that a use after release is still reported.
#pragma once

#include <cstddef>
#include <new>

namespace Vox {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kRecycling = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kRecycling = false;
#else
inline constexpr bool kRecycling = true;
#endif
#else
inline constexpr bool kRecycling = true;
#endif

template <class T, std::size_t kKeep = 32>
class Recycled {
 public:
  static void* operator new(std::size_t size) {
    if (void* p = take(size)) return p;
    return ::operator new(size);
  }
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (void* p = take(size)) return p;
    return ::operator new(size, std::nothrow);
  }
  static void operator delete(void* p, std::size_t size) noexcept {
    if (kRecycling && size == sizeof(T) && kept_ < kKeep) {
      free_ = new (p) Block{free_};
      ++kept_;
      return;
    }
    ::operator delete(p);
  }
  // Only reached when a constructor throws after the nothrow form allocated; every block,
  // kept or not, came from the general allocator.
  static void operator delete(void* p, const std::nothrow_t&) noexcept { ::operator delete(p); }

  // Blocks kept on this thread's list (for tests).
  static std::size_t kept() { return kept_; }

 private:
  struct Block {
    Block* next;
  };

  static void* take(std::size_t size) {
    static_assert(sizeof(T) >= sizeof(Block), "a kept block must hold the list link");
    if (!kRecycling || size != sizeof(T) || free_ == nullptr) return nullptr;
    Block* b = free_;
    free_ = b->next;
    --kept_;
    return b;
  }

  static inline thread_local Block* free_ = nullptr;
  static inline thread_local std::size_t kept_ = 0;
};

}  // namespace Vox
