// What a raw box waits for: its registrations, and the sockets that were closed behind its back.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "base/owned.h"
#include "event/raw_box.h"
#include "event/stream.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

platform::Kinds kinds_of(const Socket& socket) {
  unsigned kinds = 0;
  for (const Kind kind : kKinds) {
    const Wait& wait = socket.waits[index_of(kind)];
    if (wait.serve != nullptr && !wait.is_paused) kinds |= platform::set_of(kind);
  }
  if (socket.waits[index_of(Kind::except)].serve == serve_connect_failed) {
    kinds |= platform::kConnecting;
  }
  return static_cast<platform::Kinds>(kinds);
}

void forget(zu_box& box, Socket& socket) {
  box.sockets.erase(socket.id);
  drop_stream(socket);
  base::destroy(&socket);
}

void drop_wait(zu_box& box, Kind kind, Socket& socket) {
  Wait& wait = socket.wait(kind);
  if (wait.serve == nullptr) return;
  wait = {};
  --box.wait_counts[index_of(kind)];
}

// False when the record is gone.
bool keep_or_forget(zu_box& box, Socket& socket) {
  if (socket.is_own() || socket.is_awaited()) return true;
  forget(box, socket);
  return false;
}

Socket* find_or_make(zu_box& box, std::int32_t socket) {
  if (Socket* const known = box.sockets.find(socket)) return known;
  auto made = base::make<Socket>(socket);
  return made && box.sockets.insert(socket, made.get()) ? made.release() : nullptr;
}

void print_dead(std::int32_t socket) {
  std::printf("_zu_fd_delete_InvalidFd_foreach()->InvalidFd=%d\n", static_cast<int>(socket));
}

// The number is about to be registered anew.
void sweep(zu_box& box, Socket& socket) {
  for (const Kind kind : kKinds) {
    if (socket.wait(kind).serve != nullptr) print_dead(socket.id);
    drop_wait(box, kind, socket);
  }
  box.poller.watch(socket.id, 0);
}

// Whatever is no socket counts as dead, once one is. Asks for no pending error: that would take it
// from a socket that is connecting.
Socket* highest_dead(zu_box& box, Kind kind) {
  Socket* highest = nullptr;
  box.sockets.for_each([&](Socket& socket) {
    if (socket.wait(kind).serve == nullptr) return;
    if (highest != nullptr && highest->id > socket.id) return;
    if (box.poller.is_dead(socket.id) || !platform::socket_is_open(socket.id)) highest = &socket;
  });
  return highest;
}

bool start_watching(zu_box& box, Socket& socket, Kind kind, const Wait& wait) {
  const bool is_paused = socket.wait(kind).is_paused;
  socket.wait(kind) = wait;
  socket.wait(kind).is_paused = is_paused;
  switch (box.poller.watch(socket.id, kinds_of(socket))) {
    case platform::Poller::Watched::yes:
      ++box.wait_counts[index_of(kind)];
      return true;
    case platform::Poller::Watched::dead:
      socket.wait(kind) = {};
      sweep(box, socket);
      return start_watching(box, socket, kind, wait);
    case platform::Poller::Watched::out_of_memory:
      break;
  }
  socket.wait(kind) = {};
  return false;
}

}  // namespace

bool Socket::is_awaited() const {
  return waits[0].serve != nullptr || waits[1].serve != nullptr || waits[2].serve != nullptr;
}

bool Socket::is_connecting() const {
  return waits[index_of(Kind::write)].serve == serve_connected;
}

bool add_wait(zu_box& box, Kind kind, std::int32_t id, const Wait& wait) {
  if (box.wait_counts[index_of(kind)] >= box.max_waits) return false;
  Socket* const socket = find_or_make(box, id);
  if (socket == nullptr) return false;
  if (socket->wait(kind).serve != nullptr) {
    if (!box.poller.is_dead(id)) return false;
    sweep(box, *socket);
  }
  if (start_watching(box, *socket, kind, wait)) return true;
  keep_or_forget(box, *socket);
  return false;
}

void remove_wait(zu_box& box, Kind kind, Socket& socket) {
  if (socket.wait(kind).serve == nullptr) return;
  drop_wait(box, kind, socket);
  box.poller.watch(socket.id, kinds_of(socket));
  keep_or_forget(box, socket);
}

bool set_paused(zu_box& box, Socket& socket, Kind kind, bool paused) {
  Wait& wait = socket.wait(kind);
  if (wait.is_paused == paused) return true;
  wait.is_paused = paused;
  if (wait.serve == nullptr) return true;  // from when it is waited for
  if (box.poller.watch(socket.id, kinds_of(socket)) == platform::Poller::Watched::yes) return true;
  wait.is_paused = !paused;
  return false;
}

bool remove_waits(zu_box& box, Socket& socket) {
  if (socket.is_awaited()) box.poller.watch(socket.id, 0);
  for (const Kind kind : kKinds) drop_wait(box, kind, socket);
  return keep_or_forget(box, socket);
}

void sweep_one_dead_socket(zu_box& box) {
  for (const Kind kind : kKinds) {
    Socket* const dead = highest_dead(box, kind);
    if (dead == nullptr) continue;
    print_dead(dead->id);
    remove_wait(box, kind, *dead);
    return;
  }
}

// A socket that was closed behind the box's back may have left its record.
Socket* take_in(zu_box& box, std::int32_t id, SocketKind kind) {
  Socket* const socket = find_or_make(box, id);
  if (socket == nullptr) return nullptr;
  if (!socket->is_own()) ++box.own_sockets;
  drop_stream(*socket);
  Socket fresh{id, ++box.next_number, kind};
  std::copy_n(socket->waits, std::size(fresh.waits), fresh.waits);
  *socket = fresh;
  return socket;
}

void give_away(zu_box& box, Socket& socket) {
  if (!socket.is_own()) return;
  socket.kind = SocketKind::imported;
  --box.own_sockets;
  keep_or_forget(box, socket);
}

}  // namespace kiv::event
