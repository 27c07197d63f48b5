// Random bytes of the operating system.
#pragma once

#include <cstddef>

namespace kiv::platform {

// Fills the buffer of at most 256 bytes; false when the system has none to give.
bool random_bytes(void* out, std::size_t size) noexcept;

}  // namespace kiv::platform
