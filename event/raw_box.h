// The record behind a raw box with its sockets and timers, and what its parts share.
//
// A box with a lock may be used by several threads: every function here is called with the lock
// held, or for a box that nobody else knows.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/lock.h"
#include "event/handler.h"
#include "event/id_map.h"
#include "event/post_queue.h"
#include "event/stream_work.h"
#include "event/timer_heap.h"
#include "kiv_base/base.h"
#include "platform/poller.h"

namespace kiv::event {

using platform::index_of;
using platform::Kind;
using platform::kKinds;

inline constexpr std::int32_t kMaxReadLength = 5120;
inline constexpr std::int32_t kListenBacklog = 100;
inline constexpr std::int32_t kMaxWaits = 1024;  // of each kind, where a box asks for no more

struct Socket;

// Did a ready socket lead to a call of the application, or was there nothing to do?
enum class Served { called, nothing };

// Serves a ready socket: does its work, releases the lock, calls the application. Nothing of the
// socket is touched afterwards.
using Serve = Served (*)(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);

// What happens when a socket is ready for one kind.
struct Wait {
  Serve serve = nullptr;           // null: not waited for
  zu_event_fn callback = nullptr;  // of an import
  void* user = nullptr;
  bool asks_first = false;  // serving it does not find out whether the socket is still ready
  bool is_paused = false;   // stays registered, but the poller does not watch for it
};

enum class SocketKind : std::int32_t {
  imported = 0,  // waited for, but not the box's own
  local_tcp_client = 1,
  remote_tcp_client = 2,
  local_udp_client = 3,
  local_tcp_server = 4,
  local_udp_server = 5,
};

// All that a box knows of a socket.
struct Socket {
  std::int32_t id = -1;
  std::uint32_t number = 0;  // the order in which they became the box's own
  SocketKind kind = SocketKind::imported;
  std::int16_t max_read_length = kMaxReadLength;
  bool is_broken = false;  // could not connect, or the connection is lost
  Wait waits[3] = {};      // by Kind

  SocketHandler connect = {};
  SocketHandler failure = {};
  ReadHandler read = {};
  SocketHandler close = {};
  AcceptHandler accept = {};
  DatagramHandler datagram = {};

  Stream* stream = nullptr;  // what sending and limits need, from their first use on

  Wait& wait(Kind wanted) { return waits[index_of(wanted)]; }
  bool is_own() const { return kind != SocketKind::imported; }
  bool is_stream() const {
    return kind == SocketKind::local_tcp_client || kind == SocketKind::remote_tcp_client;
  }
  bool is_awaited() const;
  bool is_connecting() const;
};

// What becomes of a box when its running loop ends.
enum class Fate : std::int32_t { live, destroy, free };

}  // namespace kiv::event

struct zu_box {
  zu_sem* lock = nullptr;  // not owned; null: the box belongs to one thread
  void* handle = nullptr;  // first argument of the callbacks
  bool is_live = false;    // a destroyed one refuses everything
  bool is_looping = false;
  std::atomic<bool> is_fair{false};
  kiv::event::Fate fate = kiv::event::Fate::live;

  kiv::platform::Poller poller;
  kiv::event::IdMap<kiv::event::Socket> sockets;
  std::uint32_t next_number = 0;
  std::int32_t own_sockets = 0;
  std::int32_t wait_counts[3] = {};  // by Kind
  std::int32_t max_waits = kiv::event::kMaxWaits;

  kiv::event::IdMap<kiv::event::Timer> timers;
  kiv::event::TimerHeap schedule;
  std::int64_t next_round_us =
      INT64_MIN;  // in a fair round: no timer that fired in it fires before

  kiv::event::PostQueue posts;
  kiv::event::StreamWork streams;
  std::int32_t wake_socket =
      -1;  // of a box without a lock that other threads post to; counts nowhere

  std::atomic<std::int32_t> current_socket{-1};  // whose callback is running
  std::atomic<std::int32_t> current_timer{-1};
  std::atomic<std::int32_t> current_reason{0};  // of the failure or close callback that is running
  std::atomic<std::int32_t> break_flag{0};      // 1: stop; never cleared
  std::atomic<std::uint32_t> waits{0};          // begun and ended: odd during a wait for sockets

  ~zu_box();
};

namespace kiv::event {

inline bool is_usable(const zu_box* box) {
  return box != nullptr && box->is_live;
}

// ---- sockets

// False, and no change, for a second wait of one kind, when there are too many of it, or if out of
// memory. A dead registration of the number is swept first.
bool add_wait(zu_box& box, Kind kind, std::int32_t socket, const Wait& wait);
// Forgets an imported socket with its last wait.
void remove_wait(zu_box& box, Kind kind, Socket& socket);
// Stops or restarts the watching for a wait that stays. False, and no change, if out of memory.
bool set_paused(zu_box& box, Socket& socket, Kind kind, bool paused);
// Ends all waits. False when that was all the box knew of it: the record is gone.
bool remove_waits(zu_box& box, Socket& socket);
// Drops, and prints, the first registration of a socket that was closed behind the loop's back.
void sweep_one_dead_socket(zu_box& box);

// Makes a socket the box's own, in a record with default handlers; null if out of memory.
Socket* take_in(zu_box& box, std::int32_t socket, SocketKind kind);
// The box's own socket of that number; null when it has none.
Socket* find_own(const zu_box* box, std::int32_t socket);
// The opposite: the box forgets the socket, which stays open.
void give_away(zu_box& box, Socket& socket);
// Ends all waits and closes an own socket; the record is gone.
void delete_socket(zu_box& box, Socket& socket);

// ---- options

bool set_capacity(zu_box& box, std::int32_t count);
bool set_backlog(const zu_box& box, std::int32_t listener, std::int32_t backlog);

// ---- what a box waits with

Served serve_stream(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);
Served serve_datagram(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);
Served serve_accept(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);
Served serve_connected(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);
Served serve_connect_failed(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);
// Calls the bare callback of an import.
Served serve_import(zu_box& box, Socket& socket, Kind kind, base::Guard& guard);

// ---- the loop

// Runs until the break flag is set, nothing is left to wait for, or waiting fails.
void run_loop(zu_box& box);

}  // namespace kiv::event
