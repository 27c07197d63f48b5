// Memory from _zu_malloc, and objects with a function that frees them, with one owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kiv_base/base.h"

namespace kiv::base {

template <typename T>
class Owned {
 public:
  Owned() = default;
  explicit Owned(T* memory) : memory_(memory) {}
  ~Owned() { _zu_free(memory_); }

  Owned(Owned&& other) noexcept : memory_(other.release()) {}
  Owned& operator=(Owned&& other) noexcept {
    reset(other.release());
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  // Storage for `count` objects, not initialised; empty when the size is not an int32 or if out of
  // memory.
  static Owned allocate(std::size_t count = 1) {
    if (count > static_cast<std::size_t>(INT32_MAX) / sizeof(T)) return Owned();
    return Owned(static_cast<T*>(_zu_malloc(static_cast<std::int32_t>(count * sizeof(T)))));
  }

  // The same, zeroed.
  static Owned allocate_zeroed(std::size_t count = 1) {
    Owned made = allocate(count);
    if (made) std::memset(static_cast<void*>(made.get()), 0, count * sizeof(T));
    return made;
  }

  T* get() const { return memory_; }
  T& operator*() const { return *memory_; }
  T* operator->() const { return memory_; }
  T& operator[](std::size_t index) const { return memory_[index]; }
  explicit operator bool() const { return memory_ != nullptr; }

  // Hands the memory over to the caller.
  [[nodiscard]] T* release() {
    T* memory = memory_;
    memory_ = nullptr;
    return memory;
  }

  void reset(T* memory = nullptr) {
    if (memory != memory_) _zu_free(memory_);
    memory_ = memory;
  }

 private:
  T* memory_ = nullptr;
};

// Returns a terminated copy of `length` bytes; empty if out of memory.
inline Owned<char> copy_text(const char* text, std::size_t length) {
  if (length >= static_cast<std::size_t>(INT32_MAX)) return {};
  auto copy = Owned<char>::allocate(length + 1);
  if (!copy) return copy;
  std::memcpy(copy.get(), text, length);
  copy[length] = '\0';
  return copy;
}

// Deletes what an exported function frees: std::unique_ptr<zu_jitter, FreedBy<zu_jitter_free>>.
template <auto Free>
struct FreedBy {
  template <typename T>
  void operator()(T* object) const noexcept {
    Free(object);
  }
};

}  // namespace kiv::base
