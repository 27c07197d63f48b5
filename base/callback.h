// An application callback with the argument that was given with it.
#pragma once

namespace kiv::base {

// Called only after the lock is released, on a copy. A missing function is not called.
template <typename Function>
struct Callback {
  Function function = nullptr;
  void* argument = nullptr;

  // For functions that get the object that calls them, then their argument.
  template <typename Object, typename... Arguments>
  void operator()(Object* object, Arguments... arguments) const {
    if (function != nullptr) function(object, argument, arguments...);
  }

  // For functions that get their argument first.
  template <typename... Arguments>
  void call(Arguments... arguments) const {
    if (function != nullptr) function(argument, arguments...);
  }
};

}  // namespace kiv::base
