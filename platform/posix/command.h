// Other programs, run without a shell between.
#pragma once

#include <cstddef>

namespace kiv::platform {

// Runs a program of the search path with its arguments, the first its own name and null after the
// last, and waits for its end. What it prints, errors included, goes to `out` as far as there is
// room. The exit status; -1 when it could not be run, or ended otherwise.
int run_command(const char* const* arguments, char* out, std::size_t room) noexcept;

}  // namespace kiv::platform
