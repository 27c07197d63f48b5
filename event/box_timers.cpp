// The timers of a raw box.
#include "base/owned.h"
#include "base/random.h"
#include "event/raw_box.h"
#include "platform/clock.h"

namespace kiv::event {
namespace {

constexpr std::int32_t kFirstTimerId = 51200;
constexpr std::int32_t kMaxIdTries = 100000000;

struct Schedule {
  TimerKind kind;
  std::int32_t limit;
  std::uint32_t interval_ms;
};

std::int64_t microseconds(std::uint32_t interval_ms) {
  return std::int64_t{interval_ms} * kMicrosecondsPerMs;
}

// A random id that no timer has; -1 when none was found.
std::int32_t unused_id(const zu_box& box) {
  for (std::int32_t i = 0; i < kMaxIdTries; ++i) {
    const std::int64_t drawn = std::int64_t{base::random_value()} + kFirstTimerId;
    const auto id = static_cast<std::int32_t>(drawn);
    if (drawn <= INT32_MAX && box.timers.find(id) == nullptr) return id;
  }
  return -1;
}

std::int32_t add_timer(zu_box* box, const Schedule& schedule, const TimerHandler& handler) {
  if (!is_usable(box) || handler.function == nullptr || schedule.interval_ms == 0 ||
      schedule.limit < 1) {
    return -1;
  }
  auto timer = base::make<Timer>();
  if (!timer || !box->schedule.reserve()) return -1;
  const std::int32_t id = unused_id(*box);
  if (id < 0 || !box->timers.insert(id, timer.get())) return -1;
  const std::int64_t due_us = platform::steady_us() + microseconds(schedule.interval_ms);
  *timer = {id, 0, handler, due_us, schedule.interval_ms, schedule.kind, schedule.limit};
  box->schedule.add(*timer.release());
  return id;
}

Timer* known_timer(const zu_box* box, std::int32_t timer) {
  return is_usable(box) && timer > 0 ? box->timers.find(timer) : nullptr;
}

// Moves this due time alone, from what it was. A timer that has fired for the last time does not
// come back.
void put_off(zu_box& box, Timer& timer, std::uint32_t interval_ms) {
  if (timer.place == kNotScheduled) return;
  timer.due_us += microseconds(interval_ms);
  box.schedule.move(timer, box.next_round_us);
}

}  // namespace
}  // namespace kiv::event

using namespace kiv::event;

std::int32_t KIV_CALL zu_box_timer_AddOnceTimer(zu_box* box, std::uint32_t interval_ms,
                                                zu_box_timer_fn callback,
                                                void* argument) KIV_NOEXCEPT {
  return add_timer(box, {TimerKind::once, 1, interval_ms}, {callback, argument});
}

std::int32_t KIV_CALL zu_box_timer_AddLoopTimer(zu_box* box, std::uint32_t interval_ms,
                                                zu_box_timer_fn callback,
                                                void* argument) KIV_NOEXCEPT {
  return add_timer(box, {TimerKind::loop, 1, interval_ms}, {callback, argument});
}

std::int32_t KIV_CALL zu_box_timer_AddLimitTimer(zu_box* box, std::int32_t limit,
                                                 std::uint32_t interval_ms,
                                                 zu_box_timer_fn callback,
                                                 void* argument) KIV_NOEXCEPT {
  return add_timer(box, {TimerKind::limit, limit, interval_ms}, {callback, argument});
}

int KIV_CALL zu_box_timer_Refresh(zu_box* box, std::int32_t timer, std::uint32_t interval_ms,
                                  zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT {
  if (zu_box_timer_RefreshCallback(box, timer, callback, argument) == 0) return 0;
  put_off(*box, *box->timers.find(timer), interval_ms);
  return 1;
}

int KIV_CALL zu_box_timer_RefreshTimeout(zu_box* box, std::int32_t timer,
                                         std::uint32_t interval_ms) KIV_NOEXCEPT {
  Timer* const known = known_timer(box, timer);
  if (interval_ms == 0 || known == nullptr) return 0;
  put_off(*box, *known, interval_ms);
  return 1;
}

int KIV_CALL zu_box_timer_RefreshCallback(zu_box* box, std::int32_t timer, zu_box_timer_fn callback,
                                          void* argument) KIV_NOEXCEPT {
  Timer* const known = known_timer(box, timer);
  if (callback == nullptr || known == nullptr) return 0;
  known->handler = {callback, argument};
  return 1;
}

void KIV_CALL zu_box_timer_Delete(zu_box* box, std::int32_t timer) KIV_NOEXCEPT {
  Timer* const known = known_timer(box, timer);
  if (known == nullptr) return;
  box->schedule.remove(*known);
  box->timers.erase(timer);
  kiv::base::destroy(known);
}

void KIV_CALL zu_box_timer_DeleteThis(zu_box* box) KIV_NOEXCEPT {
  zu_box_timer_Delete(box, zu_box_timer_GetThisId(box));
}

std::int32_t KIV_CALL zu_box_timer_GetThisId(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->current_timer.load(std::memory_order_relaxed) : -1;
}

std::int32_t KIV_CALL zu_box_timer_GetNumTimer(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? static_cast<std::int32_t>(box->timers.count()) : -1;
}

int KIV_CALL zu_box_timer_IsExist(zu_box* box, std::int32_t timer) KIV_NOEXCEPT {
  return known_timer(box, timer) != nullptr;
}
