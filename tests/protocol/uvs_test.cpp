// The server of virtual connections; plain sockets play its clients, byte by byte.
#include <algorithm>
#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "tests/protocol/uv_ends.h"
#include "tests/support/relay.h"

namespace {

using namespace kiv::test;

const std::string kOne(64, '1'), kTwo(64, '2');
constexpr std::uint32_t kAddresses = 0x7f010000;  // 127.1.0.0

struct UvServer : testing::Test {
  UvServer() { EXPECT_EQ(server.attach(box), 1); }

  void send(const Socket& from, char type, const std::string& body = "") {
    EXPECT_TRUE(from.send_to(server.port, datagram(type, body)));
  }
  void connect(const Socket& from, const std::string& session = kOne) {
    send(from, kConnect, session);
    EXPECT_EQ(server.seen.next(), "connect");
    expect_five(from, datagram(kAccept, session));
  }

  const Socket near = udp_socket(), other = udp_socket();
  Server server;   // after them: its port is another
  LoopingBox box;  // ends first: a callback that runs finds the rest
};

TEST_F(UvServer, KnowsItsClientsByAddressPortAndSession) {
  for (int i = 0; i < 5; ++i) send(near, kConnect, kOne);
  EXPECT_EQ(server.seen.next(), "connect");
  const std::int32_t first = server.current();
  connect(other);
  EXPECT_NE(server.current(), first);
  expect_five(near, datagram(kAccept, kOne));
  send(near, kConnect, kTwo);
  expect_five(near, datagram(kRefuse, kTwo, 3));

  const Socket stranger = udp_socket();
  for (const std::string& strange :
       {datagram(kData, "x"), datagram(kKeepAlive), datagram(kClose, kOne), datagram(kAccept, kOne),
        datagram(kConnect, kOne + "x"), std::string("\x0a"), std::string()}) {
    EXPECT_TRUE(stranger.send_to(server.port, strange));
    EXPECT_EQ(server.seen.next(), "foreign " + strange);
  }
  send(near, kConfirm, "any");
  send(near, kData);  // neither has something to tell
  const std::string largest(10238, 'y');
  send(near, kData, largest);
  EXPECT_EQ(server.seen.next(), "data " + largest);
  EXPECT_EQ(server.current(), first);
  EXPECT_EQ(kiv_uvs_write(server, first, std::string(20000, 'w').data(), 20000), 10240);
  EXPECT_EQ(near.receive_datagram(), datagram(kData, std::string(10238, 'w')));
  EXPECT_EQ(kiv_uvs_write(server, 1, "x", 1) + kiv_uvs_write(server, first, "x", -1), 0);
  EXPECT_EQ(kiv_uvs_AcceptClient(server, 1, {}, {}, {}, {}) + kiv_uvs_DeleteClient(server, 1), 0);

  for (const std::string& wrong : {kTwo, kOne + "x", std::string()}) {
    send(near, kClose, wrong);
    EXPECT_EQ(server.seen.next(), "foreign " + datagram(kClose, wrong));
  }
  for (int times = 0; times < 2; ++times) {  // deliberate: until it is deleted
    send(near, kClose, kOne);
    EXPECT_EQ(server.seen.next(), "closed");
    EXPECT_EQ(server.current(), first);
  }
  send(near, kData, "dropped");
  send(near, kKeepAlive);
  send(other, kData, "served");
  EXPECT_EQ(server.seen.next(), "data served");
  EXPECT_EQ(kiv_uvs_DeleteClient(server, first), 1);
  EXPECT_EQ(kiv_uvs_DeleteClient(server, server.current()), 1);
  expect_five(other, datagram(kClose, kOne));
  EXPECT_FALSE(near.readable_within(0)) << "it closed itself";
  EXPECT_EQ(kiv_box_GetNumTimer(box), 2);
}

TEST_F(UvServer, CallbacksMayDeleteTheClientAndFreeTheServer) {
  server.seen.then = [&](const std::string& what) {
    if (what == "data ") kiv_uvs_DeleteClient(server, server.current());
    if (what == "foreign ") kiv_uvs_free(server);
  };
  connect(near);
  connect(other);
  send(near, kData, "body");
  EXPECT_EQ(server.seen.next(), "data body");
  expect_five(near, datagram(kClose, kOne));
  send(near, kData, "body");
  EXPECT_EQ(server.seen.next(), "foreign " + datagram(kData, "body"));
  EXPECT_EQ(kiv_uvs_free(server) + server.current() + server.attach(box), 0);
  EXPECT_FALSE(other.readable_within(0)) << "clients are not told";
  EXPECT_EQ(kiv_box_GetNumSock(box), 2);
  EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
}

TEST_F(UvServer, AttachesAgainAndToGivenSockets) {
  connect(near);
  // The loop on the other thread waits with the socket whose port is wanted.
  for (int i = 0; i < 300; ++i) ASSERT_EQ(server.attach(box), 1) << "on the same port";
  EXPECT_EQ(server.current(), -1);
  connect(near, kTwo);
  const Socket taken = udp_socket(0, 0);
  EXPECT_EQ(kiv_uvs_attach(box, server, taken.local_port(), {}, {}, {}, {}), 0);
  EXPECT_EQ(kivx_uvs_attach(box, server, 0, {}, {}, {}, {}), 1) << "a socket of its own";
  EXPECT_EQ(kivx_uvs_attach(box, server, taken.id(), {}, {}, {}, {}), 1);
  EXPECT_TRUE(near.send_to(taken.local_port(), datagram(kConnect, kOne)));
  expect_five(near, datagram(kAccept, kOne));
  kiv_uvs_free(server);
  EXPECT_EQ(zu_sock_is_fd_valid(taken.id(), nullptr), 1);
}

TEST(UvRelay, AConnectionLivesOnABadNetwork) {
  std::set<std::string> sent;
  for (int i = 0; i < 200; ++i) sent.insert("data " + std::to_string(i));
  for (const unsigned seed : {1U, 2U, 3U}) {
    Seen seen;
    Server server;
    LoopingBox box;
    server.seen.then = [&](const std::string& what) {
      if (what == "data ") kiv_uvs_write(server, server.current(), "echo", 4);
    };
    ASSERT_EQ(server.attach(box), 1);
    const Relay relay(server.port, seed);
    Client client(seen);
    ASSERT_EQ(client.attach(box, relay.port()), 1);
    ASSERT_EQ(seen.next() + server.seen.next(), "connectedconnect");
    for (int i = 0; i < 200; ++i) client.write(std::to_string(i));
    std::set<std::string> arrived;
    while (arrived.size() < 100) arrived.insert(server.seen.next());
    EXPECT_EQ(seen.next(), "data echo");
    kiv_uvc_close(client);
    std::string line;
    while ((line = server.seen.next()) != "closed" && line != "(nothing)") arrived.insert(line);
    EXPECT_EQ(line, "closed");
    EXPECT_TRUE(std::includes(sent.begin(), sent.end(), arrived.begin(), arrived.end()));
  }
}

constexpr std::uint32_t kClients = 200;

Socket client_socket(std::uint32_t i) {
  return udp_socket(static_cast<std::uint16_t>(10000 + i), kAddresses + i);
}

// Datagrams of all types and none, from addresses of clients and from others.
void pour_garbage(const Server& server, unsigned seed, const std::atomic<bool>& stopped) {
  std::mt19937 random(seed);
  std::vector<Socket> from;
  for (std::uint32_t i = seed; i < kClients; i += 2) {
    from.push_back(client_socket(i));
    from.push_back(udp_socket(0, kAddresses + i));
  }
  while (!stopped) {
    std::string bytes = datagram(static_cast<char>(9 + random() % 9));
    bytes.append(random() % 4 == 0 ? random() % 300 : 64, static_cast<char>('0' + random() % 4));
    from[random() % from.size()].send_to(server.port, bytes);
  }
}

TEST_F(UvServer, AFloodEndsNoOther) {
  Seen seen;
  LoopingBox beside;
  Client client(seen);
  server.seen.then = [&](const std::string& what) {
    if (what == "data ") kiv_uvs_write(server, server.current(), "echo", 4);
  };
  ASSERT_EQ(client.attach(beside, server.port), 1);
  EXPECT_EQ(seen.next(), "connected");
  EXPECT_EQ(server.seen.next(), "connect");
  for (std::uint32_t i = 0; i < kClients; ++i) connect(client_socket(i));

  std::atomic<bool> stopped{false};
  std::thread one([&] { pour_garbage(server, 0, stopped); });
  std::thread two([&] { pour_garbage(server, 1, stopped); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  stopped = true;
  one.join();
  two.join();
  const auto served = [&] { return client.write("after the flood") > 0 && seen.any(); };
  EXPECT_TRUE(eventually(served));
  EXPECT_EQ(seen.next(), "data echo");
}

}  // namespace
