// The sockets of a raw box, against plain sockets on 127.0.0.1.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "kiv_base/base.h"
#include "tests/event/box_events.h"

namespace kiv::test {
namespace {

using Lines = std::vector<std::string>;

void KIV_CALL take_time_out(void* box, void* timed_out, std::int32_t, std::int32_t) {
  *static_cast<bool*>(timed_out) = true;
  zu_box_BreakLoop(static_cast<zu_box*>(box));
}

void KIV_CALL count_call(void* calls) {
  ++*static_cast<int*>(calls);
}

class BoxSockets : public testing::Test {
 protected:
  ~BoxSockets() override { zu_box_free(box); }

  std::int32_t client(const char* host, std::uint16_t port) {
    return zu_box_sock_AddLocalTcpClient(box, host, port, on_connect, &seen, on_failure, &seen,
                                         on_read, &seen, on_close, &seen);
  }
  std::int32_t adopt(std::int32_t socket) {
    return zu_box_sock_AddRemoteTcpClient(box, socket, on_read, &seen, on_close, &seen);
  }
  std::int32_t udp_server() {
    return zu_box_sock_AddLocalUdpServer(box, "127.0.0.1", 0, on_datagram, &seen);
  }

  // Runs until so many lines were seen. A breach of the deadline fails.
  void run_until(std::size_t lines) {
    auto act = seen.then;
    seen.then = [&, act](const Event& event) {
      act(event);
      if (seen.lines.size() >= lines) zu_box_BreakLoop(box);
    };
    bool timed_out = false;
    zu_box_timer_AddOnceTimer(box, 20000, take_time_out, &timed_out);
    zu_box_StartLoop(box);
    EXPECT_FALSE(timed_out);
  }

  zu_box* box = zu_box_malloc();
  Recorder seen;
};

TEST_F(BoxSockets, ConversationFromConnectToClose) {
  int handle = 0;
  zu_box_SetUserCallbackHandle(box, &handle);
  const std::int32_t listener =
      zu_box_sock_AddLocalTcpServer(box, "127.0.0.1", 0, on_accept, &seen);
  const std::int32_t caller = client("127.0.0.1", port_of(listener));
  ASSERT_GT(caller, 0);
  std::int32_t answering = -1;
  seen.then = [&](const Event& event) {
    EXPECT_EQ(event.handle, &handle);
    EXPECT_EQ(zu_box_sock_GetThisId(box), event.id);
    if (event.text == "accept") {
      EXPECT_EQ(event.id, listener);
      EXPECT_EQ(event.port, port_of(caller));
      EXPECT_EQ(zu_box_sock_GetNumSock(box), 2) << "an accepted socket is in no box";
      answering = adopt(event.accepted);
      EXPECT_EQ(answering, event.accepted);
      EXPECT_EQ(zu_box_sock_TcpWrite(box, answering, "hello", 5), 5);
    } else if (event.text == "read hello") {
      EXPECT_EQ(event.id, caller);
      zu_box_sock_DeleteThis(box);
      EXPECT_EQ(zu_box_sock_IsExist(box, caller), 0);
    }
  };
  run_until(4);
  std::sort(seen.lines.begin(), seen.lines.begin() + 2);  // either end may be first to know
  EXPECT_EQ(seen.lines, (Lines{"accept", "connect", "read hello", "close"}));
  EXPECT_EQ(zu_box_sock_GetThisId(box), -1);
  EXPECT_EQ(zu_box_sock_IsExist(box, answering), 1) << "closed by the peer, not by the box";
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 2);
}

TEST_F(BoxSockets, PeersCloseIsToldOnceAndSilencesTheSocket) {
  auto [near, far] = tcp_pair();
  const std::int32_t socket = adopt(near.release());
  EXPECT_EQ(adopt(socket), -1) << "in the table already";
  EXPECT_TRUE(far.send("bye"));
  far.close();
  seen.then = [&](const Event& event) {
    // With the socket still ready, a second close would come long before this.
    if (event.text == "close") zu_box_timer_AddOnceTimer(box, 20, on_timer, &seen);
  };
  run_until(3);
  EXPECT_EQ(seen.lines, (Lines{"read bye", "close", "timer 1"}));
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 1);
}

