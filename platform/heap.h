// The process heap. Tests that make allocations fail link their own definition of these three.
#pragma once

#include <cstddef>

namespace kiv::platform {

void* heap_alloc(std::size_t size) noexcept;
void* heap_realloc(void* block, std::size_t size) noexcept;
void heap_free(void* block) noexcept;

}  // namespace kiv::platform
