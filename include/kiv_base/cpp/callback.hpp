// Callbacks of the C interface, made from what the application has at hand: a pair of function and
// argument, as C wants it, without an allocation and without std::function. The function is made by
// the compiler for the one callable, which it can see through.
//
//   auto on_tick = [&](kiv::BoxRef box, kiv::TimerId timer, int32_t times) { ... };
//   box.every(500, on_tick);                                 a callable of the caller's
//   box.every(500, kiv::bind<&Server::on_tick>(server));     a member function
//   box.every(500, kiv::bind<&on_tick_function>());          a function
//   box.every(500, [](kiv::BoxRef box, auto...) { ... });    a lambda that captures nothing
//
// Callable and object stay where they are until the library lets go of the callback: with the
// socket or timer deleted and, when another thread does that, with the callback returned. A lambda
// with captures that is written in the call would be gone at once, so it does not compile. nullptr
// leaves a callback out. What a callback throws ends the program: nothing is thrown into the
// library.
#ifndef KIV_BASE_CPP_CALLBACK_HPP
#define KIV_BASE_CPP_CALLBACK_HPP

#include <concepts>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

#include "kiv_base/export.h"

namespace kiv {

template <auto Member, typename Object>
struct Bound {
  Object* object;

  // Not std::invoke: a call of the constant itself is one that the compiler sees through at once.
  template <typename... Arguments>
  static decltype(auto) on(void* argument, Arguments&&... arguments) {
    return (static_cast<Object*>(argument)->*Member)(std::forward<Arguments>(arguments)...);
  }
};

template <auto Function>
struct BoundFunction {
  template <typename... Arguments>
  static decltype(auto) on(void*, Arguments&&... arguments) {
    return Function(std::forward<Arguments>(arguments)...);
  }
};

template <auto Member, typename Object>
constexpr Bound<Member, Object> bind(Object& object) noexcept {
  return {std::addressof(object)};
}
template <auto Function>
constexpr BoundFunction<Function> bind() noexcept {
  return {};
}

template <typename Callable>
struct CallableObject {
  template <typename... Arguments>
  static decltype(auto) on(void* argument, Arguments&&... arguments) {
    return (*static_cast<Callable*>(argument))(std::forward<Arguments>(arguments)...);
  }
};

template <typename Callable>
struct StatelessCallable {
  template <typename... Arguments>
  static decltype(auto) on(void*, Arguments&&... arguments) {
    return Callable{}(std::forward<Arguments>(arguments)...);
  }
};

template <typename Callable, typename Signature>
inline constexpr bool accepts = false;
template <typename Callable, typename Result, typename... Arguments>
inline constexpr bool accepts<Callable, Result(Arguments...)> =
    std::is_invocable_r_v<Result, Callable, Arguments...>;

// `Self` is the callback type: a copy of one must not ask for arguments that are incomplete yet.
template <typename Callable, typename Self, typename Signature>
concept CallableFor =
    std::is_class_v<Callable> && !std::is_same_v<std::remove_const_t<Callable>, Self> &&
    accepts<Callable&, Signature>;

template <typename Callable, typename Self, typename Signature>
concept StatelessFor = CallableFor<Callable, Self, Signature> && std::is_empty_v<Callable> &&
    std::default_initializable<Callable>;

template <typename Callable, typename Self, typename Signature>
concept StatefulFor =
    CallableFor<Callable, Self, Signature> && !StatelessFor<Callable, Self, Signature>;

// A Kind names the C type, `Function`, and what the application's callable gets, `Signature`; its
// `call` is the function that the library calls.
template <typename Kind>
class Callback {
 public:
  constexpr Callback() noexcept = default;
  constexpr Callback(std::nullptr_t) noexcept {}

  template <CallableFor<Callback, typename Kind::Signature> Callable>
  constexpr Callback(Callable& callable) noexcept
      : function_(Kind::template call<CallableObject<Callable>>),
        argument_(const_cast<std::remove_const_t<Callable>*>(std::addressof(callable))) {}

  template <StatelessFor<Callback, typename Kind::Signature> Callable>
  constexpr Callback(const Callable&) noexcept
      : function_(Kind::template call<StatelessCallable<Callable>>) {}

  // A const temporary would bind to a reference.
  template <StatefulFor<Callback, typename Kind::Signature> Callable>
  constexpr Callback(const Callable&&) = delete;

  template <auto Member, typename Object>
  constexpr Callback(Bound<Member, Object> bound) noexcept
      : function_(Kind::template call<Bound<Member, Object>>),
        argument_(const_cast<std::remove_const_t<Object>*>(bound.object)) {}

  template <auto Function>
  constexpr Callback(BoundFunction<Function>) noexcept
      : function_(Kind::template call<BoundFunction<Function>>) {}

  constexpr typename Kind::Function function() const noexcept { return function_; }
  constexpr void* argument() const noexcept { return argument_; }

 private:
  typename Kind::Function function_ = nullptr;
  void* argument_ = nullptr;
};

}  // namespace kiv

#endif
