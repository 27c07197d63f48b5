// What a socket needs for its queue and its limits: a record of its own, from their first use on.
// All of it is called with the lock of the box held.
#pragma once

#include <cstdint>

#include "event/raw_box.h"
#include "event/send_queue.h"
#include "kiv_base/streams.h"
#include "platform/socket_stream.h"

namespace kiv::event {

inline constexpr std::int64_t kFirstSendLimit = 1 << 20;

// Why the application is to be called, beside what a ready socket shows.
enum Notice : unsigned {
  kFull = 1,      // a message was refused
  kLost = 2,      // sending failed
  kFinished = 4,  // nothing keeps a socket that is to be closed
};

// A time limit: when `limit_us` have passed since `since_us`. Not set: 0.
struct Limit {
  std::int64_t limit_us = 0;
  std::int64_t since_us = 0;

  bool is_set() const { return limit_us != 0; }
  bool is_over(std::int64_t now_us) const { return is_set() && now_us - since_us >= limit_us; }
};

struct StreamLink {
  StreamList* list = nullptr;  // null: in none
  Stream* previous = nullptr;
  Stream* next = nullptr;
};

struct Stream {
  Socket* socket = nullptr;
  SendQueue queue;
  std::int64_t send_limit = kFirstSendLimit;
  SocketHandler full = {};
  SocketHandler drained = {};
  SocketHandler closed = {};

  unsigned notices = 0;
  std::int32_t error = 0;
  bool ends_sending = false;  // once the queue is empty
  bool has_ended = false;
  bool is_closing = false;
  bool peer_has_ended = false;  // looked at while closing
  bool is_done = false;         // closing, and on its way out

  // Set with each transfer, and looked at now and then: no clock is asked for a transfer.
  bool has_received = false;
  bool has_sent = false;
  Limit connecting;
  Limit reading;
  Limit sending;
  Limit closing;

  StreamLink notice_link;
  StreamLink limit_link;  // limited or due
};

// A function that other threads may call has a result, and may have something for the loop to do.
struct Change {
  std::int64_t result = 0;
  bool wakes = false;
};

// The box's own TCP client of that number; null when it has none.
Socket* own_client(const zu_box* box, std::int32_t socket);
// The record of a socket, made if it has none; null if out of memory.
Stream* stream_of(Socket& socket);
// Forgets it with what is queued. The queue may leave its wait.
void drop_stream(Socket& socket);

Change send(zu_box& box, Socket& socket, const zu_sock_piece* pieces, std::int32_t count);
Change send_file(zu_box& box, Socket& socket, const char* path, std::int64_t offset,
                 std::int64_t length);
Change end_sending(zu_box& box, Socket& socket);
Change close_after_send(zu_box& box, Socket& socket, std::uint32_t limit_ms,
                        const SocketHandler& closed);

std::int64_t queued(const Socket& socket);
bool set_send_limit(Socket& socket, std::int64_t limit, const SocketHandler& full);
bool set_drained(Socket& socket, const SocketHandler& drained);

// Stops reading, or goes on with it.
Change set_reading(zu_box& box, Socket& socket, bool on);

// How a socket waits for room to send its queue.
Served serve_queue(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);
// Starts that wait when there is something to send: a client has connected.
void start_queue(zu_box& box, Socket& socket);
// A closing socket is readable: discards what came.
Served serve_closing(zu_box& box, Socket& socket, base::Guard& guard);
// Reading has found the end of the stream, which leaves the queue alone, or an error: why the
// connection is over.
std::int32_t end_reading(zu_box& box, Socket& socket, std::int32_t reason);
// The connection is gone: nothing is sent any more.
void abandon(zu_box& box, Socket& socket);

// Ends a closing socket: closes it and calls the application.
Served finish(zu_box& box, Socket& socket, std::int32_t reason, base::Guard& guard);

// The reason of a failure that the system keeps until it is asked for: an application may ask the
// socket itself.
inline constexpr std::int32_t kAskSocket = -1;
inline constexpr std::int32_t kNotConnected = 10057;

// Calls a failure or close callback, which may ask for the reason.
void call_with_reason(zu_box& box, std::int32_t reason, const SocketHandler& handler, void* handle,
                      std::int32_t socket);

// What a client of a big box is called back with, when that is what the socket is.
struct Target {
  void* handle;
  SocketHandler close;
};
bool find_client_target(const Socket& socket, Target& target);
// What any socket is called back with.
Target target_of(const zu_box& box, const Socket& socket);
// Closes a client that is done and lets the big box forget it, without any lock held; false when
// another thread was faster.
bool close_done_client(void* big, std::int32_t socket);

// ---- the loop: called without the lock

// Call the application for the notices, and for the limits that are over, until the loop is
// stopped.
void run_notices(zu_box& box);
void run_limits(zu_box& box);

// ---- lists

template <StreamLink Stream::*Link>
void append_to(StreamList& list, Stream& stream) {
  StreamLink& link = stream.*Link;
  link = {&list, list.last, nullptr};
  (list.last == nullptr ? list.first : (list.last->*Link).next) = &stream;
  list.last = &stream;
}

template <StreamLink Stream::*Link>
void take_out(Stream& stream) {
  StreamLink& link = stream.*Link;
  if (link.list == nullptr) return;
  (link.previous == nullptr ? link.list->first : (link.previous->*Link).next) = link.next;
  (link.next == nullptr ? link.list->last : (link.next->*Link).previous) = link.previous;
  link = {};
}

Change limit_connecting(zu_box& box, Socket& socket, std::uint32_t limit_ms);
Change limit_silence(zu_box& box, Socket& socket, std::uint32_t read_ms, std::uint32_t write_ms);

// Adds a reason to call the application; true when the loop is to be woken for it.
bool notify(zu_box& box, Stream& stream, Notice notice);
// The stop flag of the loop.
inline bool is_stopped(const zu_box& box) {
  return box.break_flag.load(std::memory_order_acquire) == 1;
}
// Starts a limit anew, or with 0 ends it.
void set_limit(zu_box& box, Stream& stream, Limit& limit, std::uint32_t limit_ms);

}  // namespace kiv::event
