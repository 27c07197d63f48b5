// When a client of a virtual connection may write.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "kiv_base/event.h"

namespace uvc_ping {

// Beats every interval from the connection on. A server counts keep-alives alone and loses a client
// without any for 10 s, and a client sends one after each of its ticks of 2 s in which it wrote
// nothing. So one tick in four is left free, with a margin on both sides as its timers are not
// ours: 5.75 s to write, 2.5 s without. A beat that falls into the pause comes at its end.
class Pulse {
 public:
  Pulse(std::uint32_t interval_ms, std::function<void()> on_beat)
      : interval_ms_(interval_ms), on_beat_(std::move(on_beat)) {}
  ~Pulse() { stop(); }
  Pulse(const Pulse&) = delete;
  Pulse& operator=(const Pulse&) = delete;

  // To be called when connected: the first beat is at once. False if out of memory.
  bool start(kiv_box* box);
  void stop();

 private:
  void step();
  void beat();

  std::uint32_t interval_ms_;
  std::function<void()> on_beat_;
  kiv_box* box_ = nullptr;
  std::int32_t step_timer_ = 0, beat_timer_ = 0;
  std::uint32_t steps_ = 0;
  bool is_put_off_ = false;
};

}  // namespace uvc_ping
