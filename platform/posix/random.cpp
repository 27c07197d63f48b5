#include "platform/random.h"

#include <unistd.h>

namespace kiv::platform {

bool random_bytes(void* out, std::size_t size) noexcept {
  return getentropy(out, size) == 0;
}

}  // namespace kiv::platform
