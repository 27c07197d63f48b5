#include "platform/random.h"

#include <windows.h>

// After windows.h, whose types it uses.
#include <ntsecapi.h>

namespace kiv::platform {

bool random_bytes(void* out, std::size_t size) noexcept {
  return RtlGenRandom(out, static_cast<ULONG>(size)) != FALSE;
}

}  // namespace kiv::platform
