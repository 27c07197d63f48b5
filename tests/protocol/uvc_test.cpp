// The client of a virtual connection; a plain socket plays the server, byte by byte.
#include <algorithm>
#include <atomic>
#include <cctype>
#include <thread>
#include <vector>

#include "tests/protocol/uv_ends.h"

namespace {

using namespace kiv::test;

struct UvClient : testing::Test {
  // Attaches, and reads what the server gets to see.
  void request(std::int32_t socket = 0) {
    ASSERT_EQ(client.attach(box, server.local_port(), socket, "localhost"), 1);
    const std::string first = server.receive_datagram(&port);
    ASSERT_EQ(first.size(), 66U);
    session = first.substr(2);
    EXPECT_TRUE(std::all_of(session.begin(), session.end(), [](unsigned char c) {
      return std::isalnum(c) && c != 'z';
    })) << session;
    EXPECT_EQ(first, datagram(kConnect, session, 2));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(server.receive_datagram(), first);
  }
  void connect(std::int32_t socket = 0) {
    request(socket);
    send(kAccept, session);
    EXPECT_EQ(seen.next(), "connected");
    expect_five(server, datagram(kConfirm, session));
  }
  void send(char type, const std::string& body = "") {
    EXPECT_TRUE(server.send_to(port, datagram(type, body)));
  }

