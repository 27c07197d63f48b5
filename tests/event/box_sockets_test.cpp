// The sockets of a raw box, against plain sockets on 127.0.0.1.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/event/box_events.h"

namespace kiv::test {
namespace {

void KIV_CALL time_out(void*, void* box, std::int32_t, std::int32_t) {
  ADD_FAILURE() << "the deadline has passed";
  zu_box_BreakLoop(static_cast<zu_box*>(box));
}

void KIV_CALL count_call(void* calls) {
  ++*static_cast<int*>(calls);
}

struct BoxSockets : testing::Test {
  ~BoxSockets() override { zu_box_free(box); }
  std::int32_t client(const char* host, std::uint16_t port) {
    return zu_box_sock_AddLocalTcpClient(box, host, port, on_connect, &seen, on_failure, &seen,
                                         on_read, &seen, on_close, &seen);
  }
  std::int32_t adopt(std::int32_t socket) {
    return zu_box_sock_AddRemoteTcpClient(box, socket, on_read, &seen, on_close, &seen);
  }
  std::int32_t tcp_server(std::uint16_t port = 0, const char* ip = "127.0.0.1") {
    return zu_box_sock_AddLocalTcpServer(box, ip, port, on_accept, &seen);
  }
  std::int32_t udp_client(const char* host, std::uint16_t port) {
    return zu_box_sock_AddLocalUdpClient(box, host, port, on_datagram, &seen);
  }
  std::int32_t udp_server(std::uint16_t port = 0) {
    return zu_box_sock_AddLocalUdpServer(box, "127.0.0.1", port, on_datagram, &seen);
  }

  // Runs until so many lines were seen, then for a moment that would show one too many.
  void expect_lines(const Lines& expected) {
    if (expected.empty()) zu_box_timer_AddOnceTimer(box, 20, on_timer, &seen);
    seen.then = [&, act = seen.then](const Event& event) {
      act(event);
      if (seen.lines.size() == expected.size()) zu_box_timer_AddOnceTimer(box, 20, on_timer, &seen);
      if (seen.lines.size() > expected.size()) zu_box_BreakLoop(box);
    };
    zu_box_timer_AddOnceTimer(box, 20000, time_out, box);
    zu_box_StartLoop(box);
    Lines with_timer = expected;
    with_timer.push_back("timer 1");
    EXPECT_EQ(seen.lines, with_timer);
  }

  zu_box* box = zu_box_malloc();
  Recorder seen;
};

TEST_F(BoxSockets, ConversationFromConnectToClose) {
  const std::int32_t listener = tcp_server(),
                     caller = client("0x00000000007f000001", port_of(listener));
  std::int32_t answering = -1;
  seen.then = [&](const Event& event) {
    if (event.text == "timer 1") return;
    EXPECT_EQ(zu_box_sock_GetThisId(box), event.id);
    if (event.text == "accept 127.0.0.1") {
      EXPECT_EQ(event.id, listener);
      EXPECT_EQ(event.port, port_of(caller));
      EXPECT_EQ(zu_box_sock_GetNumSock(box), 2) << "an accepted socket is in no box";
      answering = adopt(event.accepted);
      EXPECT_EQ(adopt(answering), -1) << "in the table already";
    } else if (event.text == "connect") {
      EXPECT_EQ(zu_box_sock_TcpWrite(box, caller, "hello", 5), 5);
      zu_box_SetUserCallbackHandle(box, &seen);
    } else if (event.text == "read hello") {
      EXPECT_EQ(event.handle, &seen);
      EXPECT_EQ(event.id, answering);
      zu_box_SetUserCallbackHandle(box, box);
      zu_box_sock_Delete(box, caller);
    }
  };
  // Reads are served before writes, so the listener hears of the call first.
  expect_lines({"accept 127.0.0.1", "connect", "read hello", "close"});
  EXPECT_EQ(zu_box_sock_GetThisId(box), -1);
  EXPECT_EQ(zu_box_sock_IsExist(box, caller), 0);
  EXPECT_EQ(zu_box_sock_IsExist(box, answering), 1) << "closed by the peer, not by the box";
}

TEST_F(BoxSockets, FailedConnectIsReportedOnceAndKeepsTheSocket) {
  client("127.0.0.1", free_tcp_port());
  client("224.0.0.1", 80);  // the system rejects it within the call
  expect_lines({"failure", "failure"});
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 2);
}

TEST_F(BoxSockets, WhatCannotBeOpenedLeavesNoTrace) {
  const std::string long_host(257, '1');
  const std::pair<const char*, std::uint16_t> refused[] = {
      {nullptr, 80},    {"127.0.0.1", 0},          {"127.0.0.1", 1},
      {"127.0.0.1", 2}, {long_host.c_str(), 8000}, {"no such host.invalid", 80}};
  for (const auto& [host, port] : refused) {
    EXPECT_EQ(client(host, port), -1) << (host ? host : "NULL") << ":" << port;
    EXPECT_EQ(udp_client(host, port), -1);
  }
  const Socket taken = tcp_listener(), taken_udp = udp_socket();
  EXPECT_EQ(tcp_server(taken.local_port()), -1);
  EXPECT_EQ(udp_server(taken_udp.local_port()), -1);
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 0);
  zu_box_StartLoop(box);  // nothing to wait for: returns
  EXPECT_GT(client("127.0.0.1", 3), 0) << "the first port that is not refused";
}

