#include "pulse.h"

namespace uvc_ping {
namespace {

constexpr std::uint32_t kStepMs = 250;
constexpr std::uint32_t kTick = 2000 / kStepMs;
constexpr std::uint32_t kCycle = 4 * kTick;
constexpr std::uint32_t kMargin = 1;

// The last tick of each cycle, with a step before it and one behind.
bool is_pause(std::uint32_t steps) {
  return steps > 0 && (steps - kMargin) % kCycle >= kCycle - kTick - 2 * kMargin;
}

}  // namespace

bool Pulse::start(kiv_box* box) {
  stop();
  box_ = box;
  steps_ = 0;
  is_put_off_ = false;
  step_timer_ = kiv_box_NewLoopTimer(
      box, kStepMs,
      [](void*, void* self, std::int32_t, std::int32_t) { static_cast<Pulse*>(self)->step(); },
      this);
  beat_timer_ = kiv_box_NewLoopTimer(
      box, interval_ms_,
      [](void*, void* self, std::int32_t, std::int32_t) { static_cast<Pulse*>(self)->beat(); },
      this);
  if (step_timer_ < 1 || beat_timer_ < 1) return false;
  beat();
  return true;
}

void Pulse::stop() {
  for (std::int32_t* timer : {&step_timer_, &beat_timer_}) {
    if (*timer > 0) kiv_box_DeleteTimer(box_, *timer);
    *timer = 0;
  }
}

void Pulse::step() {
  ++steps_;
  if (is_put_off_ && !is_pause(steps_)) beat();
}

void Pulse::beat() {
  is_put_off_ = is_pause(steps_);
  if (!is_put_off_) on_beat_();
}

}  // namespace uvc_ping
