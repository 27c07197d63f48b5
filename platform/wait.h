// The wait backend of the event engine: which sockets are ready? One file per backend.
#pragma once

#include <cstdint>

namespace kiv::platform {

inline constexpr std::int32_t kMaxSockets = 1024;

// An image of the sockets of one kind.
struct SocketSet {
  std::int32_t count;
  std::int32_t sockets[kMaxSockets];
};

// Waits until a socket of one of the sets is ready or the time is up. Each set may be null; on a
// result above 0 the sets hold just their ready sockets, in any order; on another result their
// content is lost.
//
// timeout_us: null waits without limit; a value below 1 polls.
// Result: number of ready entries, 0 on time-out, -1 on error (last_error() of platform/socket.h
// tells which; kNotASocket when a socket was closed behind the caller's back). Interruptions by
// signals do not end the wait.
//
// A broken connection counts as readable and writable; a refused attempt to connect as writable, as
// an exception, or both, by system.
std::int32_t wait_ready(SocketSet* read, SocketSet* write, SocketSet* except,
                        const std::int64_t* timeout_us) noexcept;

}  // namespace kiv::platform
