// System calls that a signal may interrupt.
#pragma once

#include <cerrno>

namespace kiv::platform {

// Repeats a call that a signal has interrupted, and returns its result.
template <typename Call>
auto uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

}  // namespace kiv::platform
