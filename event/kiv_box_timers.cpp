// The timers of a box for any thread.
#include "event/kiv_box.h"

using namespace kiv::event;

std::int32_t KIV_CALL kiv_box_NewOnceTimer(kiv_box* box, std::uint32_t interval_ms,
                                           zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT {
  return on_live_box(box, -1, Wake::for_new_id("NewOnceTimer"), [=](kiv_box& live) {
    return zu_box_timer_AddOnceTimer(live.raw, interval_ms, callback, argument);
  });
}

std::int32_t KIV_CALL kiv_box_NewLoopTimer(kiv_box* box, std::uint32_t interval_ms,
                                           zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT {
  return on_live_box(box, -1, Wake::for_new_id("NewLoopTimer"), [=](kiv_box& live) {
    return zu_box_timer_AddLoopTimer(live.raw, interval_ms, callback, argument);
  });
}

std::int32_t KIV_CALL kiv_box_NewLimitTimer(kiv_box* box, std::int32_t limit,
                                            std::uint32_t interval_ms, zu_box_timer_fn callback,
                                            void* argument) KIV_NOEXCEPT {
  return on_live_box(box, -1, Wake::for_new_id("NewLimitTimer"), [=](kiv_box& live) {
    return zu_box_timer_AddLimitTimer(live.raw, limit, interval_ms, callback, argument);
  });
}

int KIV_CALL kiv_box_RefreshTimeout(kiv_box* box, std::int32_t timer,
                                    std::uint32_t interval_ms) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("RefreshTimeout"), [=](kiv_box& live) {
    return zu_box_timer_RefreshTimeout(live.raw, timer, interval_ms);
  });
}

int KIV_CALL kiv_box_RefreshCallback(kiv_box* box, std::int32_t timer, zu_box_timer_fn callback,
                                     void* argument) KIV_NOEXCEPT {
  return on_live_box(box, 0, Wake::always("RefreshCallback"), [=](kiv_box& live) {
    return zu_box_timer_RefreshCallback(live.raw, timer, callback, argument);
  });
}

void KIV_CALL kiv_box_DeleteTimer(kiv_box* box, std::int32_t timer) KIV_NOEXCEPT {
  on_live_box(box, 0, Wake::always("DeleteTimer"), [=](kiv_box& live) {
    zu_box_timer_Delete(live.raw, timer);
    return 1;
  });
}

std::int32_t KIV_CALL kiv_box_GetNumTimer(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake,
                     [](kiv_box& live) { return zu_box_timer_GetNumTimer(live.raw); });
}

std::int32_t KIV_CALL kiv_box_GetThisTimerId(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake,
                     [](kiv_box& live) { return zu_box_timer_GetThisId(live.raw); });
}

int KIV_CALL kiv_box_IsTimerExist(kiv_box* box, std::int32_t timer) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake,
                     [=](kiv_box& live) { return zu_box_timer_IsExist(live.raw, timer); });
}
