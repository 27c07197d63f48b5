// Sending through a queue, and ending connections in good order.
#include "event/stream.h"

#include <algorithm>

#include "base/owned.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

bool queue_waits(Socket& socket) {
  return socket.wait(Kind::write).serve == serve_queue;
}

// An import has the socket's one wait for writing.
bool can_wait(Socket& socket) {
  return socket.wait(Kind::write).serve == nullptr || queue_waits(socket) || socket.is_connecting();
}

bool takes_data(Socket& socket) {
  const Stream* const stream = socket.stream;
  return !socket.is_broken && can_wait(socket) && (stream == nullptr || !stream->ends_sending);
}

// -1 when there is a bad one among them, or too much of them.
std::int32_t length_of(const zu_sock_piece* pieces, std::int32_t count) {
  if (count < 0 || (pieces == nullptr && count > 0)) return -1;
  std::int64_t total = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    if (pieces[i].length < 0 || (pieces[i].length > 0 && pieces[i].data == nullptr)) return -1;
    total += pieces[i].length;
    if (total > INT32_MAX) return -1;
  }
  return static_cast<std::int32_t>(total);
}

// What the system takes now; -1 and the error when the connection is lost.
std::int32_t send_at_once(std::int32_t socket, const zu_sock_piece* pieces, std::int32_t count,
                          std::int32_t& error) {
  platform::Bytes parts[platform::kMostParts];
  count = std::min(count, platform::kMostParts);
  for (std::int32_t i = 0; i < count; ++i) parts[i] = {pieces[i].data, pieces[i].length};
  const std::int32_t sent = platform::socket_send_parts(socket, parts, count);
  if (sent >= 0) return sent;
  error = platform::last_error();
  return error == platform::kWouldBlock ? 0 : -1;
}

void add_beyond(SendQueue& queue, const zu_sock_piece* pieces, std::int32_t count,
                std::int32_t sent) {
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t skipped = std::min(sent, pieces[i].length);
    sent -= skipped;
    if (skipped == pieces[i].length) continue;
    queue.add(static_cast<const char*>(pieces[i].data) + skipped, pieces[i].length - skipped);
  }
}

Change lose(zu_box& box, Socket& socket, std::int32_t error) {
  abandon(box, socket);
  socket.stream->error = error;
  return {0, notify(box, *socket.stream, kLost)};
}

// All was sent or queued.
Change await_room(zu_box& box, Socket& socket) {
  if (socket.stream->queue.empty() || socket.is_connecting() || queue_waits(socket)) return {1};
  if (!add_wait(box, Kind::write, socket.id, {serve_queue}))
    return lose(box, socket, KIV_REASON_NO_MEMORY);
  return {1, true};
}

bool end_now(Socket& socket) {
  socket.stream->ends_sending = true;
  if (!socket.stream->queue.empty()) return true;
  socket.stream->has_ended = true;
  if (platform::socket_end_sending(socket.id) == 0) return true;
  socket.stream->error = platform::last_error();
  return false;
}

// The loop finds a connection lost. A client of a big box still waits to read, and is reminded.
Served serve_lost(zu_box& box, Socket& socket, std::int32_t error, base::Guard& guard) {
  abandon(box, socket);
  if (socket.stream->is_closing) return finish(box, socket, error, guard);
  const std::int32_t id = socket.id;
  const Target target = target_of(box, socket);
  if (socket.is_own()) remove_wait(box, Kind::read, socket);
  guard.unlock();
  call_with_reason(box, error, target.close, target.handle, id);
  return Served::called;
}

Served serve_sent(zu_box& box, Socket& socket, base::Guard& guard) {
  Stream& stream = *socket.stream;
  if (stream.ends_sending && !stream.has_ended) end_now(socket);
  if (stream.is_closing) {
    return stream.peer_has_ended ? finish(box, socket, KIV_REASON_NONE, guard) : Served::called;
  }
  const SocketHandler drained = stream.drained;
  void* const handle = target_of(box, socket).handle;
  const std::int32_t id = socket.id;
  guard.unlock();
  drained(handle, id);
  return Served::called;
}

void serve_notice(zu_box& box, Stream& stream, base::Guard& guard) {
  Socket& socket = *stream.socket;
  const unsigned notices = stream.notices;
  stream.notices = 0;
  if ((notices & kLost) != 0) {
    serve_lost(box, socket, stream.error, guard);
  } else if ((notices & kFinished) != 0) {
    finish(box, socket, stream.error, guard);
  } else {
    const SocketHandler full = stream.full;
    void* const handle = target_of(box, socket).handle;
    const std::int32_t id = socket.id;
    guard.unlock();
    full(handle, id);
  }
}

}  // namespace

