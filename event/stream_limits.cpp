// Time limits of streams. A transfer only sets a flag; now and then all limits are looked at
// together, and one whose flag is set starts anew. So a limit may end late, by an eighth of it.
#include <algorithm>

#include "event/stream.h"
#include "platform/clock.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

constexpr std::int64_t kParts = 8;
constexpr std::int64_t kLeastUs = 1000;
constexpr std::int32_t kTimedOut = KIV_REASON_TIMED_OUT;

std::int64_t next_check(const Limit& limit, std::int64_t now_us) {
  if (!limit.is_set()) return StreamWork::kNever;
  const std::int64_t soon =
      std::min(limit.limit_us / kParts, limit.since_us + limit.limit_us - now_us);
  return now_us + std::max(soon, kLeastUs);
}

std::int64_t next_check(const Stream& stream, std::int64_t now_us) {
  return next_check(stream.closing, now_us);
}

bool has_limits(const Stream& stream) {
  return stream.closing.is_set();
}

// What was transferred since the last look starts the limits of its kind anew.
void note_transfers(Stream& stream, std::int64_t now_us) {
  if (stream.has_sent) stream.closing.since_us = now_us;
  stream.has_sent = stream.has_received = false;
}

bool is_due(const Stream& stream, std::int64_t now_us) {
  return stream.closing.is_over(now_us);
}

void find_due(zu_box& box, std::int64_t now_us) {
  for (Stream* at = box.streams.limited.first; at != nullptr;) {
    Stream& stream = *at;
    at = at->limit_link.next;
    note_transfers(stream, now_us);
    if (!is_due(stream, now_us)) continue;
    take_out<&Stream::limit_link>(stream);
    append_to<&Stream::limit_link>(box.streams.due, stream);
  }
}

void plan_next(zu_box& box, std::int64_t now_us) {
  std::int64_t next = box.streams.due.first != nullptr ? now_us : StreamWork::kNever;
  for (Stream* at = box.streams.limited.first; at != nullptr; at = at->limit_link.next) {
    next = std::min(next, next_check(*at, now_us));
  }
  box.streams.next_check_us.store(next, std::memory_order_relaxed);
}

void expire(zu_box& box, Stream& stream, base::Guard& guard) {
  finish(box, *stream.socket, kTimedOut, guard);
}

// False when none is due any more.
bool expire_first(zu_box& box, std::int64_t now_us) {
  base::Guard guard(box.lock);
  Stream* const stream = box.streams.due.first;
  if (stream == nullptr) return false;
  take_out<&Stream::limit_link>(*stream);
  if (has_limits(*stream)) append_to<&Stream::limit_link>(box.streams.limited, *stream);
  if (!is_due(*stream, now_us)) return true;
  box.current_socket.store(stream->socket->id, std::memory_order_relaxed);
  expire(box, *stream, guard);
  box.current_socket.store(-1, std::memory_order_relaxed);
  return true;
}

}  // namespace

void set_limit(zu_box& box, Stream& stream, Limit& limit, std::uint32_t limit_ms) {
  const std::int64_t now_us = platform::steady_us();
  limit = {limit_ms * std::int64_t{1000}, now_us};
  if (!has_limits(stream)) return take_out<&Stream::limit_link>(stream);
  if (stream.limit_link.list == nullptr) {
    append_to<&Stream::limit_link>(box.streams.limited, stream);
  }
  const std::int64_t next = std::min(box.streams.next_check_us.load(std::memory_order_relaxed),
                                     next_check(limit, now_us));
  box.streams.next_check_us.store(next, std::memory_order_relaxed);
}

void run_limits(zu_box& box) {
  const std::int64_t now_us = platform::steady_us();
  if (now_us < box.streams.next_check_us.load(std::memory_order_relaxed)) return;
  {
    const base::Guard guard(box.lock);
    find_due(box, now_us);
  }
  while (!is_stopped(box) && expire_first(box, now_us)) {
  }
  const base::Guard guard(box.lock);
  plan_next(box, platform::steady_us());
}

}  // namespace kiv::event
