// Files as memory, and memory that processes share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/fs.h"

namespace kiv::platform {

// Maps the first `size` bytes, at least one, of a file that has them; null on failure. The file may
// be closed before the memory is given back.
void* map_file(File file, std::size_t size, bool writable) noexcept;
void unmap_file(void* address, std::size_t size) noexcept;
bool flush_mapped(void* address, std::size_t size) noexcept;

// A block under a name that is fit to be a file's; null on failure. A new one must not be there.
struct SharedBlock;
SharedBlock* create_shared(const char* name, std::size_t size) noexcept;
SharedBlock* open_shared(const char* name) noexcept;
bool remove_shared(const char* name) noexcept;

void* shared_address(const SharedBlock* block) noexcept;
std::size_t shared_size(const SharedBlock* block) noexcept;

// Returns false if the lock is taken, also by this thread. It is released when its owner dies.
bool lock_shared(SharedBlock* block, bool wait) noexcept;
bool unlock_shared(SharedBlock* block) noexcept;

// Releases the calling thread's lock first.
void close_shared(SharedBlock* block) noexcept;

}  // namespace kiv::platform
