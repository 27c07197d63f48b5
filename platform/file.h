// Files in ways that the standard library does not know.
#pragma once

#include <cstddef>

namespace kiv::platform {

// Replaces the content of a file atomically: the path leads to all of the old or all of the new
// bytes, whatever happens meanwhile. The bytes are on the disk before the old ones are given up.
// False when it cannot be done; nothing is left behind then. Pipes, devices and sockets are not
// replaced. Off Windows, an old file's access rights stay.
bool replace_file(const char* path, const void* bytes, std::size_t length) noexcept;

}  // namespace kiv::platform
