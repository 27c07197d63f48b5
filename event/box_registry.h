// The live boxes of the process, their one lock, and the pattern of every operation on them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/guard.h"
#include "base/registry.h"
#include "kiv_base/event.h"

// The record behind a handle.
struct kiv_box {
  zu_box* raw = nullptr;  // shares the registry's lock
  std::uint32_t wake_port = 0;
  std::int32_t wake_socket = -1;
  std::uint32_t send_port = 0;
  std::int32_t send_socket = -1;
  std::int32_t owner_thread = 0;
  std::int32_t keep_alive_timer = -1;

  std::int32_t loop_thread = 0;          // 0: no loop runs
  std::atomic<std::int32_t> wakers = 0;  // threads that are sending a wake; the box waits for them
};

namespace kiv::event {

// Set-up makes the registry present, which kiv_box_new does too. After a shut-down the handles are
// unknown; loops that run go on, under the same lock.
bool box_registry_setup();
void box_registry_shutdown();

base::Registry& box_registry();

// The datagram that tells a loop of a change made by another thread: the name of the operation.
struct Wake {
  enum class When { never, always, for_new_id };

  When when = When::never;
  const char* payload = nullptr;
  std::int32_t length = 0;

  // deliberate: an operation that failed wakes the loop too; who watches the datagrams counts on
  // one for each call.
  template <std::size_t Size>
  static constexpr Wake always(const char (&name)[Size]) {
    return {When::always, name, static_cast<std::int32_t>(Size) - 1};
  }
  // Only when the operation gave an id above 0.
  template <std::size_t Size>
  static constexpr Wake for_new_id(const char (&name)[Size]) {
    return {When::for_new_id, name, static_cast<std::int32_t>(Size) - 1};
  }
};
inline constexpr Wake kNoWake;

// Does a change by the calling thread need a wake? Not on the box's own thread: the one that runs
// its loop, or that made it as long as none runs.
bool is_own_thread(const kiv_box& box);

// The loop of a box that loop_thread already tells to be in one; frees the box.
void run_loop(kiv_box* box);

// Sends the datagram and counts the caller out of the wakers. One that gets lost delays the loop
// until its keep-alive.
void send_wake(kiv_box& box, const Wake& wake);

// The wait for sockets that the loop is in on another thread, 0 when in none; and returning once a
// wait has ended. As long as a wait goes on, the system keeps the sockets in it that are closed
// meanwhile, and their ports. Who wants a port back ends the registration, asks for the wait, wakes
// the loop and outlasts the wait, in this order.
std::uint32_t current_wait(kiv_box* box);
void outlast(kiv_box* box, std::uint32_t wait);

// Runs op(box) with the lock held when the handle is a live box, and wakes its loop. The wake goes
// out after the lock is released: the loop would run into it at once.
template <typename Result, typename Operation>
Result on_live_box(kiv_box* box, Result failure, const Wake& wake, Operation op) {
  base::Registry& registry = box_registry();
  if (box == nullptr || !registry.present()) return failure;
  base::Guard guard(registry.lock());
  if (!registry.contains_nolock(box)) return failure;
  const Result result = op(*box);
  const bool is_new_id = static_cast<std::int32_t>(result) > 0;
  if (wake.when == Wake::When::never || (wake.when == Wake::When::for_new_id && !is_new_id) ||
      is_own_thread(*box)) {
    return result;
  }
  ++box->wakers;
  guard.unlock();
  send_wake(*box, wake);
  return result;
}

}  // namespace kiv::event