  Seen seen;
  LoopingBox box;
  Client client{seen};
  const Socket server = udp_socket();
  std::uint16_t port = 0;
  std::string session;
};

TEST_F(UvClient, ConnectsAndCarriesDatagramsOfEverySize) {
  request();
  send(kData, "early");
  EXPECT_EQ(seen.next(), "foreign " + datagram(kData, "early"));
  std::string other = session;
  other.back() ^= 1;
  for (const std::string& body : {other, session + "x", session.substr(1), std::string()}) {
    for (const char type : {kAccept, kRefuse, kClose}) {
      send(type, body);
      EXPECT_EQ(seen.next(), "foreign " + datagram(type, body));
    }
  }
  EXPECT_EQ(client.write("1"), 3) << "even now";
  EXPECT_EQ(server.receive_datagram(), datagram(kData, "1"));
  for (const char type : {kAccept, kAccept, kRefuse, kData, kKeepAlive}) {
    send(type, type < kData ? session : "");  // only the first has something to tell
  }
  EXPECT_EQ(seen.next(), "connected");
  expect_five(server, datagram(kConfirm, session));
  for (const std::string& strange :
       {std::string(), std::string("\x0f"), datagram(kKeepAlive, "x"), datagram(kConnect, session),
        datagram(kConfirm, session), datagram(99), std::string(10240, '\xff')}) {
    EXPECT_TRUE(server.send_to(port, strange));
    EXPECT_EQ(seen.next(), "foreign " + strange);
  }
  EXPECT_TRUE(server.send_to(port, datagram(kData, std::string(10239, 'x')))) << "lost: too long";
  const std::string largest(10238, 'y');
  EXPECT_TRUE(udp_socket().send_to(port, datagram(kData, largest))) << "from anyone";
  EXPECT_EQ(seen.next(), "data " + largest);
  EXPECT_EQ(client.write(std::string(20000, 'w')), 10240);
  EXPECT_EQ(server.receive_datagram(), datagram(kData, std::string(10238, 'w')));
  EXPECT_EQ(client.write(""), 2);
  EXPECT_EQ(server.receive_datagram(), datagram(kData));
  EXPECT_EQ(kiv_uvc_write(client, nullptr, 1) + kiv_uvc_write(client, "x", -1), 0);
}

TEST_F(UvClient, EndsOnceAndMayBeAttachedAgain) {
  for (const char refusal : {kRefuse, kClose}) {
    request();
    send(refusal, session);
    EXPECT_EQ(seen.next(), "failed");
    EXPECT_EQ(client.write("x"), -1) << "the socket is gone";
  }
  connect();
  for (int i = 0; i < 5; ++i) send(kClose, session);
  EXPECT_EQ(seen.next(), "lost");
  connect();
  const std::string old = datagram(kClose, session);
  EXPECT_EQ(client.attach(box, 2), 0) << "a port that no client has";
  expect_five(server, old);
  EXPECT_EQ(client.attach(box, 9, 0, "no.such.host.invalid") + client.attach(nullptr, 9), 0);
  connect();
  EXPECT_EQ(kiv_uvc_close(client), 1);
  expect_five(server, datagram(kClose, session));
  EXPECT_EQ(kiv_uvc_close(client), 1) << "in any state, and silent";
  request();
  EXPECT_EQ(kiv_uvc_free(client), 1) << "not connected: silent";
  EXPECT_EQ(kiv_uvc_close(client) + kiv_uvc_free(client) + client.write("x"), 0);
  EXPECT_EQ(client.attach(box, 9), 0);
  EXPECT_FALSE(server.readable_within(0));
  EXPECT_EQ(kiv_box_GetNumSock(box), 2);
  EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
}

TEST_F(UvClient, HandsAGivenSocketBack) {
  const Socket own = udp_socket();
  for (int times = 0; times < 2; ++times) {
    connect(own.id());
    EXPECT_EQ(port, own.local_port());
    Client second(seen);
    EXPECT_EQ(second.attach(box, server.local_port(), own.id()), 0) << "in use";
    send(kData, "still served");
    EXPECT_EQ(seen.next(), "data still served");
    kiv_uvc_close(client);
    expect_five(server, datagram(kClose, session));
  }
  EXPECT_EQ(zu_sock_is_fd_valid(own.id(), nullptr), 1);
  EXPECT_EQ(client.attach(box, 0, own.id()), 0) << "nothing can be sent";
}

// The only time-out that a test waits for.
TEST_F(UvClient, GivesUpAfterFourSeconds) {
  const auto before = std::chrono::steady_clock::now();
  request();
  EXPECT_EQ(seen.next(), "failed");
  const auto passed = std::chrono::steady_clock::now() - before;
  EXPECT_NEAR(std::chrono::duration<double>(passed).count(), 4, 0.5);
  expect_five(server, datagram(kClose, session));
  EXPECT_FALSE(server.readable_within(0));
}

TEST_F(UvClient, CallbacksMayFreeIt) {
  for (const std::string when : {"failed", "connected", "data ", "foreign ", "lost"}) {
    Client doomed(seen);
    std::atomic<bool> freed{false};
    seen.then = [&](const std::string& what) {
      if (what == when) freed = kiv_uvc_free(doomed) == 1;
    };
    ASSERT_EQ(doomed.attach(box, server.local_port()), 1);
    session = server.receive_datagram(&port).substr(2);
    if (when == "failed") send(kRefuse, session);
    send(kAccept, session);
    for (const Type type : {kConnect, kData, kClose}) send(type, type == kClose ? session : "body");
    std::string line;
    do line = seen.next();
    while (!line.starts_with(when));
    EXPECT_TRUE(freed && (when != "data " || line == "data body"));
    while (server.readable_within(20)) server.receive_datagram();
  }
}

// Threads that do what they like to one client, under a rain of datagrams.
TEST_F(UvClient, AnyThreadMayAttachWriteCloseAndFree) {
#ifdef _WIN32
  // Wine's server ends when a thread waits for a socket that another one has closed and is about to
  // replace by a new one, half made at that moment. So nothing is attached again there.
  constexpr int rounds = 1, others = 1, calls = 1;
#else
  constexpr int rounds = 5, others = 3, calls = 30;
#endif
  for (int round = 0; round < rounds; ++round) {
    Client shared(seen);
    std::vector<std::thread> threads;
    for (int i = 0; i < others; ++i) {
      threads.emplace_back([&, i] {
        for (int times = 0; times < calls; ++times) {
          shared.attach(box, server.local_port());
          std::uint16_t to = 0;
          const std::string request = server.receive_datagram(&to);
          for (const char type : {kAccept, kData, kKeepAlive, kClose}) {
            server.send_to(to, datagram(type, type == kKeepAlive ? "" : request.substr(2)));
          }
          shared.write("x");
          if (times % 3 == i) kiv_uvc_close(shared);
        }
        kiv_uvc_free(shared);
      });
    }
    for (std::thread& thread : threads) thread.join();
    while (server.readable_within(0)) server.receive_datagram();
  }
  EXPECT_EQ(kiv_box_GetNumSock(box), 2);
  EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
}

}  // namespace
