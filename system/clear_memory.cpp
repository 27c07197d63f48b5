// Overwriting what is to be forgotten.
#include <cstddef>

#include "kiv_base/system.h"
#include "platform/process.h"

void KIV_CALL zu_ClearMemory(void* memory, int32_t count) KIV_NOEXCEPT {
  if (memory != nullptr && count > 0) {
    kiv::platform::clear_memory(memory, static_cast<std::size_t>(count));
  }
}
