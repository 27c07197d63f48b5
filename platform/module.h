// Shared libraries that are loaded while the program runs. Paths and texts are UTF-8.
#pragma once

#include <cstddef>

namespace kiv::platform {

// Null when it cannot be had. A path without a folder is looked for in the system's way.
void* module_open(const char* path) noexcept;
void* module_find(void* module, const char* name) noexcept;
bool module_close(void* module) noexcept;

// Why the last failed call of this thread failed; an empty text when none has.
void module_error(char* out, std::size_t room) noexcept;

}  // namespace kiv::platform
