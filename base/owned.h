// Memory of the process heap, and objects in it, with one owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "kiv_base/base.h"
#include "platform/heap.h"

namespace kiv::base {

// Returns null if the size is no positive int32 or if out of memory.
inline void* allocate(std::size_t size) noexcept {
  return size - 1 < static_cast<std::size_t>(INT32_MAX) ? platform::heap_alloc(size) : nullptr;
}

inline void deallocate(void* memory) noexcept {
  if (memory != nullptr) platform::heap_free(memory);
}

template <typename T>
void destroy(T* object) noexcept {
  if (object != nullptr) object->~T();
  deallocate(object);
}

struct Destroy {
  template <typename T>
  void operator()(T* object) const noexcept {
    destroy(object);
  }
};

template <typename T>
using Made = std::unique_ptr<T, Destroy>;

// Allocates and constructs an object; null if out of memory.
template <typename T, typename... Arguments>
Made<T> make(Arguments&&... arguments) noexcept {
  void* const memory = allocate(sizeof(T));
  return Made<T>(memory == nullptr ? nullptr
                                   : new (memory) T{std::forward<Arguments>(arguments)...});
}

// Storage in which nothing is constructed or destroyed.
template <typename T>
class RawStorage {
 public:
  RawStorage() = default;
  explicit RawStorage(T* memory) : memory_(memory) {}
  ~RawStorage() { deallocate(memory_); }

  RawStorage(RawStorage&& other) noexcept : memory_(other.release()) {}
  RawStorage& operator=(RawStorage&& other) noexcept {
    reset(other.release());
    return *this;
  }
  RawStorage(const RawStorage&) = delete;
  RawStorage& operator=(const RawStorage&) = delete;

  // Storage for `count` objects, not initialised; empty when the size is not an int32 or if out of
  // memory.
  static RawStorage allocate(std::size_t count = 1) {
    if (count > static_cast<std::size_t>(INT32_MAX) / sizeof(T)) return RawStorage();
    return RawStorage(static_cast<T*>(base::allocate(count * sizeof(T))));
  }

  // The same, zeroed.
  static RawStorage allocate_zeroed(std::size_t count = 1) {
    RawStorage made = allocate(count);
    if (made) std::memset(static_cast<void*>(made.get()), 0, count * sizeof(T));
    return made;
  }

  T* get() const { return memory_; }
  T& operator*() const { return *memory_; }
  T* operator->() const { return memory_; }
  template <typename Index>
  T& operator[](Index index) const {
    return memory_[index];
  }
  explicit operator bool() const { return memory_ != nullptr; }

  // Hands the memory over to the caller.
  [[nodiscard]] T* release() {
    T* memory = memory_;
    memory_ = nullptr;
    return memory;
  }

  // Keeps what fits in the new size. Returns false, with nothing changed, if out of memory.
  bool resize(std::size_t count) {
    if (count > static_cast<std::size_t>(INT32_MAX) / sizeof(T)) return false;
    void* const moved = memory_ == nullptr ? base::allocate(count * sizeof(T))
                                           : platform::heap_realloc(memory_, count * sizeof(T));
    if (moved != nullptr) memory_ = static_cast<T*>(moved);
    return moved != nullptr;
  }

  void reset(T* memory = nullptr) {
    if (memory != memory_) deallocate(memory_);
    memory_ = memory;
  }

 private:
  T* memory_ = nullptr;
};

// Deletes what a function frees: std::unique_ptr<zu_jitter, FreedBy<free_jitter>>.
template <auto Free>
struct FreedBy {
  template <typename T>
  void operator()(T* object) const noexcept {
    Free(object);
  }
};

}  // namespace kiv::base
