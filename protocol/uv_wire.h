// What both ends of a virtual connection share: its datagrams, the socket that carries them, and
// the pace of its timers.
#pragma once

#include <cstdint>

#include "base/callback.h"
#include "kiv_base/event.h"

namespace kiv::protocol::uv {

// The first byte of a datagram; the second one, a code, is informative. Receivers
// act on the type alone.
enum class Type : std::uint8_t {
  connect = 10,
  accept = 11,
  refuse = 12,
  confirm = 13,
  close = 14,
  data = 15,
  keep_alive = 16,
};

inline constexpr std::uint8_t kNoCode = 0;
inline constexpr std::uint8_t kRequestCode = 2;
inline constexpr std::uint8_t kServerFull = 1;
inline constexpr std::uint8_t kAddressTaken = 3;

inline constexpr std::int32_t kHeader = 2;
inline constexpr std::int32_t kMaxDatagram = 10240;
inline constexpr std::int32_t kMaxBody = kMaxDatagram - kHeader;
inline constexpr std::int32_t kSession = 64;
inline constexpr std::int32_t kControl = kHeader + kSession;

inline constexpr std::uint32_t kConnectTimeoutMs = 4000;
inline constexpr std::uint32_t kKeepAliveMs = 2000;
inline constexpr std::uint32_t kLivenessMs = 10000;

// The number of datagrams that one iteration of a loop reads as long as there is nothing to report:
// an iteration costs more than a datagram, and garbage crowds out the peer's where the reading
// falls behind.
inline constexpr int kBatch = 32;

inline constexpr std::int32_t kSocketBuffer = 0x80000;

using base::Callback;

// A received datagram, with a NUL after it.
struct Datagram {
  const char* bytes;
  std::int32_t length;

  bool has_header() const { return length >= kHeader; }
  Type type() const { return static_cast<Type>(bytes[0]); }
  bool is_control() const { return length == kControl; }
  const char* session() const { return bytes + kHeader; }
  bool carries(const char* session_text) const;
};

// Its bytes for the application, which may free the object that received it.
struct DatagramCopy {
  explicit DatagramCopy(const Datagram& datagram);
  char bytes[kMaxDatagram + 1];
};

// Where a datagram goes: numeric text, port in host order.
struct Address {
  const char* ip;
  std::uint16_t port;
};

// A UDP socket in the loop of a box, read by a raw handler: a box's own datagrams end at 5120
// bytes. Zeroed, it is closed.
struct Link {
  kiv_box* box;
  std::int32_t socket;       // below 1: none
  std::int32_t owns_socket;  // 1: closed at the end, otherwise handed back

  // Takes a socket that the box has just made; it is closed on failure.
  bool open_own(kiv_box* on, std::int32_t made, zu_event_fn handler, void* argument);
  // Takes one of the application's.
  bool open_given(kiv_box* on, std::int32_t given, zu_event_fn handler, void* argument);
  void close();

  // Reads one datagram into kMaxDatagram + 1 bytes. Its length; -1 when none came, also for one
  // too long, which is lost.
  std::int32_t receive(char* buffer, zu_sock_peer& from) const;

  // Sends a datagram of the session text five times, so that one gets through. Did any go out?
  bool send_control(const Address& to, Type type, std::uint8_t code, const char* session) const;
  // Fills the header of `buffer`, kMaxDatagram bytes, and sends it with as much of the bytes as
  // there is room for. The length of the datagram, -1 on failure; 0 for no bytes or a negative
  // length.
  std::int32_t send_data(const Address& to, char* buffer, const void* bytes,
                         std::int32_t length) const;
  void send_keep_alive(const Address& to) const;
};

// The callback of a box's socket until a link takes it over.
inline void KIV_CALL ignore_datagram(void*, void*, std::int32_t, char*, std::int32_t,
                                     zu_sock_peer*) {}

// The ticks of a loop timer that count. Ready sockets delay every timer of a loop, and the ticks
// held up then come in a burst: neither may end a connection whose ends both live.
class Pace {
 public:
  void start();
  // Does this tick count? Not when it follows the last one in less than half the interval.
  bool take_tick(std::uint32_t interval_ms);
  // Is the next one late by half the interval?
  bool is_overdue(std::uint32_t interval_ms) const;

 private:
  std::uint32_t last_ms_;
};

}  // namespace kiv::protocol::uv
