// The timers of a raw box: entries with the application's callbacks over the timers of the engine,
// all of which call dispatch_timer.
#include "base/owned.h"
#include "event/box_core.h"
#include "kiv_base/system.h"

namespace kiv::event {
namespace {

constexpr std::int32_t kFirstTimerId = 51200;
constexpr std::int32_t kMaxIdTries = 100000000;

struct Schedule {
  TimerKind kind;
  std::int32_t limit;
  std::uint32_t interval_ms;
};

// A random id that no entry has; -1 when none was found.
std::int32_t unused_id(const zu_box& box) {
  for (std::int32_t i = 0; i < kMaxIdTries; ++i) {
    const std::int64_t drawn = std::int64_t{zu_RandomValue()} + kFirstTimerId;
    const auto id = static_cast<std::int32_t>(drawn);
    if (drawn <= INT32_MAX && find_timer(box, id) == nullptr) return id;
  }
  return -1;
}

std::int32_t add_timer(zu_box* box, const Schedule& schedule, const TimerHandler& handler) {
  if (!is_usable(box) || handler.callback == nullptr) return -1;
  auto entry = base::Owned<TimerEntry>::allocate();
  if (!entry) return -1;
  const std::int32_t id = unused_id(*box);
  // Every timer of the engine has an entry, so the engine does not refuse the id for being known.
  if (!box->engine->add_timer(schedule.kind, id, schedule.interval_ms, dispatch_timer, box,
                              schedule.limit)) {
    return -1;
  }
  *entry = {id, 0, handler};
  if (zu_ihash_insert(box->timers, id, entry.get()) != 1) {
    box->engine->delete_timer(id);
    return -1;
  }
  (void)entry.release();
  ++box->timer_count;
  return id;
}

TimerEntry* known_timer(const zu_box* box, std::int32_t timer) {
  return is_usable(box) && timer > 0 ? find_timer(*box, timer) : nullptr;
}

// A timer that has fired for the last time is unknown to the engine, which is no failure.
void reschedule(zu_box& box, std::int32_t timer, std::uint32_t interval_ms) {
  box.engine->refresh_timer(timer, interval_ms, dispatch_timer, &box);
}

}  // namespace

TimerEntry* find_timer(const zu_box& box, std::int32_t timer) {
  void* entry = nullptr;
  zu_ihash_find(box.timers, timer, &entry);
  return static_cast<TimerEntry*>(entry);
}

void KIV_CALL dispatch_timer(void* argument) {
  auto& box = *static_cast<zu_box*>(argument);
  base::Guard guard(box.lock);
  const std::int32_t timer = box.engine->this_timer();
  TimerEntry* entry = find_timer(box, timer);
  if (entry == nullptr) return;
  const std::int32_t times_fired = ++entry->times_fired;
  const TimerHandler handler = entry->handler;
  void* handle = box.handle;
  guard.unlock();
  // deliberate: the entry of a timer that fired for the last time stays; applications ask for it
  // and delete it.
  handler(handle, timer, times_fired);
}

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
  reschedule(*box, timer, interval_ms);
  return 1;
}

int KIV_CALL zu_box_timer_RefreshTimeout(zu_box* box, std::int32_t timer,
                                         std::uint32_t interval_ms) KIV_NOEXCEPT {
  if (interval_ms == 0 || known_timer(box, timer) == nullptr) return 0;
  reschedule(*box, timer, interval_ms);
  return 1;
}

int KIV_CALL zu_box_timer_RefreshCallback(zu_box* box, std::int32_t timer, zu_box_timer_fn callback,
                                          void* argument) KIV_NOEXCEPT {
  TimerEntry* entry = known_timer(box, timer);
  if (callback == nullptr || entry == nullptr) return 0;
  entry->handler = {callback, argument};
  return 1;
}

void KIV_CALL zu_box_timer_Delete(zu_box* box, std::int32_t timer) KIV_NOEXCEPT {
  TimerEntry* entry = known_timer(box, timer);
  if (entry == nullptr) return;
  box->engine->delete_timer(timer);
  zu_ihash_delete(box->timers, timer);
  _zu_free(entry);
  --box->timer_count;
}

void KIV_CALL zu_box_timer_DeleteThis(zu_box* box) KIV_NOEXCEPT {
  zu_box_timer_Delete(box, zu_box_timer_GetThisId(box));
}

std::int32_t KIV_CALL zu_box_timer_GetThisId(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->engine->this_timer() : -1;
}

std::int32_t KIV_CALL zu_box_timer_GetNumTimer(zu_box* box) KIV_NOEXCEPT {
  return is_usable(box) ? box->timer_count : -1;
}

int KIV_CALL zu_box_timer_IsExist(zu_box* box, std::int32_t timer) KIV_NOEXCEPT {
  return known_timer(box, timer) != nullptr;
}
