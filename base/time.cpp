// The time of day and sleeping.
#include <cstddef>
#include <cstdint>

#include "base/layout.h"
#include "kiv_base/base.h"
#include "platform/clock.h"

using namespace kiv;

KIV_LAYOUT(zu_timeval, 8, microseconds, 4);

int64_t KIV_CALL zu_timenow(void) KIV_NOEXCEPT {
  return platform::wall_us();
}

int32_t KIV_CALL zu_gettimeofday(zu_timeval* now) KIV_NOEXCEPT {
  if (now == nullptr) return 0;
  const std::int64_t time = zu_timenow();
  now->seconds = static_cast<int32_t>(time / 1000000);
  now->microseconds = static_cast<int32_t>(time % 1000000);
  return now->microseconds;
}

void KIV_CALL zu_sleep(uint32_t milliseconds) KIV_NOEXCEPT {
  platform::sleep_ms(milliseconds);
}
