// Where tables and trees take their records from: a memory pool or, without one, the heap.
#pragma once

#include <cstdint>

#include "base/mem_pool.h"
#include "base/owned.h"

namespace kiv::containers {

inline void* take_storage(void* pool, std::uint32_t size) {
  return pool ? base::pool_allocate(pool, size) : base::allocate(size);
}

template <typename Record>
Record* take_record(void* pool) {
  static_assert(alignof(Record) == 1, "a pool aligns nothing");
  return static_cast<Record*>(take_storage(pool, sizeof(Record)));
}

inline void give_back_storage(void* pool, void* block) {
  pool ? base::pool_free(pool, block) : base::deallocate(block);
}

}  // namespace kiv::containers
