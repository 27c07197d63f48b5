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
  return std::min({next_check(stream.connecting, now_us), next_check(stream.reading, now_us),
                   next_check(stream.sending, now_us), next_check(stream.closing, now_us)});
}

bool has_limits(const Stream& stream) {
  return stream.connecting.is_set() || stream.reading.is_set() || stream.sending.is_set() ||
         stream.closing.is_set();
}

bool reads(Socket& socket) {
  const Wait& wait = socket.wait(Kind::read);
  return wait.serve != nullptr && !wait.is_paused;
}

// What was transferred since the last look starts the limits of its kind anew, as does what need
// not be.
void note_transfers(Stream& stream, std::int64_t now_us) {
  if (stream.has_sent) stream.closing.since_us = now_us;
  if (stream.has_sent || stream.queue.empty()) stream.sending.since_us = now_us;
  if (stream.has_received || !reads(*stream.socket)) stream.reading.since_us = now_us;
  if (!stream.socket->is_connecting()) stream.connecting = {};
  stream.has_sent = stream.has_received = false;
}

bool is_due(const Stream& stream, std::int64_t now_us) {
  return stream.connecting.is_over(now_us) || stream.reading.is_over(now_us) ||
         stream.sending.is_over(now_us) || stream.closing.is_over(now_us);
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
  for (Stream* at = box.streams.limited.first; at != nullptr;) {
    Stream& stream = *at;
    at = at->limit_link.next;
    if (!has_limits(stream)) take_out<&Stream::limit_link>(stream);
    next = std::min(next, next_check(stream, now_us));
  }
  box.streams.next_check_us.store(next, std::memory_order_relaxed);
}

void fail_to_connect(zu_box& box, Socket& socket, base::Guard& guard) {
  socket.stream->connecting = {};
  remove_wait(box, Kind::write, socket);
  remove_wait(box, Kind::except, socket);
  abandon(box, socket);
  const SocketHandler failure = socket.failure;
  void* const handle = box.handle;
  const std::int32_t id = socket.id;
  guard.unlock();
  call_with_reason(box, kTimedOut, failure, handle, id);
}

void end_silence(zu_box& box, Socket& socket, bool is_stuck, base::Guard& guard) {
  socket.stream->reading = socket.stream->sending = {};
  if (is_stuck) abandon(box, socket);
  const Target target = target_of(box, socket);
  if (socket.is_own()) {
    remove_wait(box, Kind::read, socket);
  } else {
    set_paused(box, socket, Kind::read, true);
  }
  const std::int32_t id = socket.id;
  guard.unlock();
  call_with_reason(box, kTimedOut, target.close, target.handle, id);
}

void expire(zu_box& box, Stream& stream, std::int64_t now_us, base::Guard& guard) {
  Socket& socket = *stream.socket;
  if (stream.closing.is_over(now_us)) {
    finish(box, socket, kTimedOut, guard);
  } else if (stream.connecting.is_over(now_us)) {
    fail_to_connect(box, socket, guard);
  } else {
    end_silence(box, socket, stream.sending.is_over(now_us), guard);
  }
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
  expire(box, *stream, now_us, guard);
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

Change limit_connecting(zu_box& box, Socket& socket, std::uint32_t limit_ms) {
  if (!socket.is_connecting() || stream_of(socket) == nullptr) return {};
  set_limit(box, *socket.stream, socket.stream->connecting, limit_ms);
  return {1, limit_ms != 0};
}

Change limit_silence(zu_box& box, Socket& socket, std::uint32_t read_ms, std::uint32_t write_ms) {
  Stream* const stream = stream_of(socket);
  if (stream == nullptr || stream->is_closing) return {};
  stream->has_received = stream->has_sent = false;
  set_limit(box, *stream, stream->reading, read_ms);
  set_limit(box, *stream, stream->sending, write_ms);
  return {1, read_ms != 0 || write_ms != 0};
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
