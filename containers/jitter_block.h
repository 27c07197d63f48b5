// What the library uses of jitter buffers beyond their interface. A block is a ring of fixed
// capacity, in one allocation with its record.
#pragma once

#include "kiv_base/containers.h"

namespace kiv::containers {

// As _zu_jitter_block_new, but with a ring that is not cleared. Only a range that runs beyond the
// stored bytes can tell; clearing costs a short-lived block as much as its bytes do.
zu_jitter_block* new_raw_block(int32_t capacity);

// Stores all the bytes or, without room or memory, none.
bool set_all_data(zu_jitter* jitter, const void* data, int32_t count);

}  // namespace kiv::containers
