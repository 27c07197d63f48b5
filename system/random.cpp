// Random numbers, strings and bytes.
#include "base/random.h"

#include <algorithm>
#include <cstddef>

#include "kiv_base/system.h"
#include "platform/process.h"
#include "platform/random.h"

using namespace kiv;

int32_t KIV_CALL zu_RandomValue(void) KIV_NOEXCEPT {
  return base::random_value();
}

int KIV_CALL zu_RandomStr(char* buffer, int32_t count) KIV_NOEXCEPT {
  return buffer && count >= 0 && base::random_text(buffer, count);
}

int KIV_CALL zu_RandomBytes(void* buffer, int32_t count) KIV_NOEXCEPT {
  constexpr std::size_t kAtOnce = 256;
  if (buffer == nullptr || count < 0) return 0;
  const auto size = static_cast<std::size_t>(count);
  auto* bytes = static_cast<unsigned char*>(buffer);
  for (std::size_t at = 0; at < size; at += kAtOnce) {
    if (platform::random_bytes(bytes + at, std::min(size - at, kAtOnce))) continue;
    platform::clear_memory(buffer, size);
    return 0;
  }
  return 1;
}
