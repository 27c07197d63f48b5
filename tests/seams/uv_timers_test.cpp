// The keep-alives and time-outs of virtual connections, under a clock that the test moves.
#include <future>
#include <set>
#include <vector>

#include "tests/protocol/uv_ends.h"
#include "tests/seams/clock_seam.h"

namespace {

using namespace kiv::test;

const std::string kKeep = datagram(kKeepAlive), kSession(64, 's');

struct UvTimers : testing::Test {
  // Lets time pass; what was due before its end has happened then.
  void pass(std::uint32_t milliseconds) {
    std::promise<void> end;
    const std::int32_t timer = kiv_box_NewOnceTimer(
        box, milliseconds,
        [](void*, void* promise, std::int32_t, std::int32_t) {
          static_cast<std::promise<void>*>(promise)->set_value();
        },
        &end);
    clock.advance_ms(milliseconds);
    kiv_box_DeleteTimer(box, 1);  // wakes the loop
    end.get_future().wait();
    kiv_box_DeleteTimer(box, timer);
  }

  StoppedClock clock;
  Seen seen;
  const Socket far = udp_socket(), other = udp_socket();
  Server server;
  LoopingBox box;
};

struct UvClientTimers : UvTimers {
  UvClientTimers() {
    EXPECT_EQ(client.attach(box, far.local_port()), 1);
    const std::string session = far.receive_datagram(&port).substr(2);
    for (int i = 0; i < 4; ++i) far.receive_datagram();
    send(datagram(kAccept, session), "connected");
    expect_five(far, datagram(kConfirm, session));
  }
  // Sends and waits for what the client tells of it.
  void send(const std::string& bytes, const std::string& line) {
    far.send_to(port, bytes);
    EXPECT_EQ(seen.next(), line);
  }
  void stay_alive() {
    far.send_to(port, kKeep);
    send("?", "foreign ?");
  }
  std::string sent() { return far.readable_within(0) ? far.receive_datagram() : "nothing"; }

