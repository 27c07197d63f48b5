// Random numbers and strings.
#pragma once

#include <cstdint>

namespace kiv::base {

// Returns a number from 0 to INT32_MAX for ids, which an attacker can predict.
std::int32_t random_value() noexcept;

// Writes `count` letters and digits, hard to guess, and a terminator. Returns false, with an empty
// string, if the system gives no random bytes.
bool random_text(char* buffer, std::int32_t count) noexcept;

}  // namespace kiv::base
