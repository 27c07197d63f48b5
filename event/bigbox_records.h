// The records behind a big box. All of them are guarded by the lock of the big boxes.
#pragma once

#include <atomic>
#include <cstdint>

#include "event/box_records.h"
#include "kiv_base/containers.h"

namespace kiv::event {

inline constexpr std::int32_t kPeerText = 20;  // an address as it is kept, with its terminator

struct Slave {
  std::int32_t thread = 0;
  kiv_box* box = nullptr;
  zu_itree* clients = nullptr;  // by socket
};

struct Listener {
  char* local_ip = nullptr;
  std::uint16_t port = 0;
  std::int32_t socket = -1;
  AcceptHandler accept;

  char text[16] = {};  // where local_ip lies
};

struct Client {
  std::int32_t slave_thread = 0;
  kiv_box* slave_box = nullptr;
  std::int32_t socket = -1;
  char* peer_ip = nullptr;
  std::uint16_t peer_port = 0;
  ReadHandler read;
  SocketHandler close;
  SocketHandler writable;

  bool waits_for[2] = {};              // by Kind: reading, writing
  std::atomic<std::int32_t> users{0};  // system calls on the socket without the lock
  char text[kPeerText] = {};           // where peer_ip lies
};

}  // namespace kiv::event

struct kiv_bigbox {
  kiv_box* master = nullptr;
  zu_itree* listeners = nullptr;  // by socket
  zu_itree* slaves = nullptr;     // by thread id
  std::int32_t slave_count = 0;
  zu_itree* clients = nullptr;  // by socket, of all slaves
  std::int32_t max_clients = 0;
};
