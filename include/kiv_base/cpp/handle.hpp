// The base of every family's class: a borrowed handle, which copies like a pointer, and an owning
// one, which frees its object when destroyed. Both are one pointer and nothing more.
#ifndef KIV_BASE_CPP_HANDLE_HPP
#define KIV_BASE_CPP_HANDLE_HPP

#include <utility>

namespace kiv {

// A family's operations are members of a class derived from this one: `BoxRef`, `JitterRef`.
// Callbacks receive such references. A null one may be called: the C function returns its
// failure value.
template <typename Object>
class Ref {
 public:
  constexpr Ref() noexcept = default;
  constexpr Ref(Object* object) noexcept : object_(object) {}

  constexpr Object* get() const noexcept { return object_; }
  constexpr explicit operator bool() const noexcept { return object_ != nullptr; }

 protected:
  Object* object_ = nullptr;
};

// Owns an object of the family: `Box` is an Owner over `BoxRef`, and converts to it. Static
// members of the family's reference create objects, and return a null owner where the C function
// returns NULL.
template <typename Base, auto Free>
class Owner : public Base {
 public:
  using Pointer = decltype(std::declval<const Base&>().get());

  constexpr Owner() noexcept = default;
  constexpr explicit Owner(Pointer object) noexcept : Base(object) {}
  constexpr Owner(Owner&& other) noexcept : Base(other.release()) {}
  Owner& operator=(Owner&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Owner() { free(this->object_); }

  // Releases the object: the caller, or whatever it was passed to, frees it.
  [[nodiscard]] constexpr Pointer release() noexcept {
    return std::exchange(this->object_, nullptr);
  }
  // The old object is freed last, so that calls from its destruction find the new one.
  void reset(Pointer object = nullptr) noexcept { free(std::exchange(this->object_, object)); }

 private:
  // Every free function of the library ignores NULL, so nothing is tested here. Where the compiler
  // knows that the pointer is NULL, for instance after a release, there is no call.
  static void free(Pointer object) noexcept {
#if defined(__GNUC__)
    if (__builtin_constant_p(object == nullptr) && object == nullptr) return;
#endif
    Free(object);
  }
};

}  // namespace kiv

#endif
