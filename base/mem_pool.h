// The memory pool over a region, for records of the library.
#pragma once

#include <cstdint>

namespace kiv::base {

// Makes a pool of the region, which it returns; null if there is no room for a block.
void* format_pool(void* region, std::uint32_t size);

// Returns null if there is no room, and for a pool that has ended.
void* pool_allocate(void* pool, std::uint32_t count);

// Does nothing with an address that pool_allocate did not return.
void pool_free(void* pool, void* payload);

// From now on the pool is empty-handed; what it returned stays readable.
void end_pool(void* pool);

}  // namespace kiv::base
