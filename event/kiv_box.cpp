// Making, running and ending a box for any thread; the registry of such boxes.
#include <cstddef>
#include <new>
#include <type_traits>

#include "base/owned.h"
#include "event/box_records.h"
#include "event/box_registry.h"
#include "platform/clock.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

static_assert(std::is_standard_layout_v<kiv_box>);
static_assert(sizeof(void*) != 4 ||
              (offsetof(kiv_box, wake_port) == 4 && offsetof(kiv_box, wake_socket) == 8 &&
               offsetof(kiv_box, send_port) == 12 && offsetof(kiv_box, send_socket) == 16 &&
               offsetof(kiv_box, owner_thread) == 20 && offsetof(kiv_box, keep_alive_timer) == 24));

constexpr std::int32_t kRegistryBuckets = 16;
constexpr char kLoopback[] = "127.0.0.1";
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

  void release(std::uint32_t port) {
    if (port != 0) held[port - first] = false;
  }
};
Ports wake_ports{21800};
Ports send_ports{31800};

std::int32_t add_loopback_socket(kiv_box& box, Ports& ports, std::uint32_t& port) {
  for (std::uint16_t i = 0; i < kPortTries; ++i) {
    if (ports.held[i]) continue;
    const auto tried = static_cast<std::uint16_t>(ports.first + i);
    const std::int32_t socket =
        zu_box_sock_AddLocalUdpServer(box.raw, kLoopback, tried, ignore_datagram, &box);
    if (socket <= 0) continue;
    ports.held[i] = true;
    port = tried;
    return socket;
  }
  return -1;
}

// No other thread knows the box yet, so nothing here needs the lock.
bool fill(kiv_box& box) {
  box.raw = zu_box_mallocx(reinterpret_cast<std::uintptr_t>(box_registry().lock()));
  if (box.raw == nullptr) return false;
  zu_box_SetUserCallbackHandle(box.raw, &box);
  box.wake_socket = add_loopback_socket(box, wake_ports, box.wake_port);
  if (box.wake_socket < 1) return false;
  box.send_socket = add_loopback_socket(box, send_ports, box.send_port);
  if (box.send_socket < 1) return false;
  box.owner_thread = platform::current_thread_id();
  box.keep_alive_timer = zu_box_timer_AddLoopTimer(box.raw, kKeepAliveMs, ignore_timer, &box);
  return box.keep_alive_timer > 0;
}

void free_raw(kiv_box& box) {
  zu_box_free(box.raw);
  wake_ports.release(box.wake_port);
  send_ports.release(box.send_port);
}

// Its sockets and timers go with the raw box. No other thread finds the box any more, but one that
// did may still be using its send socket.
void release(kiv_box* box) {
  while (box->wakers != 0) platform::sleep_ms(0);
  free_raw(*box);
  _zu_free(box);
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
  if (!is_own_thread(box)) return Freeing::by_owner;
  box_registry().remove(&box);
  if (box.loop_thread == 0) return Freeing::by_caller;
  // The loop that runs this call still needs the box.
  zu_box_BreakLoop(box.raw);
  return Freeing::by_loop;
}

}  // namespace

base::Registry& box_registry() {
  static base::Registry registry(kRegistryBuckets);
  return registry;
}

bool box_registry_setup() {
  return box_registry().setup();
}

void box_registry_shutdown() {
  box_registry().shutdown();
}

bool is_own_thread(const kiv_box& box) {
  const std::int32_t own = box.loop_thread != 0 ? box.loop_thread : box.owner_thread;
  return own == platform::current_thread_id();
}

void send_wake(kiv_box& box, const Wake& wake) {
  zu_box_sock_UdpWriteByIp(box.raw, box.send_socket, wake.payload, wake.length, kLoopback,
                           static_cast<std::uint16_t>(box.wake_port));
  --box.wakers;
}

void run_loop(kiv_box* box) {
  zu_box_StartLoop(box->raw);
  // deliberate: the box dies with its loop, whatever ended it; owners do not free it again.
  box_registry().remove(box);
  release(box);
}

std::uint32_t current_wait(kiv_box* box) {
  return on_live_box(box, 0U, kNoWake, [](kiv_box& live) {
    const std::uint32_t waits = is_own_thread(live) ? 0 : live.raw->engine->waits.load();
    return waits % 2 != 0 ? waits : 0;
  });
}

void outlast(kiv_box* box, std::uint32_t wait) {
  while (wait != 0 && current_wait(box) == wait) platform::sleep_ms(1);
}

}  // namespace kiv::event

using namespace kiv::event;

kiv_box* KIV_CALL kiv_box_new(void) KIV_NOEXCEPT {
  auto memory = kiv::base::Owned<kiv_box>::allocate();
  if (!memory || !box_registry_setup()) return nullptr;
  kiv_box* box = new (memory.get()) kiv_box{};
  if (!fill(*box) || !box_registry().insert(box)) {
    free_raw(*box);
    return nullptr;
  }
  return memory.release();
}

void KIV_CALL kiv_box_loop(kiv_box* box) KIV_NOEXCEPT {
  if (begin_loop(box)) run_loop(box);
}

void KIV_CALL kiv_box_BreakLoop(kiv_box* box) KIV_NOEXCEPT {
  on_live_box(box, 0, Wake::always("BreakLoop"), [](kiv_box& live) {
    zu_box_BreakLoop(live.raw);
    return 1;
  });
}

void KIV_CALL kiv_box_free(kiv_box* box) KIV_NOEXCEPT {
  switch (on_live_box(box, Freeing::refused, kNoWake, begin_free)) {
    case Freeing::by_caller:
      release(box);
      break;
    case Freeing::by_owner:
      kiv_box_BreakLoop(box);
      break;
    case Freeing::by_loop:
    case Freeing::refused:
      break;
  }
}

int KIV_CALL kivx_box_IsValid(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, 0, kNoWake, [](kiv_box&) { return 1; });
}

std::int32_t KIV_CALL kivx_box_GetThreadId(kiv_box* box) KIV_NOEXCEPT {
  return on_live_box(box, -1, kNoWake, [](kiv_box& live) { return live.owner_thread; });
}
