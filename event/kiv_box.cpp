// Making, running and ending a box for any thread.
#include "event/kiv_box.h"

#include "event/box_sockets.h"
#include "event/endpoint.h"
#include "platform/clock.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

constexpr std::uint16_t kPortTries = 10000;
constexpr std::uint32_t kKeepAliveMs = 10000;

// A wake has done its work by arriving, a keep-alive by ending the wait.
void KIV_CALL ignore_datagram(void*, void*, std::int32_t, char*, std::int32_t, zu_sock_peer*) {}
void KIV_CALL ignore_timer(void*, void*, std::int32_t, std::int32_t) {}

// Ports of one purpose, and which of them boxes of this process hold: to try those again would
// cost a thousand boxes a million tries.
struct Ports {
  std::uint16_t first;
  std::atomic<bool> held[kPortTries] = {};

  void release(std::uint16_t port) {
    if (port != 0) held[port - first] = false;
  }
};
Ports wake_ports{21800};
Ports send_ports{31800};

std::int32_t add_loopback_socket(kiv_box& box, Ports& ports, std::uint16_t& port) {
  for (std::uint16_t i = 0; i < kPortTries; ++i) {
    if (ports.held[i]) continue;
    const auto tried = static_cast<std::uint16_t>(ports.first + i);
    const std::int32_t socket = open_udp_server(platform::wire_address(kLoopback, tried));
    if (socket < 1) continue;
    // Another port would not help who is out of memory.
    if (take_udp_server(*box.raw, socket, {ignore_datagram, &box}) < 1) return -1;
    ports.held[i] = true;
    port = tried;
    return socket;
  }
  return -1;
}

// No other thread knows the box yet, so nothing here needs the lock.
bool fill(kiv_box& box) {
  box.wake_port = box.send_port = 0;
  box.loop_thread = 0;
  box.raw = zu_box_mallocx(reinterpret_cast<std::uintptr_t>(&box.lock));
  if (box.raw == nullptr) return false;
  zu_box_SetUserCallbackHandle(box.raw, &box);
  if (add_loopback_socket(box, wake_ports, box.wake_port) < 1) return false;
  box.wake_address = platform::wire_address(kLoopback, box.wake_port);
  box.send_socket = add_loopback_socket(box, send_ports, box.send_port);
  if (box.send_socket < 1) return false;
  box.owner_thread = platform::current_thread_id();
  return zu_box_timer_AddLoopTimer(box.raw, kKeepAliveMs, ignore_timer, &box) > 0;
}

// Its sockets and timers go with the raw box. The handle is not known any more, but a thread that
// found it may still be using its send socket.
void release(kiv_box* box) {
  while (box->wakers != 0) platform::sleep_ms(0);
  zu_box_free(box->raw);
  wake_ports.release(box->wake_port);
  send_ports.release(box->send_port);
  boxes().give_back(box);
}

void set_known(kiv_box& box, bool known) {
  const base::Guard guard(box.lock);
  box.is_known = known;
}

bool begin_loop(kiv_box* box) {
  return on_live_box(box, false, kNoWake, [](kiv_box& live) {
    if (live.loop_thread != 0) return false;
    live.loop_thread = platform::current_thread_id();
    return true;
  });
}

enum class Freeing { refused, by_caller, by_loop, by_owner };

Freeing begin_free(kiv_box& box) {
  if (!is_own_thread(box)) {
    zu_box_BreakLoop(box.raw);
    return Freeing::by_owner;
  }
  box.is_known = false;
  if (box.loop_thread == 0) return Freeing::by_caller;
  // The loop that runs this call still needs the box.
  zu_box_BreakLoop(box.raw);
  return Freeing::by_loop;
}

}  // namespace

Handles<kiv_box>& boxes() {
  static Handles<kiv_box> all;
  return all;
}

bool is_own_thread(const kiv_box& box) {
  const std::int32_t own = box.loop_thread != 0 ? box.loop_thread : box.owner_thread;
  return own == platform::current_thread_id();
}

void send_wake(kiv_box& box, const Wake& wake) {
  platform::socket_send_to(box.send_socket, wake.payload, wake.length, box.wake_address,
                           sizeof box.wake_address);
  --box.wakers;
}

kiv_box* box_of_this_thread() {
  return static_cast<kiv_box*>(platform::thread_value());
}

void loop_and_free(kiv_box* box) {
  kiv_box* const outer = box_of_this_thread();  // of a callback that runs another box's loop
  platform::set_thread_value(box);
  zu_box_StartLoop(box->raw);
  platform::set_thread_value(outer);
  // deliberate: the box dies with its loop, whatever ended it; owners do not free it again.
  set_known(*box, false);
  release(box);
}

std::uint32_t current_wait(kiv_box* box) {
  return on_live_box(box, 0U, kNoWake, [](kiv_box& live) {
    const std::uint32_t waits = is_own_thread(live) ? 0 : live.raw->waits.load();
    return waits % 2 != 0 ? waits : 0;
  });
}

void wait_until_over(kiv_box* box, std::uint32_t wait) {
  while (wait != 0 && current_wait(box) == wait) platform::sleep_ms(1);
}

}  // namespace kiv::event

using namespace kiv::event;

kiv_box* KIV_CALL kiv_box_new(void) KIV_NOEXCEPT {
  kiv_box* const box = boxes().take_record();
  if (box == nullptr) return nullptr;
  if (!fill(*box)) {
    release(box);
    return nullptr;
  }
  set_known(*box, true);
  return box;
}

void KIV_CALL kiv_box_loop(kiv_box* box) KIV_NOEXCEPT {
  if (begin_loop(box)) loop_and_free(box);
}

void KIV_CALL kiv_box_BreakLoop(kiv_box* box) KIV_NOEXCEPT {
  on_live_box(box, 0, Wake::always("BreakLoop"), [](kiv_box& live) {
    zu_box_BreakLoop(live.raw);
    return 1;
  });
}

void KIV_CALL kiv_box_free(kiv_box* box) KIV_NOEXCEPT {
  const Freeing freeing = on_live_box(box, Freeing::refused, Wake::always("BreakLoop"), begin_free);
  if (freeing == Freeing::by_caller) release(box);
}

int KIV_CALL kivx_box_IsValid(kiv_box* box) KIV_NOEXCEPT {
  return is_live(box);
}

std::int32_t KIV_CALL kivx_box_GetThreadId(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake, [](kiv_box& live) { return live.owner_thread; });
}

int KIV_CALL kivx_box_SetFairRounds(kiv_box* box, int on) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake,
                     [=](kiv_box& live) { return zu_box_SetFairRounds(live.raw, on); });
}

int KIV_CALL kivx_box_SetCapacity(kiv_box* box, std::int32_t count) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake,
                     [=](kiv_box& live) { return set_capacity(*live.raw, count) ? 1 : 0; });
}
