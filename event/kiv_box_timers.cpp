// The timers of a box for any thread.
#include "event/kiv_box_verbs.h"

using namespace kiv::event;

std::int32_t KIV_CALL kiv_box_NewOnceTimer(kiv_box* box, std::uint32_t interval_ms,
                                           zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT {
  return add_once_timer(box, interval_ms, {callback, argument});
}

std::int32_t KIV_CALL kiv_box_NewLoopTimer(kiv_box* box, std::uint32_t interval_ms,
                                           zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT {
  return add_loop_timer(box, interval_ms, {callback, argument});
}

std::int32_t KIV_CALL kiv_box_NewLimitTimer(kiv_box* box, std::int32_t limit,
                                            std::uint32_t interval_ms, zu_box_timer_fn callback,
                                            void* argument) KIV_NOEXCEPT {
  return on_raw_box(box, -1, Wake::for_new_id("NewLimitTimer"), zu_box_timer_AddLimitTimer, limit,
                    interval_ms, callback, argument);
}

int KIV_CALL kiv_box_RefreshTimeout(kiv_box* box, std::int32_t timer,
                                    std::uint32_t interval_ms) KIV_NOEXCEPT {
  return on_raw_box(box, 0, Wake::always("RefreshTimeout"), zu_box_timer_RefreshTimeout, timer,
                    interval_ms);
}

int KIV_CALL kiv_box_RefreshCallback(kiv_box* box, std::int32_t timer, zu_box_timer_fn callback,
                                     void* argument) KIV_NOEXCEPT {
  return on_raw_box(box, 0, Wake::always("RefreshCallback"), zu_box_timer_RefreshCallback, timer,
                    callback, argument);
}

void KIV_CALL kiv_box_DeleteTimer(kiv_box* box, std::int32_t timer) KIV_NOEXCEPT {
  delete_timer(box, timer);
}

std::int32_t KIV_CALL kiv_box_GetNumTimer(kiv_box* box) KIV_NOEXCEPT {
  return on_raw_box(box, -1, kNoWake, zu_box_timer_GetNumTimer);
}

std::int32_t KIV_CALL kiv_box_GetThisTimerId(kiv_box* box) KIV_NOEXCEPT {
  return on_raw_box(box, -1, kNoWake, zu_box_timer_GetThisId);
}

int KIV_CALL kiv_box_IsTimerExist(kiv_box* box, std::int32_t timer) KIV_NOEXCEPT {
  return on_raw_box(box, 0, kNoWake, zu_box_timer_IsExist, timer);
}
