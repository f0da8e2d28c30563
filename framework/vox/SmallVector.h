// A vector that keeps its first N elements inside the object.
//
// The engine's operations carry a handful of path entries and values each and are built by
// the million at start-up; keeping the common sizes inline spares every operation its heap
// allocations and their regrowth. Past N elements the storage moves to the heap and grows
// geometrically, as std::vector does. Only the operations the command library needs are
// offered: push_back/emplace_back, pop_back, clear, reserve, iteration, indexing, comparison.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "framework/vox/Fatal.h"

namespace Vox {

template <class T, std::size_t N>
class SmallVector {
  static_assert(N > 0, "a small vector keeps at least one element inline");

 public:
  using value_type = T;
  using size_type = std::size_t;
  using iterator = T*;
  using const_iterator = const T*;

  SmallVector() = default;
  SmallVector(std::initializer_list<T> init) { assign(init.begin(), init.end()); }
  template <class It>
  SmallVector(It first, It last) {
    assign(first, last);
  }
  SmallVector(const SmallVector& o) { assign(o.begin(), o.end()); }
  SmallVector(SmallVector&& o) noexcept { takeFrom(o); }
  SmallVector& operator=(const SmallVector& o) {
    if (this != &o) {
      clear();
      assign(o.begin(), o.end());
    }
    return *this;
  }
  SmallVector& operator=(SmallVector&& o) noexcept {
    if (this != &o) {
      release();
      takeFrom(o);
    }
    return *this;
  }
  ~SmallVector() { release(); }

  template <class It>
  void assign(It first, It last) {
    clear();
    reserve(static_cast<size_type>(std::distance(first, last)));
    for (; first != last; ++first) emplace_back(*first);
  }

  size_type size() const { return size_; }
  size_type capacity() const { return capacity_; }
  bool empty() const { return size_ == 0; }
  // Whether the elements still live inside the object.
  bool isInline() const { return data_ == inlineData(); }

  T* data() { return data_; }
  const T* data() const { return data_; }
  iterator begin() { return data_; }
  iterator end() { return data_ + size_; }
  const_iterator begin() const { return data_; }
  const_iterator end() const { return data_ + size_; }
  T& operator[](size_type i) { return data_[i]; }
  const T& operator[](size_type i) const { return data_[i]; }
  T& back() {
    if (size_ == 0) [[unlikely]]
      assertionFailed("size_ > 0 && \"back() of an empty SmallVector\"");
    return data_[size_ - 1];
  }
  const T& back() const {
    if (size_ == 0) [[unlikely]]
      assertionFailed("size_ > 0 && \"back() of an empty SmallVector\"");
    return data_[size_ - 1];
  }

  void reserve(size_type n) {
    if (n > capacity_) moveTo(n);
  }
  // An aggregate T is built from its members' values in place, so that a member of variant
  // type is made directly as the alternative given rather than moved from a temporary.
  template <class... Args>
  T& emplace_back(Args&&... args) {
    if (size_ == capacity_) {
      // The argument may refer to an element of this vector: build it before moving house.
      T value = make(std::forward<Args>(args)...);
      moveTo(capacity_ * 2);
      return *::new (static_cast<void*>(data_ + size_++)) T(std::move(value));
    }
    // The returned value initializes the element directly: no temporary, no move.
    return *::new (static_cast<void*>(data_ + size_++)) T(make(std::forward<Args>(args)...));
  }
  void push_back(const T& v) { emplace_back(v); }
  void push_back(T&& v) { emplace_back(std::move(v)); }
  void pop_back() {
    if (size_ == 0) [[unlikely]]
      assertionFailed("size_ > 0 && \"pop_back() of an empty SmallVector\"");
    std::destroy_at(data_ + --size_);
  }
  void clear() {
    std::destroy(data_, data_ + size_);
    size_ = 0;
  }

  friend bool operator==(const SmallVector& a, const SmallVector& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }

 private:
  template <class... Args>
  static T make(Args&&... args) {
    if constexpr (std::is_constructible_v<T, Args...>) {
      return T(std::forward<Args>(args)...);
    } else {
      return T{std::forward<Args>(args)...};
    }
  }
  T* inlineData() { return std::launder(reinterpret_cast<T*>(inline_)); }
  const T* inlineData() const { return std::launder(reinterpret_cast<const T*>(inline_)); }

  // Moves the elements to heap storage of `n` places.
  void moveTo(size_type n) {
    T* fresh = static_cast<T*>(::operator new(n * sizeof(T), std::align_val_t(alignof(T))));
    std::uninitialized_move(data_, data_ + size_, fresh);
    std::destroy(data_, data_ + size_);
    freeHeap();
    data_ = fresh;
    capacity_ = n;
  }
  void freeHeap() {
    if (!isInline()) ::operator delete(data_, std::align_val_t(alignof(T)));
  }
  // Destroys the elements and returns to the inline storage.
  void release() {
    clear();
    freeHeap();
    data_ = inlineData();
    capacity_ = N;
  }
  // Takes `o`'s elements (its heap block, or its inline elements one by one); `o` is left
  // empty and inline. This object must be empty and inline.
  void takeFrom(SmallVector& o) {
    if (o.isInline()) {
      std::uninitialized_move(o.begin(), o.end(), data_);
      size_ = o.size_;
      o.clear();
      return;
    }
    data_ = std::exchange(o.data_, o.inlineData());
    size_ = std::exchange(o.size_, 0);
    capacity_ = std::exchange(o.capacity_, N);
  }

  alignas(T) unsigned char inline_[N * sizeof(T)];
  T* data_ = inlineData();
  size_type size_ = 0;
  size_type capacity_ = N;
};

}  // namespace Vox
