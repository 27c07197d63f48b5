#include "platform/socket_stream.h"

#include <winsock2.h>

#include <algorithm>

#include "platform/fs.h"

namespace kiv::platform {
namespace {

// As mstcpip.h has it: not every tool chain does.
struct KeepAliveTimes {
  u_long on;
  u_long idle_ms;
  u_long interval_ms;
};
constexpr DWORD kSetKeepAliveTimes = 0x98000004;

}  // namespace

std::int32_t socket_send_parts(std::int32_t socket, const Bytes* parts,
                               std::int32_t count) noexcept {
  WSABUF pieces[kMostParts];
  for (std::int32_t i = 0; i < count; ++i) {
    pieces[i].len = static_cast<u_long>(parts[i].length);
    pieces[i].buf = static_cast<char*>(const_cast<void*>(parts[i].data));
  }
  DWORD sent = 0;
  const int failed = WSASend(static_cast<SOCKET>(socket), pieces, static_cast<DWORD>(count), &sent,
                             0, nullptr, nullptr);
  return failed != 0 ? -1 : static_cast<std::int32_t>(sent);
}

// What the socket does not take is read again next time. TransmitFile would wait for it.
std::int64_t socket_send_file(std::int32_t socket, std::intptr_t file, std::int64_t offset,
                              std::int64_t count) noexcept {
  char bytes[16384];
  const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(count, sizeof bytes));
  const std::int64_t length =
      seek_file(file, offset, From::begin) < 0 ? -1 : read_file(file, bytes, wanted);
  if (length < 0) WSASetLastError(WSAEFAULT);
  if (length <= 0) return length;
  return send(static_cast<SOCKET>(socket), bytes, static_cast<int>(length), 0);
}

std::int32_t socket_end_sending(std::int32_t socket) noexcept {
  return shutdown(static_cast<SOCKET>(socket), SD_SEND);
}

// The number of probes is the system's own: 10.
std::int32_t socket_set_keep_alive_times(std::int32_t socket, std::int32_t idle_s,
                                         std::int32_t interval_s, std::int32_t) noexcept {
  KeepAliveTimes times{1, static_cast<u_long>(idle_s) * 1000,
                       static_cast<u_long>(interval_s) * 1000};
  DWORD size = 0;
  return WSAIoctl(static_cast<SOCKET>(socket), kSetKeepAliveTimes, &times, sizeof times, nullptr, 0,
                  &size, nullptr, nullptr);
}

}  // namespace kiv::platform