Target target_of(const zu_box& box, const Socket& socket) {
  Target target{box.handle, socket.close};
  if (!socket.is_own()) find_client_target(socket, target);
  return target;
}

Stream* stream_of(Socket& socket) {
  if (socket.stream != nullptr) return socket.stream;
  auto made = base::make<Stream>();
  if (!made) return nullptr;
  made->socket = &socket;
  socket.stream = made.release();
  return socket.stream;
}

void drop_stream(Socket& socket) {
  Stream* const stream = socket.stream;
  if (stream == nullptr) return;
  socket.stream = nullptr;
  take_out<&Stream::notice_link>(*stream);
  take_out<&Stream::limit_link>(*stream);
  base::destroy(stream);
}

Change send(zu_box& box, Socket& socket, const zu_sock_piece* pieces, std::int32_t count) {
  const std::int32_t length = length_of(pieces, count);
  if (length < 0 || !takes_data(socket)) return {};
  Stream* const stream = stream_of(socket);
  if (stream == nullptr) return {};
  SendQueue& queue = stream->queue;
  if (length > stream->send_limit - queue.held()) {
    return {0, stream->full.function != nullptr && notify(box, *stream, kFull)};
  }
  // Room first: what was sent in part could not be taken back.
  if (length == 0) return {1};
  if (!queue.reserve(length)) return {};
  std::int32_t sent = 0;
  if (queue.empty() && !socket.is_connecting()) {
    std::int32_t error = 0;
    sent = send_at_once(socket.id, pieces, count, error);
    if (sent < 0) return lose(box, socket, error);
    stream->has_sent = true;
  }
  add_beyond(queue, pieces, count, sent);
  queue.trim();
  return await_room(box, socket);
}

Change send_file(zu_box& box, Socket& socket, const char* path, std::int64_t offset,
                 std::int64_t length) {
  if (path == nullptr || !takes_data(socket)) return {};
  Stream* const stream = stream_of(socket);
  if (stream == nullptr || !stream->queue.add_file(path, offset, length)) return {};
  return await_room(box, socket);
}

Change end_sending(zu_box&, Socket& socket) {
  if (socket.is_broken || socket.is_connecting() || !can_wait(socket)) return {};
  if (stream_of(socket) == nullptr) return {};
  return {socket.stream->ends_sending || end_now(socket) ? 1 : 0};
}

Change close_after_send(zu_box& box, Socket& socket, std::uint32_t limit_ms,
                        const SocketHandler& closed) {
  if (limit_ms == 0 || socket.is_connecting() || !can_wait(socket)) return {};
  Stream* const stream = stream_of(socket);
  if (stream == nullptr || stream->is_closing) return {};
  stream->is_closing = true;
  stream->closed = closed;
  stream->reading = stream->sending = {};
  set_limit(box, *stream, stream->closing, limit_ms);
  // Without a wait for reading, or if out of memory for one, nobody would see the peer's end.
  stream->peer_has_ended =
      socket.wait(Kind::read).serve == nullptr || !set_paused(box, socket, Kind::read, false);
  const bool is_gone = socket.is_broken || (!stream->has_ended && !end_now(socket));
  if (is_gone || (stream->has_ended && stream->peer_has_ended)) notify(box, *stream, kFinished);
  return {1, true};
}

std::int64_t queued(const Socket& socket) {
  return socket.stream == nullptr ? 0 : socket.stream->queue.bytes();
}

bool set_send_limit(Socket& socket, std::int64_t limit, const SocketHandler& full) {
  if (limit < 0 || stream_of(socket) == nullptr) return false;
  socket.stream->send_limit = limit;
  socket.stream->full = full;
  return true;
}

bool set_drained(Socket& socket, const SocketHandler& drained) {
  if (stream_of(socket) == nullptr) return false;
  socket.stream->drained = drained;
  return true;
}

Change set_reading(zu_box& box, Socket& socket, bool on) {
  // A closing socket reads to see the peer's end.
  if (socket.stream != nullptr && socket.stream->is_closing) return {};
  return {set_paused(box, socket, Kind::read, !on), on};
}

