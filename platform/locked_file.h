// Small files that one process at a time holds. The system releases one when the process ends,
// however it ends; processes that it has forked hold nothing. Paths are UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kiv::platform {

using LockedFile = std::intptr_t;

enum class Take { taken, held, failed };

// Opens the file, or makes it, and acquires it. Fails for anything but a regular file, a link
// included: a file in a folder that others may write to leads nowhere else.
Take locked_file_take(const char* path, LockedFile* file) noexcept;

// Up to `size` bytes from the start: their number, or -1.
std::int32_t locked_file_read(LockedFile file, char* out, std::size_t size) noexcept;
// Replaces the content.
bool locked_file_write(LockedFile file, const char* bytes, std::size_t length) noexcept;

// Removes the file that is held, and nothing else that its path leads to by now; then releases it.
bool locked_file_remove(LockedFile file, const char* path) noexcept;
// Lets go of it; in a forked process, without effect on its parent.
void locked_file_close(LockedFile file) noexcept;

// Up to `size` bytes from the start of a file that need not be held: their number, or -1.
// `is_held`: does a process hold it?
std::int32_t locked_file_peek(const char* path, char* out, std::size_t size,
                              bool* is_held) noexcept;

}  // namespace kiv::platform