TEST_F(BoxSockets, ReadsAreCutToTheLengthSet) {
  std::size_t sent = 0, longest = 0, total = 0;
  seen.then = [&](const Event& event) {
    longest = std::max(longest, event.text.size() - 5);
    total += event.text.size() - 5;
    if (total == sent) zu_box_sock_DeleteThis(box);
  };
  for (const auto& [set, cut] : std::map<int, int>{{-7, 1}, {0, 1}, {7, 7}, {100000, 5120}}) {
    auto [near, far] = tcp_pair();
    sent = std::size_t(cut) + 20;
    longest = total = 0;
    ASSERT_TRUE(far.send(std::string(sent, 'x')));
    EXPECT_EQ(zu_box_sock_SetMaxReadLen(box, adopt(near.release()), set), 1);
    zu_box_StartLoop(box);  // ends with its last socket
    EXPECT_EQ(longest, std::size_t(cut)) << set;
    EXPECT_EQ(total, sent);
  }
  EXPECT_EQ(zu_box_sock_SetMaxReadLen(box, udp_server(), 7), 0);
}

TEST_F(BoxSockets, DatagramsComeWholeOrNotAtAll) {
  const std::int32_t server = udp_server();
  EXPECT_GT(port_of(udp_client("127.0.0.1", 9)), 0) << "bound from the start";
  const Socket far = udp_socket();
  const std::string largest(5120, 'd');
  std::vector<std::uint16_t> from;
  seen.then = [&](const Event& event) {
    from.push_back(event.port);
    if (event.text != "datagram echo") return;
    EXPECT_EQ(zu_box_sock_UdpWriteByIp(box, event.id, "back", 4, "127.0.0.1", event.port), 4);
  };
  for (const auto& data : {std::string("echo"), largest + "!", largest}) {
    ASSERT_TRUE(far.send_to(port_of(server), data));
  }
  expect_lines({"datagram echo", "datagram ", "datagram " + largest});
  from.resize(3);
  EXPECT_EQ(from, (std::vector<std::uint16_t>{far.local_port(), 0, far.local_port()}));
  EXPECT_EQ(far.receive_datagram(), "back");
}

TEST_F(BoxSockets, ASocketLeavesWithItsLastWaitAndStaysOpen) {
  auto [near, far] = tcp_pair();
  const std::int32_t socket = adopt(near.id());
  int calls = 0;
  const auto import = [&] {
    return zu_box_sock_ImportSocketId_ForRead(box, socket, count_call, &calls);
  };
  EXPECT_EQ(import(), 0) << "its read is taken";
  EXPECT_EQ(zu_box_sock_ImportSocketId_ForWrite(box, socket, count_call, &calls), 1);
  for (const auto give : {zu_box_sock_ExportSocketId_ForRead, zu_box_sock_ExportSocketId_ForExcept,
                          zu_box_sock_ExportSocketId_ForWrite}) {
    EXPECT_EQ(zu_box_sock_IsExist(box, socket), 1);
    EXPECT_EQ(give(box, socket), 1);
  }
  EXPECT_EQ(zu_box_sock_IsExist(box, socket) + zu_box_sock_GetNumSock(box), 0);
  EXPECT_EQ(adopt(socket), socket) << "and may come back";
  EXPECT_EQ(zu_box_sock_ExportSocketId(box, socket), 1);

  zu_box_free(std::exchange(box, nullptr));
  EXPECT_TRUE(near.send("open"));
  EXPECT_EQ(far.receive(4), "open");
}

TEST_F(BoxSockets, EachKindOfWaitHasRoomForExactly1024) {
  int calls = 0, taken = udp_server() > 0;
  for (std::int32_t socket = 100000; socket < 101100; ++socket) {
    taken += zu_box_sock_ImportSocketId_ForRead(box, socket, count_call, &calls);
  }
  EXPECT_EQ(taken, 1024);
  EXPECT_EQ(udp_server(), -1);
  EXPECT_EQ(zu_box_sock_GetNumSock(box), 1);
  EXPECT_GT(client("127.0.0.1", 9), 0) << "waits to write, not to read";
}

TEST_F(BoxSockets, NoPeerAtTheOtherEnd) {
  const std::int32_t unwanted = zu_box_sock_AddLocalTcpServer(box, nullptr, 0, nullptr, nullptr);
  const Socket caller = tcp_connect(port_of(unwanted));
  expect_lines({});
  EXPECT_EQ(caller.receive_to_end(), "") << "closed, as no callback took it";
  auto [near, far] = tcp_pair();
  far.close();
  std::int32_t sent = 1;
  for (int i = 0; i < 1000 && sent > 0; ++i) {  // the first makes the peer reset
    sent = zu_box_sock_TcpWrite(box, near.id(), "x", 1);
    near.readable_within(1000);
  }
  EXPECT_EQ(sent, -1) << "and no signal";
}

TEST_F(BoxSockets, FreedOrDestroyedInsideItsCallback) {
  for (const auto end : {zu_box_free, zu_box_destroy}) {
    auto [near, far] = tcp_pair();
    adopt(near.release());
    tcp_server();
    seen.then = [&](const Event&) {
      end(box);
      zu_box_StartLoop(box);  // one loop at a time: returns
    };
    EXPECT_TRUE(far.send("x"));
    zu_box_StartLoop(box);
    EXPECT_EQ(far.receive_to_end(), "");
    if (end == zu_box_free) box = zu_box_malloc();
  }
  EXPECT_EQ(seen.lines, Lines(2, "read x"));
  EXPECT_EQ(udp_server(), -1) << "a destroyed box refuses everything";
}

}  // namespace
}  // namespace kiv::test
