// The process heap under the library's own names.
#include <cstddef>

#include "kiv_base/base.h"
#include "platform/heap.h"

using namespace kiv;

void* KIV_CALL _zu_malloc(int32_t count) KIV_NOEXCEPT {
  return count > 0 ? platform::heap_alloc(static_cast<std::size_t>(count)) : nullptr;
}

void* KIV_CALL _zu_realloc(void* block, uint32_t count) KIV_NOEXCEPT {
  if (count == 0) {
    _zu_free(block);
    return nullptr;
  }
  return block == nullptr ? platform::heap_alloc(count) : platform::heap_realloc(block, count);
}

void KIV_CALL _zu_free(void* block) KIV_NOEXCEPT {
  if (block != nullptr) platform::heap_free(block);
}

void KIV_CALL _zu_minfo(void) KIV_NOEXCEPT {}
