// Callbacks of the C interface, created from a callable: a pair of function and argument, as C
// needs it, without an allocation and without std::function. The compiler generates the function
// for exactly this callable, so it can inline it.
//
//   auto on_tick = [&](kiv::BoxRef box, kiv::TimerId timer, int32_t times) { ... };
//   box.every(500, on_tick);                                 a callable of the caller's
//   box.every(500, kiv::bind<&Server::on_tick>(server));     a member function
//   box.every(500, kiv::bind<&on_tick_function>());          a function
//   box.every(500, [](kiv::BoxRef box, auto...) { ... });    a lambda that captures nothing
//
// The callable and the object must not move until the library has released the callback: when the
// socket or timer has been deleted and, if another thread does that, the callback has returned. A
// lambda with captures that is written in the call would be destroyed immediately, so it does not
// compile. nullptr means no callback. An exception that leaves a callback terminates the program:
// nothing is thrown into the library.
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

  // Not std::invoke: the compiler inlines a call of the constant itself.
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

// `Self` is the callback type: a copy of one must not require arguments that are still incomplete.
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

// A Kind names the C type, `Function`, and the signature of the application's callable,
// `Signature`; its `call` is the function that the library calls.
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
