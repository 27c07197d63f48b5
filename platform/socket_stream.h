// What connected sockets do beyond single sends and receives, with the results of
// platform/socket.h.
#pragma once

#include <cstdint>

namespace kiv::platform {

// Bytes somewhere in memory.
struct Bytes {
  const void* data;
  std::int32_t length;
};

// Sends what lies in several places, at most kMostParts of them, in one call.
inline constexpr std::int32_t kMostParts = 64;
std::int32_t socket_send_parts(std::int32_t socket, const Bytes* parts,
                               std::int32_t count) noexcept;

// Sends up to `count` bytes of a file (platform/fs.h), from `offset` on: the bytes sent, perhaps
// fewer, 0 at the end of the file, -1 on failure.
std::int64_t socket_send_file(std::int32_t socket, std::intptr_t file, std::int64_t offset,
                              std::int64_t count) noexcept;

// Ends the stream to the peer with what was sent before; reading goes on.
std::int32_t socket_end_sending(std::int32_t socket) noexcept;

// After how many idle seconds the system probes the peer, how many seconds apart, and how many
// unanswered probes break the connection.
std::int32_t socket_set_keep_alive_times(std::int32_t socket, std::int32_t idle_s,
                                         std::int32_t interval_s, std::int32_t probes) noexcept;

}  // namespace kiv::platform