  Client client{seen};
  std::uint16_t port = 0;
};

TEST_F(UvClientTimers, KeepsAliveAndLosesAPeerThatDoesNot) {
  pass(1999);
  EXPECT_EQ(sent(), "nothing");
  pass(2);
  EXPECT_EQ(sent(), kKeep);
  client.write("x");
  pass(2000);
  EXPECT_EQ(sent(), datagram(kData, "x"));
  EXPECT_EQ(sent(), "nothing");
  stay_alive();
  pass(6000);  // the first period of 10 s is over
  EXPECT_EQ(sent(), kKeep);
  send(datagram(kData, "1"), "data 1");
  pass(10000);
  far.send_to(port, datagram(kData));
  send("?", "foreign ?");
  pass(10000);
  EXPECT_EQ(client.write("2"), 3);
  EXPECT_FALSE(seen.any());
  pass(10000);
  EXPECT_EQ(seen.next(), "lost");
  EXPECT_EQ(client.write("3"), -1);
  EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
}

// A flood delays every timer of its loop. The ticks that come in a burst afterwards are no
// silence of the peer, and keep-alives go out meanwhile.
TEST_F(UvClientTimers, AFloodEndsNoConnection) {
  stay_alive();
  std::promise<bool> kept;
  int floods = 0;
  seen.then = [&](const std::string&) {
    if (++floods == 1) {
      while (far.readable_within(0)) far.receive_datagram();
      for (int i = 0; i < 2; ++i) far.send_to(port, "?");
      clock.advance_ms(35000);
    } else if (floods == 2) {
      kept.set_value(far.readable_within(0) && far.receive_datagram() == kKeep);
    }
  };
  far.send_to(port, "?");
  EXPECT_TRUE(kept.get_future().get()) << "before any timer could fire";
  for (int i = 0; i < 3; ++i) EXPECT_EQ(seen.next(), "foreign ?");
  pass(1);
  EXPECT_EQ(client.write("x"), 3);
  EXPECT_EQ(sent(), datagram(kData, "x")) << "one keep-alive for seventeen ticks";
  pass(5000);
  EXPECT_EQ(seen.next(), "lost") << "and silence is silence again";
}

TEST_F(UvTimers, AServerCountsKeepAlivesAlone) {
  ASSERT_EQ(server.attach(box), 1);
  const auto send = [&](const Socket& from, const std::string& bytes, const std::string& line) {
    EXPECT_TRUE(from.send_to(server.port, bytes));
    EXPECT_EQ(server.seen.next(), line);
    return server.current();
  };
  const std::int32_t talker = send(other, datagram(kConnect, kSession), "connect");
  const std::int32_t living = send(far, datagram(kConnect, kSession), "connect");
  for (const Socket* each : {&far, &other}) expect_five(*each, datagram(kAccept, kSession));

  kiv_uvs_write(server, living, "x", 1);
  pass(2001);
  EXPECT_EQ(far.receive_datagram(), datagram(kData, "x"));
  EXPECT_EQ(other.receive_datagram(), kKeep);
  pass(2000);
  EXPECT_EQ(far.receive_datagram(), kKeep);

  far.send_to(server.port, kKeep);
  send(other, datagram(kData, "talk"), "data talk");
  send(far, datagram(kData, "x"), "data x");
  pass(6000);
  EXPECT_EQ(server.seen.next(), "closed") << "deliberate: data is no sign of life";
  EXPECT_EQ(server.current(), talker);
  for (const std::string& late : {kKeep, datagram(kData, "dropped")}) {
    other.send_to(server.port, late);
  }
  far.send_to(server.port, kKeep);
  send(far, datagram(kData, "x"), "data x");
  pass(10000);
  EXPECT_EQ(server.seen.next(), "closed") << "deliberate: until it is deleted";
  EXPECT_EQ(server.current(), talker);
  while (other.readable_within(0)) other.receive_datagram();
  EXPECT_EQ(kiv_uvs_DeleteClient(server, talker), 1);
  EXPECT_FALSE(other.readable_within(0)) << "lost: not told";

  far.send_to(server.port, kKeep);
  send(far, datagram(kData, "x"), "data x");
  pass(35000);
  EXPECT_FALSE(server.seen.any()) << "held-up ticks are no silence";
  pass(5000);
  EXPECT_EQ(server.seen.next(), "closed");
  EXPECT_EQ(server.current(), living);
}

// Each has an address and a port of its own: Wine tells them apart by their ports.
TEST_F(UvTimers, AServerHasTenThousandClientsAtMost) {
  ASSERT_EQ(server.attach(box), 1);
  std::set<std::int32_t> ids;
  server.seen.then = [&](const std::string&) { ids.insert(server.current()); };
  constexpr std::uint32_t kMost = 10000, kAtOnce = 100;
  for (std::uint32_t i = 0; i < kMost; i += kAtOnce) {
    std::vector<Socket> clients;
    for (std::uint32_t at = i; at < i + kAtOnce; ++at) {
      clients.push_back(udp_socket(static_cast<std::uint16_t>(10000 + at), 0x7f010000 + at));
      EXPECT_TRUE(clients.back().send_to(server.port, datagram(kConnect, kSession)));
    }
    for (const Socket& client : clients) {
      ASSERT_EQ(client.receive_datagram(), datagram(kAccept, kSession));
      ASSERT_EQ(server.seen.next(), "connect");
    }
  }
  EXPECT_EQ(ids.size(), kMost);
  other.send_to(server.port, datagram(kConnect, kSession));
  expect_five(other, datagram(kRefuse, kSession, 1));
  EXPECT_EQ(kiv_uvs_DeleteClient(server, *ids.begin()), 1);
  other.send_to(server.port, datagram(kConnect, kSession));
  expect_five(other, datagram(kAccept, kSession));
  EXPECT_EQ(server.seen.next(), "connect");
}

}  // namespace
