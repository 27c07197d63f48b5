// A socket in a random script. What its other end does has arrived when the call returns.
#pragma once

#include <gtest/gtest.h>
#include <linux/sock_diag.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kiv_base/event.h"
#include "platform/socket.h"
#include "tests/support/sockets.h"

namespace kiv::test {

// The system's own answer at once, or when one of the events is there.
inline short shown(int id, short events, int timeout_ms = 0) {
  pollfd entry{id, events, 0};
  poll(&entry, 1, timeout_ms);
  return entry.revents;
}
inline void wait_until_shown(int id, short events) {
  EXPECT_NE(shown(id, events, 20000) & events, 0) << "events " << events;
}

struct ScriptedSocket {
  // A pair is one of local streams, where nothing is under way; a box owns the later ones.
  enum Type { datagram, pair, stream, file, own_datagram, own_pair, own_stream, client, listener };

  Type type;
  Socket near, far;            // `near` is what the box knows
  std::vector<Socket> guests;  // of a listener: they wait to be accepted, the last one first
  bool is_connecting = false;
  int sent = 0, received = 0;  // bytes; each is its own number
  int urgent_at = 0;           // an urgent one came behind so many

  bool is_pair() const { return type == pair || type == own_pair; }
  bool is_datagram() const { return type == datagram || type == own_datagram; }

  void begin(Type fresh) {
    type = fresh;
    sent = received = urgent_at = 0;
  }
  void end() {
    near.close();
    far.close();
    guests.clear();
    is_connecting = false;
  }

  void send(std::size_t count) {
    if (sent - received > 64) return;
    const std::uint64_t before = arrived();
    std::string data;
    if (is_datagram()) count = 1;
    for (std::size_t i = 0; i < count; ++i) data += char(sent + int(i));
    if (is_datagram()) {
      EXPECT_TRUE(near.send_to(near.local_port(), data));
    } else if (far.id() < 0 || !far.send(data)) {
      return;  // it has ended
    }
    sent += int(count);
    while (!is_pair() && arrived() == before) sched_yield();
  }

  void read(std::int32_t most) {
    char data[64];
    if (is_connecting || type == listener || (shown(near.id(), POLLIN) & POLLIN) == 0) return;
    take(data, platform::socket_receive(near.id(), data, std::min(most, 64)));
  }
  void take(const char* data, std::int32_t length) {
    for (std::int32_t i = 0; i < length; ++i) EXPECT_EQ(data[i], char(received++));
  }

  // Whatever else may happen to one of its sort.
  void disturb(unsigned choice) {
    if (type == listener) {
      guests.insert(guests.begin(), tcp_connect(near.local_port()));
      zu_sock_set_nondelay(guests.front().id());
      while (state().tcpi_unacked != guests.size()) sched_yield();
    } else if (far.id() > 0) {
      is_pair() ? disturb_pair(choice % 4) : disturb_stream(choice % 6);
    }
  }

 private:
  // Something that changes with each arrival.
  std::uint64_t arrived() const {
    if (!is_datagram()) return state().tcpi_bytes_received;
    std::uint32_t memory[SK_MEMINFO_VARS] = {};
    socklen_t size = sizeof memory;
    getsockopt(near.id(), SOL_SOCKET, SO_MEMINFO, memory, &size);
    return memory[SK_MEMINFO_RMEM_ALLOC];
  }
  tcp_info state() const {
    tcp_info state = {};
    socklen_t size = sizeof state;
    getsockopt(near.id(), IPPROTO_TCP, TCP_INFO, &state, &size);
    return state;
  }

  void disturb_pair(unsigned choice) {
    const std::string much(512, 'x');
    switch (choice) {
      case 0:
        while (platform::socket_send(near.id(), much.data(), 512) > 0) {
        }
        return;
      case 1:
        while (far.readable_within(0)) far.receive_some();
        return;
      case 2:
        shutdown(far.id(), SHUT_WR);
        return;
      default:
        far.close();
    }
  }
  void disturb_stream(unsigned choice) {
    const std::uint64_t before = arrived();
    char urgent = 'u';
    switch (choice) {
      case 0:
        recv(near.id(), &urgent, 1, MSG_OOB | MSG_DONTWAIT);
        return;
      case 1:
        shutdown(far.id(), SHUT_WR);
        return wait_until_shown(near.id(), POLLRDHUP);
      case 2:
        zu_sock_set_linger(far.id(), 0);
        far.close();
        return wait_until_shown(near.id(), POLLHUP);
      default:
        // Of two urgent bytes that nobody has reached, the first would become data.
        if (urgent_at > received) return;
        if (::send(far.id(), &urgent, 1, MSG_OOB | MSG_NOSIGNAL) < 0) return;
        urgent_at = sent;
        while (arrived() == before) sched_yield();
    }
  }
};

}  // namespace kiv::test
