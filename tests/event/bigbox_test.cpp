// Thread boxes and big boxes: who serves whom, what is let go, and life and death under load.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "kiv_base/system.h"
#include "tests/event/box_events.h"
#include "tests/support/eventually.h"

namespace kiv::test {
namespace {

bool is_dead(kiv_box* box) {
  return kivx_box_IsValid(box) == 0;
}

// Of this process; 0 where the system does not show them.
auto threads() {
  // The first one may bring a helper of the thread checks along.
  [[maybe_unused]] static const bool had_one = (std::thread([] {}).join(), true);
  std::error_code none;
  return std::distance(std::filesystem::directory_iterator("/proc/self/task", none), {});
}

TEST(ThreadBox, AThousandRoundsLeakNothing) {
  const auto threads_before = threads();
  const int sockets_before = open_sockets();
  std::vector<kiv_box*> boxes;
  for (int round = 0; round < 1000; ++round) {
    kiv_box* box = boxes.emplace_back(kivx_ThreadBox_create());
    ASSERT_TRUE(!is_dead(box) && kivx_box_GetThreadId(box) != zu_GetPid());
    kivx_ThreadBox_destroy(box);
  }
  EXPECT_TRUE(eventually([&] { return std::all_of(boxes.begin(), boxes.end(), is_dead); }));
  EXPECT_TRUE(eventually([&] { return threads() <= threads_before; }));
  EXPECT_TRUE(eventually([&] { return open_sockets() <= sockets_before; }))
      << "and ports with them";
}

// A big box, the boxes of its slaves in their order and its master. Ends with all their loops.
struct BigBox {
  explicit BigBox(int slaves, int clients = 100) : big(kiv_bigbox_make(slaves, clients)) {
    std::vector<Socket> sockets(std::size_t(std::max(slaves, 1)));
    for (Socket& socket : sockets) {
      socket = udp_socket();
      EXPECT_EQ(kiv_bigbox_accept(big, socket.id(), "", 0, {}, {}, {}, {}), 1);
      boxes.push_back(kiv_bigbox_GetSlaveBox(big, socket.id()));
    }
    for (const Socket& socket : sockets) kiv_bigbox_DeleteSock(big, socket.id());
    boxes.push_back(kiv_bigbox_GetMasterBox(big));
  }
  ~BigBox() { end(); }
  void end() {
    kiv_bigbox_free(big);
    EXPECT_TRUE(eventually([&] { return std::all_of(boxes.begin(), boxes.end(), is_dead); }));
    EXPECT_TRUE(eventually([this] { return threads() <= threads_before; }));
  }
  operator kiv_bigbox*() const { return big; }

