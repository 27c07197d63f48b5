// The sockets that a loop waits for: one list for each kind of readiness, sorted by descending
// socket, and the image of the list, in the same order, that goes to the wait.
#pragma once

#include <atomic>
#include <cstdint>

#include "event/id_index.h"
#include "kiv_base/containers.h"
#include "kiv_base/event.h"
#include "platform/wait.h"

namespace kiv::event {

enum class Kind : std::int32_t { read = 0, write = 1, except = 2 };
inline constexpr Kind kKinds[] = {Kind::read, Kind::write, Kind::except};
constexpr int index_of(Kind kind) {
  return static_cast<int>(kind);
}

struct FdRecord {
  Kind kind;
  std::int32_t socket;
  zu_event_fn callback;
  void* user;
};

// A node of a list; its data is the record behind it.
struct FdNode {
  zu_list link;
  FdRecord record;
  std::uint32_t born;  // the pass that it was added in
};

struct FdList {
  zu_list* first = nullptr;
  std::int32_t count = 0;
};

// The arrays are indexed by Kind. At most platform::kMaxSockets registrations for each.
struct FdTable {
  FdList lists[3];
  platform::SocketSet images[3];
  std::int32_t total = 0;
  std::int32_t highest = -1;              // kept, never given to a wait
  std::atomic<std::int32_t> current{-1};  // the socket whose callback is running

  IdIndex index[3];
  std::uint32_t pass = 0;

  FdTable() noexcept;

  // False when it is there already, a value is bad, or the kind or the memory is full.
  bool add(Kind kind, std::int32_t socket, zu_event_fn callback, void* user) noexcept;
  // The registration, or null.
  const FdRecord* find(Kind kind, std::int32_t socket) const noexcept;
  bool remove(Kind kind, std::int32_t socket) noexcept;
  void clear() noexcept;

  // Starts a pass: registrations made from now on take no part in it.
  void begin_pass() noexcept { ++pass; }
  bool took_part(Kind kind, std::int32_t socket) const noexcept;
  // How many of the kind are as high as this socket or higher.
  std::int32_t count_down_to(Kind kind, std::int32_t socket) const noexcept;
  // The highest socket of `ready` that took part in this pass; null when there is none.
  const FdRecord* first_ready(Kind kind, const platform::SocketSet& ready) const noexcept;
  // Looks for a socket that was closed behind the loop's back, and removes and prints the first.
  bool sweep_one_dead_socket() noexcept;
};

}  // namespace kiv::event
