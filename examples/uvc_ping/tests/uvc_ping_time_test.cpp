// Who stays connected and who is let go, under a clock that the test moves.
#include <atomic>
#include <future>

#include "examples/uvc_ping/echo_server.h"
#include "examples/uvc_ping/message.h"
#include "examples/uvc_ping/pulse.h"
#include "tests/protocol/uv_ends.h"
#include "tests/seams/clock_seam.h"

namespace {

using namespace kiv::test;
using namespace uvc_ping;

struct UvcPingTime : testing::Test {
  // What was due before the end of each step has happened then.
  void pass(int milliseconds) {
    constexpr int step = 250;
    for (int i = 0; i < milliseconds; i += step) {
      std::promise<void> end;
      kiv_box_NewOnceTimer(
          box, static_cast<std::uint32_t>(step),
          [](void*, void* promise, std::int32_t, std::int32_t) {
            static_cast<std::promise<void>*>(promise)->set_value();
          },
          &end);
      clock.advance_ms(step);
      kiv_box_DeleteTimer(box, 1);  // wakes the loop
      end.get_future().wait();
    }
  }

  StoppedClock clock;
  LoopingBox box;
};

struct Connection {
  explicit Connection(kiv_box* box) {
    EXPECT_EQ(server.attach(box), 1);
    EXPECT_EQ(client.attach(box, server.port), 1);
    EXPECT_EQ(seen.next(), "connected");
    EXPECT_EQ(server.seen.next(), "connect");
  }
  // Has the server lost its client by now?
  bool is_lost() {
    bool lost = false;
    while (server.seen.any()) lost |= server.seen.next() == "closed";
    return lost;
  }
  void write() {
    EXPECT_EQ(client.write("x"), 3);
    ++written;
  }

  Server server;
  Seen seen;
  Client client{seen};
  std::atomic<int> written = 0;
};

TEST_F(UvcPingTime, AClientThatWritesInEveryTickIsLost) {
  Connection connection(box);
  const std::int32_t timer = kiv_box_NewLoopTimer(
      box, 1000,
      [](void*, void* c, std::int32_t, std::int32_t) { static_cast<Connection*>(c)->write(); },
      &connection);
  pass(9750);
  EXPECT_FALSE(connection.is_lost());
  pass(1000);
  EXPECT_TRUE(connection.is_lost());
  kiv_box_DeleteTimer(box, timer);
  pass(250);  // the last write is over
}

TEST_F(UvcPingTime, ThePulseLeavesATickFree) {
  struct {
    std::uint32_t interval;
    int least;  // writes in 48 s, pauses taken off
  } const cases[] = {{10, 3100}, {500, 60}, {1000, 30}, {1999, 17},
                     {2000, 17}, {7000, 6}, {8000, 6}};
  for (const auto& [interval, least] : cases) {
    Connection connection(box);
    Pulse pulse(interval, [&] { connection.write(); });
    std::promise<bool> started;
    auto start = [&] { started.set_value(pulse.start(box)); };
    kiv_box_NewOnceTimer(
        box, 1,
        [](void*, void* f, std::int32_t, std::int32_t) { (*static_cast<decltype(start)*>(f))(); },
        &start);
    pass(48250);
    EXPECT_TRUE(started.get_future().get());
    EXPECT_FALSE(connection.is_lost()) << interval;
    EXPECT_GE(connection.written, least) << interval;
    pulse.stop();
    pass(250);
  }
}

TEST_F(UvcPingTime, StrangersHarmNoServer) {
  Cipher cipher("a key"), other("another");
  EchoServer server(cipher);
  const std::uint16_t port = free_udp_port();
  ASSERT_TRUE(server.listen(box, port));
  const std::string session(64, 's');
  const auto connect = [&](const Socket& from, char answer, char code = 0) {
    from.send_to(port, datagram(kConnect, session));
    expect_five(from, datagram(answer, session, code));
  };
  const auto send = [&](const Socket& from, Cipher& with, std::uint32_t number) {
    from.send_to(port,
                 datagram(kData, with.encipher(to_text({Message::Kind::ping, number, 9, 50}))));
  };
  const auto expect_pong = [&](const Socket& at, std::uint32_t number) {
    const std::string pong = to_text({Message::Kind::pong, number, 9, 50});
    EXPECT_EQ(at.receive_datagram(), datagram(kData, cipher.encipher(pong)));
  };

  const Socket true_one = udp_socket(), wrong_one = udp_socket();
  connect(true_one, kAccept);
  send(true_one, cipher, 1);
  expect_pong(true_one, 1);
  send(true_one, other, 2);  // forged by somebody
  true_one.send_to(port, "?");
  connect(wrong_one, kAccept);
  send(wrong_one, other, 1);
  expect_five(wrong_one, datagram(kClose, session));
  for (std::uint16_t i = 1; i < 10000; ++i) {
    // Wine sends from 127.0.0.1, whatever the address, so that the ports differ as well.
    connect(udp_socket(static_cast<std::uint16_t>(10000 + i), kLoopback + i), kAccept);
  }
  connect(udp_socket(), kRefuse, 1);
  send(true_one, cipher, 3);
  expect_pong(true_one, 3);

  pass(10250);
  connect(wrong_one, kAccept);
  send(wrong_one, cipher, 4);
  expect_pong(wrong_one, 4);
  server.stop();
  expect_five(wrong_one, datagram(kClose, session));
  EXPECT_EQ(server.summary(),
            "pings answered: 3, clients: 2, refused: 1, never pinged: 9999, strange datagrams: 2");
}

}  // namespace
