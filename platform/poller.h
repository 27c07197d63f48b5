// Which sockets are ready? The loop's view of the system's wait; one file for each backend.
//
// A poller keeps what each socket is watched for and, after a wait, which of them are ready. The
// caller guards it with a lock of its own: every call but wait() is made under it. Other threads
// may change what is watched while a wait goes on.
#pragma once

#include <cstdint>

namespace kiv::platform {

enum class Kind : std::int32_t { read = 0, write = 1, except = 2 };
inline constexpr Kind kKinds[] = {Kind::read, Kind::write, Kind::except};
constexpr int index_of(Kind kind) {
  return static_cast<int>(kind);
}

// A set of kinds.
using Kinds = std::uint8_t;
constexpr Kinds set_of(Kind kind) {
  return static_cast<Kinds>(1U << index_of(kind));
}
// Added to the kinds of a socket that is connecting: its failure counts as an exception.
inline constexpr Kinds kConnecting = 8;

class Poller {
 public:
  enum class Watched { yes, out_of_memory, dead };
  enum class Result { ready, timed_out, dead_socket, failed };

  Poller() = default;
  ~Poller();
  Poller(const Poller&) = delete;
  Poller& operator=(const Poller&) = delete;

  // How many sockets a poller can watch for one kind.
  static std::int32_t capacity() noexcept;

  // Call once, before anything else; false if out of memory.
  bool open() noexcept;

  // Replaces what a socket is watched for; with 0 it is watched no more, which never fails. `dead`,
  // and no change: the number was closed, and perhaps opened anew, since it was first watched.
  Watched watch(std::int32_t socket, Kinds kinds) noexcept;

  // One wait for sockets, in three steps; only wait() blocks, and it is called without the lock.
  // What is watched after begin_wait takes no part. `timeout_us` null waits without limit, a value
  // below 1 not at all; a wait may end early as timed out. end_wait reports `dead_socket` until
  // each dead socket is watched no more; nothing else is ready meanwhile. begin_wait returns false
  // when the wait will not block, whatever its time-out.
  bool begin_wait() noexcept;
  void wait(const std::int64_t* timeout_us) noexcept;
  Result end_wait() noexcept;

  // The highest socket below `below` that the last wait found ready, and nobody found otherwise
  // since; -1 when there is none.
  std::int32_t highest_ready(Kind kind, std::int32_t below) noexcept;
  // Asks the system whether a socket that was found ready still is. It is not ready any more if
  // not.
  bool still_ready(Kind kind, std::int32_t socket) noexcept;
  // A call on the socket would have blocked.
  void not_ready(Kind kind, std::int32_t socket) noexcept;
  // A read took less than it asked for: that was all there is, unless the stream has ended.
  void was_short_read(std::int32_t socket) noexcept;

  // Was this watched number closed, and perhaps opened anew? True makes it a dead socket.
  bool is_dead(std::int32_t socket) noexcept;

 private:
  struct Backend;
  Backend* backend_ = nullptr;
};

}  // namespace kiv::platform