  const decltype(threads()) threads_before = threads();
  kiv_bigbox* big;
  std::vector<kiv_box*> boxes;
};

// On the thread of the client's slave, in order, with the big box as the handle.
TEST(BigBox, PostsRunOnTheThreadThatServesTheClient) {
  struct Seen {
    std::atomic<int> count = 0;
    kiv_bigbox* big;
    kiv_box* slave;
  };
  BigBox big(2);
  const Socket socket = udp_socket();
  ASSERT_EQ(kiv_bigbox_accept(big, socket.id(), "", 0, {}, {}, {}, {}), 1);
  Seen seen{0, big, kiv_bigbox_GetSlaveBox(big, socket.id())};
  const auto run = [](void* handle, void* argument) {
    auto& expected = *static_cast<Seen*>(argument);
    EXPECT_EQ(handle, expected.big);
    EXPECT_EQ(kiv_bigbox_InvokeSlaveBox(expected.big), expected.slave);
    ++expected.count;
  };
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(kivx_bigbox_Post(big, socket.id(), run, &seen, nullptr), 1);
  }
  EXPECT_TRUE(eventually([&] { return seen.count == 100; }));
  EXPECT_EQ(kivx_bigbox_SetFairRounds(big, 1), 1);
  kiv_bigbox_DeleteSock(big, socket.id());
  EXPECT_EQ(kivx_bigbox_Post(big, socket.id(), run, &seen, nullptr), 0) << "no client any more";
}

TEST(BigBox, NewClientsGoToTheFirstSlaveWithTheFewest) {
  std::vector<Socket> sockets(20);
  BigBox big(3);
  EXPECT_LT(kivx_box_GetThreadId(big.boxes[0]), kivx_box_GetThreadId(big.boxes[1]));
  EXPECT_LT(kivx_box_GetThreadId(big.boxes[1]), kivx_box_GetThreadId(big.boxes[2]));
  int slave_of[20], load[3] = {};
  std::fill_n(slave_of, 20, -1);
  std::minstd_rand random(7);
  for (int step = 0; step < 400; ++step) {
    const auto i = random() % 20;
    if (sockets[i].id() < 0) sockets[i] = udp_socket();
    const std::int32_t id = sockets[i].id();
    if (slave_of[i] >= 0) {
      kiv_bigbox_DeleteSock(big, id);
      --load[std::exchange(slave_of[i], -1)];
    } else {
      slave_of[i] = int(std::min_element(load, load + 3) - load);
      ++load[slave_of[i]];
      EXPECT_EQ(kiv_bigbox_accept(big, id, "1.2.3.4", 5, {}, {}, {}, {}), 1);
      EXPECT_EQ(kiv_bigbox_accept(big, id, "1.2.3.4", 5, {}, {}, {}, {}), 0) << "twice";
      EXPECT_EQ(kiv_bigbox_GetSlaveBox(big, id), big.boxes[std::size_t(slave_of[i])]);
    }
    EXPECT_EQ(kiv_bigbox_nnodes(big), load[0] + load[1] + load[2]);
  }
}

TEST(BigBox, ServesItsClientsAndClosesThoseAboveTheLimit) {
  Recorder master, slave;
  BigBox big(0, 0);  // one slave, one client
  master.then = [&](const Event& event) {
    EXPECT_EQ(kiv_bigbox_accept(big, event.accepted, nullptr, 0, on_read, &slave, on_close, &slave),
              1);
  };
  Socket left_open;
  slave.then = [&](const Event& event) {
    EXPECT_EQ(event.handle, big.big);
    EXPECT_EQ(kiv_bigbox_InvokeClientID(big), event.id);
    EXPECT_EQ(kiv_bigbox_InvokeSlaveBox(big), big.boxes[0]);
    if (event.text == "read ping") kiv_bigbox_write(big, event.id, "pong", 4);
    if (slave.lines.size() < 4) return;
    kiv_bigbox_DeleteSock(big, event.id);
    left_open = Socket(event.id);
  };
  const std::int32_t listener = kiv_bigbox_attach(big, "127.0.0.1", 0, on_accept, &master);
  const std::uint16_t port = port_of(listener);
  Socket served = tcp_connect(port);
  EXPECT_TRUE(served.send("ping"));
  EXPECT_EQ(served.receive(4), "pong");
  EXPECT_EQ(tcp_connect(port).receive_to_end(), "") << "one too many";
  EXPECT_EQ(kiv_bigbox_InvokeSlaveBox(big), nullptr);
  EXPECT_EQ(kiv_bigbox_InvokeClientID(big), 0);
  served.close();
  slave.await(4);
  const std::int32_t id = left_open.id();
  char ip[16];
  std::uint16_t peer_port = 0;
  EXPECT_EQ(kiv_bigbox_GetSockIP(big, id, ip, 16, &peer_port), 0) << "no client any more";
  EXPECT_EQ(kiv_bigbox_accept(big, id, "123.123.123.123:45678", 9, {}, {}, {}, {}), 1);
  EXPECT_EQ(kiv_bigbox_GetSockIP(big, id, ip, 6, &peer_port), 1);
  EXPECT_EQ(std::string(ip), "123.1");
  EXPECT_EQ(peer_port, 9);
  EXPECT_EQ(kiv_bigbox_write(big, id, "x", 0) + kiv_bigbox_write(big, listener, "x", 1), 0);
  kiv_bigbox_DeleteSock(big, listener);
  EXPECT_EQ(zu_sock_is_fd_valid(listener, nullptr), 0);
  big.end();
  EXPECT_EQ(slave.lines, (Lines{"read ping", "close", "close", "close"})) << "until it is deleted";
  EXPECT_EQ(master.lines, Lines{"accept 127.0.0.1"});
}

TEST(BigBox, ImportsAndExportsSockets) {
  Recorder old, seen, ignored;
  BigBox big(2);
  seen.then = [&](const Event& event) {
    if (event.text == "writable") kivx_bigbox_export_ForWrite(big, event.id);
    if (event.accepted > 0) Socket(event.accepted).send("hello");
  };
  const auto [near, far] = tcp_pair();
  const std::int32_t id = near.id();
  const auto read_by = [&](Recorder& who) {
    return kivx_bigbox_import_ForRead(big, id, on_read, &who, on_close, &who);
  };
  const auto write_by = [&](Recorder& who) {
    return kivx_bigbox_import_ForWrite(big, id, on_writable, &who);
  };
  EXPECT_EQ(kivx_bigbox_import_ForWrite(big, id, nullptr, &seen), 0);
  EXPECT_EQ(read_by(old), 1);
  kiv_box* const slave = kiv_bigbox_GetSlaveBox(big, id);
  EXPECT_EQ(write_by(seen), 1);
  seen.await(1);
  EXPECT_EQ(kiv_bigbox_nnodes(big), 1) << "it still waits to read";
  EXPECT_EQ(read_by(seen), 1);
  EXPECT_EQ(kiv_bigbox_GetSlaveBox(big, id), slave);
  EXPECT_TRUE(far.send("x"));
  seen.await(2);
  EXPECT_EQ(write_by(ignored), 1);
  EXPECT_EQ(kivx_bigbox_export_ForRead(big, id) + kiv_bigbox_nnodes(big), 2) << "either keeps it";
  EXPECT_EQ(kivx_bigbox_export_ForWrite(big, id) + kiv_bigbox_nnodes(big), 1);

  // A timer of the slave knows its box; a socket of the slave's own outlives its time as a client.
  Recorder own;
  own.then = [&](const Event& event) {
    if (event.text != "timer 1") return;
    EXPECT_EQ(kiv_bigbox_InvokeClientID(big), 0);
    EXPECT_EQ(kiv_bigbox_InvokeSlaveBox(big), slave);
  };
  kiv_box_NewOnceTimer(slave, 1, on_timer, &own);
  own.await(1);
  EXPECT_GT(kiv_box_AcceptTcpClient(slave, id, on_read, &own, nullptr, nullptr), 0);
  EXPECT_EQ(write_by(ignored), 1);
  EXPECT_EQ(kiv_bigbox_GetSlaveBox(big, id), slave);
  kiv_bigbox_DeleteSock(big, id);
  EXPECT_TRUE(far.send("x"));
  own.await(2);
  kivx_box_ExportSockId(slave, id);

  const Socket listener = tcp_listener();
  const auto listen = [&](zu_box_accept_fn callback, Recorder& who) {
    return kivx_bigbox_import_ForListen(big, listener.id(), callback, &who);
  };
  EXPECT_EQ(listen(nullptr, old) + kivx_bigbox_import_ForListen(big, 0, on_accept, &old), 0);
  EXPECT_EQ(listen(on_accept, old) + listen(on_accept, seen), 2) << "the second replaces the first";
  EXPECT_EQ(tcp_connect(listener.local_port()).receive_to_end(), "hello");
  const Socket opened(kiv_bigbox_attach(big, nullptr, 0, on_accept, &seen));
  for (const Socket* given_back : {&listener, &opened}) {
    EXPECT_EQ(kivx_bigbox_export_ForListen(big, given_back->id()), 1);
    EXPECT_EQ(kivx_bigbox_export_ForListen(big, given_back->id()), 0);
    const Socket caller = tcp_connect(given_back->local_port());
    EXPECT_TRUE(tcp_accept(*given_back).send("y"));
    EXPECT_EQ(caller.receive(1), "y");
  }
  big.end();
  EXPECT_TRUE(far.send("z"));
  EXPECT_EQ(near.receive(1), "z") << "a client's socket stays open";
  EXPECT_EQ(old.lines, Lines());
  EXPECT_EQ(seen.lines, (Lines{"writable", "read x", "accept 127.0.0.1"}));
}

TEST(BigBox, ASlaveWhoseLoopHasEndedReceivesNoClients) {
  BigBox big(2);
  kiv_box_BreakLoop(big.boxes[0]);
  ASSERT_TRUE(eventually([&] { return is_dead(big.boxes[0]); }));
  for (int i = 0; i < 3; ++i) {
    const Socket socket = udp_socket();
    EXPECT_EQ(kiv_bigbox_accept(big, socket.id(), "", 0, {}, {}, {}, {}), 1);
    EXPECT_EQ(kiv_bigbox_GetSlaveBox(big, socket.id()), big.boxes[1]);
    kiv_bigbox_DeleteSock(big, socket.id());
  }
}

// Clients send, two threads drive every operation, and one kind of event frees it all: (a)ccept,
// (r)ead, (c)lose, (w)ritable, or none.
void free_in_a_storm(char freeing) {
  std::vector<Socket> accepted, senders;
  std::atomic<int> reads{0};
  std::atomic<bool> armed{false};
  Recorder seen;
  BigBox big(3);
  // In strict order the wakes of the two threads may starve a socket with a lower number.
  EXPECT_EQ(kivx_bigbox_SetFairRounds(big, 1), 1);
  seen.then = [&](const Event& event) {
    const char kind = event.text[0];
    if (kind == 'a') {
      accepted.emplace_back(event.accepted);  // by the master alone
      kiv_bigbox_accept(big, event.accepted, "1", 1, on_read, &seen, on_close, &seen);
    }
    if (kind == 'r') reads += kiv_bigbox_write(big, event.id, "pong", 4) == 4;
    if (kind == freeing && armed) kiv_bigbox_free(big);
    if (kind == 'c') kiv_bigbox_DeleteSock(big, event.id);
    if (kind == 'w') kivx_bigbox_export_ForWrite(big, event.id);
  };
  const auto alive = [&] { return kiv_bigbox_GetMasterBox(big) != nullptr; };
  const auto come_and_go = [&] {
    while (alive()) {
      const auto [near, far] = tcp_pair();
      kivx_bigbox_import_ForRead(big, near.id(), on_read, &seen, on_close, &seen);
      far.send("ping");
      kivx_bigbox_import_ForWrite(big, near.id(), on_writable, &seen);
      kiv_bigbox_write(big, near.id(), "ping", 4);
      kivx_bigbox_export_ForRead(big, near.id());
      kiv_bigbox_accept(big, near.id(), nullptr, 0, on_read, &seen, on_close, &seen);
      kiv_bigbox_DeleteSock(big, near.id());
    }
  };
  const Socket listener = tcp_listener();
  kivx_bigbox_import_ForListen(big, listener.id(), on_accept, &seen);
  for (int i = 0; i < 4; ++i) senders.push_back(tcp_connect(listener.local_port()));
  std::thread first(come_and_go), second(come_and_go);
  // In all no more than the system holds for a socket that nobody reads.
  for (int round = 0; round < 3000 && reads < 1000 && alive(); ++round) {
    for (const Socket& sender : senders) sender.send("x");
    armed = reads > 100;
  }
  EXPECT_TRUE(eventually([&] { return reads > 100; }));
  armed = true;
  if (freeing == ' ') kiv_bigbox_free(big);
  // One more event of each kind that nobody takes back before it is seen.
  senders.front().send("x");
  kivx_bigbox_import_ForWrite(big, senders.front().id(), on_writable, &seen);
  senders.back() = tcp_connect(listener.local_port());
  first.join();
  second.join();
  big.end();
}

TEST(BigBox, FreedFromAnywhereWhileClientsSend) {
  const int sockets_before = open_sockets();
  for (const char freeing : {'a', 'r', 'c', 'w', ' '}) free_in_a_storm(freeing);
  EXPECT_TRUE(eventually([&] { return open_sockets() <= sockets_before; }));
}

}  // namespace
}  // namespace kiv::test
