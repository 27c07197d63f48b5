#include "protocol/uv_wire.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "event/endpoint.h"
#include "event/kiv_box_verbs.h"
#include "platform/clock.h"
#include "platform/socket.h"

namespace kiv::protocol::uv {
namespace {

constexpr int kRepeats = 5;

void write_header(char* datagram, Type type, std::uint8_t code) {
  datagram[0] = static_cast<char>(type);
  datagram[1] = static_cast<char>(code);
}

std::int32_t send(const Link& link, const Address& to, const char* datagram, std::int32_t length) {
  return event::write_to(link.box, link.socket, datagram, length, to.ip, to.port);
}

// Wraps; differences count.
std::uint32_t now_ms() {
  return static_cast<std::uint32_t>(platform::steady_us() / 1000);
}

}  // namespace

bool Datagram::carries(const char* session_text) const {
  return is_control() && std::memcmp(session(), session_text, kSession) == 0;
}

DatagramCopy::DatagramCopy(const Datagram& datagram) {
  std::memcpy(bytes, datagram.bytes, static_cast<std::size_t>(datagram.length) + 1);
}

bool Link::open_own(kiv_box* on, std::int32_t made, zu_event_fn handler, void* argument) {
  // The box reads its sockets itself until it forgets them. A box that is gone has closed them.
  if (made < 1 || !event::export_socket(on, made, event::Kind::read)) return false;
  if (!open_given(on, made, handler, argument)) {
    platform::socket_close(made);
    return false;
  }
  owns_socket = 1;
  return true;
}

bool Link::open_given(kiv_box* on, std::int32_t given, zu_event_fn handler, void* argument) {
  // Reads happen under the lock of all objects: one that waits would stop them.
  if (platform::socket_set_blocking(given, false) != 0) return false;
  if (!event::import_socket(on, given, event::Kind::read, handler, argument)) return false;
  event::set_buffers(given, kSocketBuffer, kSocketBuffer);
  *this = {.box = on, .socket = given, .owns_socket = 0};
  return true;
}

void Link::close() {
  if (socket > 0 && owns_socket == 1) {
    event::delete_socket(box, socket);
    platform::socket_close(socket);  // the box has not known it since open_own
  } else if (socket > 0) {
    event::export_socket(box, socket, event::Kind::read);
  }
  socket = -1;
  owns_socket = 0;
}

std::int32_t Link::receive(char* buffer, zu_sock_peer& from) const {
  from = {};
  const std::int32_t length =
      event::read_datagram(socket, buffer, kMaxDatagram, from, platform::Waiting::as_set);
  if (length >= 0) buffer[length] = '\0';
  return length;
}

bool Link::send_control(const Address& to, Type type, std::uint8_t code,
                        const char* session) const {
  char datagram[kControl];
  write_header(datagram, type, code);
  std::memcpy(datagram + kHeader, session, kSession);
  bool any = false;
  for (int i = 0; i < kRepeats; ++i) any |= send(*this, to, datagram, kControl) == kControl;
  return any;
}

std::int32_t Link::send_data(const Address& to, char* buffer, const void* bytes,
                             std::int32_t length) const {
  if (bytes == nullptr || length < 0) return 0;
  const std::int32_t body = std::min(length, kMaxBody);
  write_header(buffer, Type::data, kNoCode);
  std::memcpy(buffer + kHeader, bytes, static_cast<std::size_t>(body));
  return send(*this, to, buffer, kHeader + body);
}

void Link::send_keep_alive(const Address& to) const {
  char datagram[kHeader];
  write_header(datagram, Type::keep_alive, kNoCode);
  send(*this, to, datagram, kHeader);
}

void Pace::start() {
  last_ms_ = now_ms();
}

bool Pace::take_tick(std::uint32_t interval_ms) {
  const std::uint32_t now = now_ms();
  if (now - last_ms_ < interval_ms / 2) return false;
  last_ms_ = now;
  return true;
}

bool Pace::is_overdue(std::uint32_t interval_ms) const {
  return now_ms() - last_ms_ > interval_ms + interval_ms / 2;
}

}  // namespace kiv::protocol::uv