TEST_F(BoxSockets, NumericHostsOfEveryFormConnect) {
  const Socket listener = tcp_listener();
  for (const char* host : {"127.0.0.1", "127.1", "0x7f000001", "0x00000000007f000001"}) {
    EXPECT_GT(client(host, listener.local_port()), 0) << host;
  }
  run_until(4);
  EXPECT_EQ(seen.lines, Lines(4, "connect"));
}

TEST_F(BoxSockets, FailedConnectIsToldOnceAndKeepsTheSocket) {
  // A refusal, and an address that the system rejects within the call.
  const std::int32_t refused = client("127.0.0.1", free_tcp_port());
  const std::int32_t unreachable = client("224.0.0.1", 80);
  std::map<std::int32_t, int> failures;
  seen.then = [&](const Event& event) {
    ++failures[event.id];
    if (seen.lines.size() == 2) zu_box_timer_AddOnceTimer(box, 20, on_timer, &seen);
  };
  run_until(3);
  EXPECT_EQ(seen.lines, (Lines{"failure", "failure", "timer 1"}));
  EXPECT_EQ(failures[refused], 1);
  EXPECT_EQ(failures[unreachable], 1);
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 2);
}

TEST_F(BoxSockets, WhatCannotBeOpenedLeavesNoTrace) {
  const std::string long_host(257, '1');
  const struct {
    const char* host;
    std::uint16_t port;
  } refused[] = {{nullptr, 80},    {"127.0.0.1", 0},          {"127.0.0.1", 1},
                 {"127.0.0.1", 2}, {long_host.c_str(), 8000}, {"no such host.invalid", 80}};
  for (const auto& [host, port] : refused) {
    EXPECT_EQ(client(host, port), -1) << (host ? host : "NULL") << ":" << port;
    EXPECT_EQ(zu_box_sock_AddLocalUdpClient(box, host, port, on_datagram, &seen), -1);
  }
  const Socket taken = tcp_listener();
  const Socket taken_udp = udp_socket();
  EXPECT_EQ(zu_box_sock_AddLocalTcpServer(box, "127.0.0.1", taken.local_port(), on_accept, &seen),
            -1);
  EXPECT_EQ(
      zu_box_sock_AddLocalUdpServer(box, "127.0.0.1", taken_udp.local_port(), on_datagram, &seen),
      -1);
  EXPECT_EQ(zu_box_sock_AddLocalTcpServer(box, "localhost", 0, on_accept, &seen), -1);
  EXPECT_EQ(adopt(0), -1);
  EXPECT_EQ(adopt(-5), -1);
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 0);
  zu_box_StartLoop(box);  // nothing to wait for: returns
  EXPECT_GT(client("127.0.0.1", 3), 0) << "the first port that is not refused";
}

TEST_F(BoxSockets, ReadsAreCutToTheLengthSet) {
  const struct {
    std::int32_t set, cut;
  } cases[] = {{0, 1}, {-7, 1}, {7, 7}, {100000, 5120}, {5120, 5120}};
  std::size_t sent = 0, longest = 0, total = 0;
  seen.then = [&](const Event& event) {
    longest = std::max(longest, event.text.size() - 5);
    total += event.text.size() - 5;
    if (total == sent) zu_box_sock_DeleteThis(box);
  };
  for (const auto& [set, cut] : cases) {
    auto [near, far] = tcp_pair();
    sent = static_cast<std::size_t>(cut) + 20;
    ASSERT_TRUE(far.send(std::string(sent, 'x')));
    const std::int32_t socket = adopt(near.release());
    EXPECT_EQ(zu_box_sock_SetMaxReadLen(box, socket, set), 1);
    longest = total = 0;
    zu_box_StartLoop(box);  // ends with its last socket
    EXPECT_EQ(longest, static_cast<std::size_t>(cut)) << set;
    EXPECT_EQ(total, sent);
  }
  EXPECT_EQ(zu_box_sock_SetMaxReadLen(box, udp_server(), 7), 0);
  EXPECT_EQ(zu_box_sock_SetMaxReadLen(box, 12345, 7), 0);
}

