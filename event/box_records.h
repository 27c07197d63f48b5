// The records behind a raw box: the box itself, its sockets and its timers.
#pragma once

#include <cstdint>

#include "event/engine.h"
#include "kiv_base/base.h"
#include "kiv_base/containers.h"
#include "kiv_base/event.h"

namespace kiv::event {

inline constexpr std::int32_t kSocketBuckets = 5120;
inline constexpr std::int32_t kTimerBuckets = 51200;
inline constexpr std::int32_t kMaxReadLength = 5120;
inline constexpr std::int32_t kMaxHostText = 256;
inline constexpr std::int32_t kListenBacklog = 100;

enum class Transport : std::int32_t { tcp = 1, udp = 2 };
enum class EndpointState : std::int32_t { closed = -1, prepared = 1, open = 2 };

// The far end that a client was aimed at, and its socket.
struct ClientEndpoint {
  Transport transport = Transport::tcp;
  std::uint16_t port = 0;
  char ip[kMaxHostText + 1] = {};
  std::uint32_t address = 0;  // host order
  char host[kMaxHostText + 1] = {};
  std::int32_t socket = -1;
  zu_sock_addr peer = {};
  std::int32_t is_closed = 0;
  EndpointState state = EndpointState::prepared;
};

// The local end of a server, and its socket.
struct ServerEndpoint {
  Transport transport = Transport::tcp;
  zu_sock_addr local = {};
  char ip[16] = {};  // empty: any address
  std::uint16_t port = 0;
  std::uint32_t address = 0;  // host order
  std::int32_t backlog = kListenBacklog;
  std::int32_t socket = -1;
  std::int32_t accepted = 0;
  zu_list* peers = nullptr;
  std::int32_t keeps_peers = 0;  // no box sets it
  EndpointState state = EndpointState::prepared;
};

// An application callback with its argument. Called only after the lock is released, on a copy.
template <typename Callback>
struct Handler {
  Callback callback = nullptr;
  void* argument = nullptr;

  template <typename... Arguments>
  void operator()(void* handle, Arguments... arguments) const {
    if (callback != nullptr) callback(handle, argument, arguments...);
  }
};
using SocketHandler = Handler<zu_box_socket_fn>;
using ReadHandler = Handler<zu_box_read_fn>;
using AcceptHandler = Handler<zu_box_accept_fn>;
using DatagramHandler = Handler<zu_box_datagram_fn>;
using TimerHandler = Handler<zu_box_timer_fn>;

struct StreamHandlers {
  ReadHandler read;
  SocketHandler close;
};

// The records of the five kinds of socket.
struct LocalTcpClient {
  std::int32_t socket = -1;
  ClientEndpoint endpoint;
  std::int32_t max_read_length = kMaxReadLength;
  SocketHandler connect;
  SocketHandler failure;
  StreamHandlers stream;
};

struct RemoteTcpClient {
  std::int32_t socket = -1;
  std::int32_t max_read_length = kMaxReadLength;
  StreamHandlers stream;
};

struct LocalUdpClient {
  std::int32_t socket = -1;
  ClientEndpoint endpoint;
  DatagramHandler datagram;
};

struct LocalTcpServer {
  std::int32_t socket = -1;
  ServerEndpoint endpoint;
  AcceptHandler accept;
};

struct LocalUdpServer {
  std::int32_t socket = -1;
  ServerEndpoint endpoint;
  DatagramHandler datagram;
};

enum class SocketKind : std::int32_t {
  local_tcp_client = 1,
  remote_tcp_client = 2,
  local_udp_client = 3,
  local_tcp_server = 4,
  local_udp_server = 5,
};

// What the socket table holds. The record lies behind its entry, in one block of memory.
struct SocketEntry {
  SocketKind kind;
  std::int32_t socket;
  void* record;

  // The record when the entry is of that kind, else null.
  LocalTcpClient* local_tcp_client() { return as<LocalTcpClient>(SocketKind::local_tcp_client); }
  RemoteTcpClient* remote_tcp_client() {
    return as<RemoteTcpClient>(SocketKind::remote_tcp_client);
  }
  LocalUdpClient* local_udp_client() { return as<LocalUdpClient>(SocketKind::local_udp_client); }
  LocalTcpServer* local_tcp_server() { return as<LocalTcpServer>(SocketKind::local_tcp_server); }
  LocalUdpServer* local_udp_server() { return as<LocalUdpServer>(SocketKind::local_udp_server); }

 private:
  template <typename Record>
  Record* as(SocketKind wanted) {
    return kind == wanted ? static_cast<Record*>(record) : nullptr;
  }
};

struct TimerEntry {
  std::int32_t timer;
  std::int32_t times_fired;
  TimerHandler handler;
};

// What becomes of a box when its running loop ends.
enum class Fate : std::int32_t { live, destroy, free };

}  // namespace kiv::event

struct zu_box {
  kiv::event::Engine* engine = nullptr;  // null once destroyed
  zu_sem* lock = nullptr;                // not owned; null: the box belongs to one thread
  void** socket_buckets = nullptr;
  void** timer_buckets = nullptr;
  zu_ihash* sockets = nullptr;
  zu_ihash* timers = nullptr;
  std::int32_t socket_count = 0;
  std::int32_t reserved_1 = 0;
  std::int32_t timer_count = 0;
  std::int32_t reserved_2 = 0;
  void* handle = nullptr;  // first argument of the callbacks

  std::int32_t is_looping = 0;
  kiv::event::Fate fate = kiv::event::Fate::live;
};