// A queue that was dropped or emptied leaves its wait.
Served serve_queue(zu_box& box, Socket& socket, Kind kind, base::Guard& guard) {
  Stream* const stream = socket.stream;
  if (stream == nullptr || stream->queue.empty()) {
    remove_wait(box, kind, socket);
    return Served::nothing;
  }
  switch (stream->queue.flush(socket.id)) {
    case SendQueue::Flushed::blocked:
      return Served::nothing;
    case SendQueue::Flushed::failed:
      return serve_lost(box, socket, stream->queue.error(), guard);
    case SendQueue::Flushed::some:
      stream->has_sent = true;
      return Served::called;
    case SendQueue::Flushed::all:
      break;
  }
  stream->has_sent = true;
  remove_wait(box, kind, socket);
  return serve_sent(box, socket, guard);
}

void start_queue(zu_box& box, Socket& socket) {
  if (socket.stream != nullptr) await_room(box, socket);
}

Served serve_closing(zu_box& box, Socket& socket, base::Guard& guard) {
  char ignored[8192];
  const std::int32_t length =
      platform::socket_receive(socket.id, ignored, sizeof ignored, platform::Waiting::never);
  if (length > 0) return Served::called;
  const std::int32_t error = length < 0 ? platform::last_error() : KIV_REASON_NONE;
  if (error == platform::kWouldBlock) return Served::nothing;
  Stream& stream = *socket.stream;
  if (error != KIV_REASON_NONE) {
    abandon(box, socket);
    return finish(box, socket, error, guard);
  }
  stream.peer_has_ended = true;
  if (stream.has_ended) return finish(box, socket, KIV_REASON_NONE, guard);
  set_paused(box, socket, Kind::read, true);
  return Served::nothing;
}

// An error that sending has met first may have been the only report of it.
std::int32_t end_reading(zu_box& box, Socket& socket, std::int32_t reason) {
  if (socket.stream != nullptr && socket.stream->error != 0) reason = socket.stream->error;
  if (reason != KIV_REASON_END) abandon(box, socket);
  return reason;
}

void abandon(zu_box& box, Socket& socket) {
  socket.is_broken = true;
  if (socket.stream == nullptr) return;
  socket.stream->queue.clear();
  socket.stream->notices &= ~unsigned{kLost};
  if (queue_waits(socket)) remove_wait(box, Kind::write, socket);
}

Served finish(zu_box& box, Socket& socket, std::int32_t reason, base::Guard& guard) {
  const SocketHandler closed = socket.stream->closed;
  const std::int32_t id = socket.id;
  Target target{box.handle, {}};
  if (socket.is_own()) {
    delete_socket(box, socket);
    guard.unlock();
  } else {
    find_client_target(socket, target);
    socket.stream->is_done = true;
    guard.unlock();
    if (!close_done_client(target.handle, id)) return Served::called;
  }
  call_with_reason(box, reason, closed, target.handle, id);
  return Served::called;
}

void call_with_reason(zu_box& box, std::int32_t reason, const SocketHandler& handler, void* handle,
                      std::int32_t socket) {
  box.current_reason.store(reason, std::memory_order_relaxed);
  handler(handle, socket);
  box.current_reason.store(0, std::memory_order_relaxed);
}

bool notify(zu_box& box, Stream& stream, Notice notice) {
  stream.notices |= notice;
  if (stream.notice_link.list != nullptr) return false;
  append_to<&Stream::notice_link>(box.streams.notices, stream);
  box.streams.has_notices.store(true, std::memory_order_release);
  return true;
}

// Those that come meanwhile wait for the next iteration.
void run_notices(zu_box& box) {
  std::int32_t left = 0;
  {
    const base::Guard guard(box.lock);
    for (Stream* at = box.streams.notices.first; at != nullptr; at = at->notice_link.next) ++left;
  }
  for (; left > 0 && !is_stopped(box); --left) {
    base::Guard guard(box.lock);
    Stream* const stream = box.streams.notices.first;
    if (stream == nullptr) break;
    take_out<&Stream::notice_link>(*stream);
    if (stream->notices == 0) continue;
    box.current_socket.store(stream->socket->id, std::memory_order_relaxed);
    serve_notice(box, *stream, guard);
    box.current_socket.store(-1, std::memory_order_relaxed);
  }
  const base::Guard guard(box.lock);
  box.streams.has_notices.store(box.streams.notices.first != nullptr, std::memory_order_release);
}

}  // namespace kiv::event