TEST_F(BoxSockets, DatagramsComeWholeOrNotAtAll) {
  const std::int32_t server = udp_server();
  const std::int32_t own = zu_box_sock_AddLocalUdpClient(box, "127.0.0.1", 9, on_datagram, &seen);
  EXPECT_GT(port_of(own), 0);
  const Socket far = udp_socket();
  const std::string largest(5120, 'd');
  std::vector<std::uint16_t> from;
  seen.then = [&](const Event& event) {
    from.push_back(event.port);
    if (event.text != "datagram echo") return;
    EXPECT_EQ(zu_box_sock_UdpWriteByIp(box, event.id, "back", 4, "127.0.0.1", event.port), 4);
  };
  ASSERT_TRUE(far.send_to(port_of(server), "echo"));
  ASSERT_TRUE(far.send_to(port_of(server), largest + "!"));
  ASSERT_TRUE(far.send_to(port_of(server), largest));
  run_until(3);
  EXPECT_EQ(seen.lines, (Lines{"datagram echo", "datagram ", "datagram " + largest}));
  EXPECT_EQ(from, (std::vector<std::uint16_t>{far.local_port(), 0, far.local_port()}));
  EXPECT_EQ(far.receive_datagram(), "back");
  EXPECT_EQ(zu_box_sock_UdpWriteByIp(box, server, "x", 1, "127.0.0.1", 0), 0);
  EXPECT_EQ(zu_box_sock_UdpWrite(box, server, "x", 1, nullptr), 0);
}

TEST_F(BoxSockets, ConnectionNobodyWantsIsClosed) {
  const std::int32_t listener = zu_box_sock_AddLocalTcpServer(box, nullptr, 0, nullptr, nullptr);
  const Socket far = tcp_connect(port_of(listener));
  zu_box_timer_AddOnceTimer(box, 20, on_timer, &seen);
  run_until(1);
  EXPECT_EQ(far.receive_to_end(), "");
}

TEST_F(BoxSockets, ExportedSocketStaysOpenAndLeavesWithItsLastWait) {
  auto [near, far] = tcp_pair();
  const std::int32_t socket = adopt(near.id());
  int calls = 0;
  EXPECT_EQ(zu_box_sock_ImportSocketId_ForWrite(box, socket, count_call, &calls), 1);
  EXPECT_EQ(zu_box_sock_ExportSocketId_ForRead(box, socket), 1);
  EXPECT_EQ(zu_box_sock_IsExist(box, socket), 1) << "still waiting to write";
  EXPECT_EQ(zu_box_sock_ExportSocketId_ForExcept(box, socket), 1);
  EXPECT_EQ(zu_box_sock_IsExist(box, socket), 1);
  EXPECT_EQ(zu_box_sock_ExportSocketId_ForWrite(box, socket), 1);
  EXPECT_EQ(zu_box_sock_IsExist(box, socket), 0);
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 0);
  EXPECT_EQ(adopt(socket), socket) << "and may come back";
  EXPECT_EQ(zu_box_sock_ExportSocketId(box, socket), 1);
  EXPECT_EQ(zu_box_sock_ExportSocketId(box, 99999), 1) << "also for a stranger";
  EXPECT_TRUE(near.send("open"));
  EXPECT_EQ(far.receive(4), "open");
}

TEST_F(BoxSockets, ImportedSocketIsServedButNotOwned) {
  auto [near, far] = tcp_pair();
  int calls = 0;
  for (const auto import : {zu_box_sock_ImportSocketId_ForRead, zu_box_sock_ImportSocketId_ForWrite,
                            zu_box_sock_ImportSocketId_ForExcept}) {
    EXPECT_EQ(import(box, 0, count_call, &calls), 0);
    EXPECT_EQ(import(box, near.id(), nullptr, &calls), 0);
    EXPECT_EQ(import(box, near.id(), count_call, &calls), 1);
    EXPECT_EQ(import(box, near.id(), count_call, &calls), 0) << "a second time";
  }
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 0);
  EXPECT_EQ(adopt(near.id()), -1) << "its read is taken";
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 0);
  zu_box_timer_AddOnceTimer(box, 1, on_timer, &seen);
  zu_box_sock_ExportSocketId_ForWrite(box, near.id());
  EXPECT_TRUE(far.send("x"));
  seen.then = [&](const Event&) {};
  zu_box_sock_ImportSocketId_ForWrite(
      box, near.id(), [](void* user) { zu_box_BreakLoop(static_cast<zu_box*>(user)); }, box);
  zu_box_StartLoop(box);
  EXPECT_EQ(calls, 1) << "the read import survived the refused adoption";
  zu_box_free(std::exchange(box, nullptr));
  EXPECT_TRUE(near.send("open"));
  EXPECT_EQ(far.receive(4), "open");
}

