// The boxes that any thread may drive: their records, and the pattern of every operation on them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "base/lock.h"
#include "event/handles.h"
#include "event/raw_box.h"
#include "platform/socket.h"

// The record behind a handle. Its lock is that of the raw box.
struct kiv_box : kiv::event::HandleRecord {
  zu_box* raw = nullptr;
  std::uint16_t wake_port = 0;
  std::uint16_t send_port = 0;
  std::int32_t send_socket = -1;
  kiv::platform::WireAddress wake_address;
  std::int32_t owner_thread = 0;
  std::int32_t loop_thread = 0;          // 0: no loop runs
  std::atomic<std::int32_t> wakers = 0;  // threads that are sending a wake; the box waits for them
};

namespace kiv::event {

Handles<kiv_box>& boxes();

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
  // Only when the operation returned an id above 0.
  template <std::size_t Size>
  static constexpr Wake for_new_id(const char (&name)[Size]) {
    return {When::for_new_id, name, static_cast<std::int32_t>(Size) - 1};
  }

  bool is_due(std::int32_t result) const {
    return when == When::always || (when == When::for_new_id && result > 0);
  }
};
inline constexpr Wake kNoWake;

// Is the calling thread the box's own, which needs no wake? That is the one that runs its loop, or
// that created it as long as none runs.
bool is_own_thread(const kiv_box& box);

// The box whose loop runs the calling thread, or null.
kiv_box* box_of_this_thread();

// The loop of a box whose loop_thread is set already; frees the box.
void loop_and_free(kiv_box* box);

// kivx_box_Post; the handle that the function gets is the post's.
bool post(kiv_box* box, const Post& post);

// Sends the datagram and counts the caller out of the wakers. A lost one delays the loop until its
// keep-alive.
void send_wake(kiv_box& box, const Wake& wake);

// A wait keeps the sockets in it that are closed meanwhile, and their ports, until it ends. To free
// a port: remove the registrations, ask for current_wait(), wake the loop and close the socket,
// then call wait_until_over(), in this order. 0: the loop is in no wait on another thread.
std::uint32_t current_wait(kiv_box* box);
void wait_until_over(kiv_box* box, std::uint32_t wait);

// Runs op(box) with its lock held when the handle is a live box, and wakes its loop. The wake goes
// out after the lock is released: the loop would run into it at once.
template <typename Result, typename Operation>
Result on_live_box(kiv_box* box, Result failure, const Wake& wake, Operation op) {
  if (!boxes().has(box)) return failure;
  base::Guard guard(box->lock);
  if (!box->is_known) return failure;
  const Result result = op(*box);
  if (!wake.is_due(static_cast<std::int32_t>(result)) || is_own_thread(*box)) return result;
  ++box->wakers;
  guard.unlock();
  send_wake(*box, wake);
  return result;
}

// The same for a function of raw boxes.
template <typename Result, typename... Arguments>
Result on_raw_box(kiv_box* box, std::type_identity_t<Result> failure, const Wake& wake,
                  Result(KIV_CALL* op)(zu_box*, Arguments...),
                  std::type_identity_t<Arguments>... arguments) {
  return on_live_box(box, failure, wake, [=](kiv_box& live) { return op(live.raw, arguments...); });
}

inline bool is_live(kiv_box* box) {
  return on_live_box(box, false, kNoWake, [](kiv_box&) { return true; });
}

}  // namespace kiv::event
