#include "platform/heap.h"

#include <cstdlib>

namespace kiv::platform {

void* heap_alloc(std::size_t size) noexcept {
  return std::malloc(size);
}
void* heap_realloc(void* block, std::size_t size) noexcept {
  return std::realloc(block, size);
}
void heap_free(void* block) noexcept {
  std::free(block);
}

}  // namespace kiv::platform