TEST_F(BoxSockets, EachKindOfWaitHasRoomForExactly1024) {
  const std::int32_t server = udp_server();
  int calls = 0;
  for (std::int32_t i = 1; i < 1024; ++i) {
    ASSERT_EQ(zu_box_sock_ImportSocketId_ForRead(box, 100000 + i, count_call, &calls), 1) << i;
  }
  EXPECT_EQ(zu_box_sock_ImportSocketId_ForRead(box, 200000, count_call, &calls), 0);
  EXPECT_EQ(udp_server(), -1);
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 1);
  EXPECT_GT(client("127.0.0.1", free_tcp_port()), 0) << "waits to write, not to read";
  zu_box_sock_Delete(box, server);
  EXPECT_GT(udp_server(), 0);
}

TEST_F(BoxSockets, VisitorSeesEverySocketAndMayDeleteIt) {
  const Socket listener = tcp_listener();
  auto [near, far] = tcp_pair();
  client("127.0.0.1", listener.local_port());
  adopt(near.release());
  zu_box_sock_AddLocalUdpClient(box, "127.0.0.1", 9, on_datagram, &seen);
  zu_box_sock_AddLocalTcpServer(box, "", 0, on_accept, &seen);
  udp_server();
  std::vector<std::int32_t> kinds;
  zu_box_sock_foreach(
      box,
      [](void* handle, std::int32_t kind, std::int32_t socket, void* argument) {
        static_cast<std::vector<std::int32_t>*>(argument)->push_back(kind);
        zu_box_sock_Delete(static_cast<zu_box*>(handle), socket);
      },
      &kinds);
  std::sort(kinds.begin(), kinds.end());
  EXPECT_EQ(kinds, (std::vector<std::int32_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 0);
  EXPECT_EQ(far.receive_to_end(), "");
}

TEST_F(BoxSockets, WritingToADeadPeerFailsQuietly) {
  auto [near, far] = tcp_pair();
  far.close();
  std::int32_t sent = 1;
  for (int i = 0; i < 1000 && sent > 0; ++i) {  // the first is what makes the peer reset
    sent = zu_box_sock_TcpWrite(box, near.id(), "x", 1);
    near.readable_within(1000);
  }
  EXPECT_EQ(sent, -1);
  EXPECT_EQ(zu_box_sock_TcpWrite(box, near.id(), nullptr, 4), -1);
  EXPECT_EQ(zu_box_sock_TcpWrite(box, near.id(), "x", -1), -1);
}

// Ending a box under the feet of its own loop.
TEST_F(BoxSockets, FreedOrDestroyedInsideItsCallback) {
  for (const bool whole : {true, false}) {
    auto [near, far] = tcp_pair();
    adopt(near.release());
    zu_box_sock_AddLocalTcpServer(box, nullptr, 0, on_accept, &seen);
    seen.then = [&](const Event&) {
      whole ? zu_box_free(box) : zu_box_destroy(box);
      zu_box_StartLoop(box);  // one loop at a time
    };
    EXPECT_TRUE(far.send("x"));
    zu_box_StartLoop(box);
    EXPECT_EQ(far.receive_to_end(), "");
    if (whole) box = zu_box_malloc();
  }
  EXPECT_EQ(seen.lines, Lines(2, "read x"));
  EXPECT_EQ(udp_server(), -1) << "a destroyed box refuses everything";
  EXPECT_EQ(zu_box_timer_AddOnceTimer(box, 1, on_timer, &seen), -1);
  zu_box_StartLoop(box);
}

}  // namespace
}  // namespace kiv::test
