#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "kiv_base/event.h"
#include "tests/support/sockets.h"

namespace {

using kiv::test::Socket;

TEST(Sock, StartsAgainAfterCleanup) {
  EXPECT_EQ(zu_sock_startup(), 1);
  zu_sock_cleanup();
  zu_sock_cleanup();
  EXPECT_EQ(zu_sock_startup(), 1);
}

TEST(Sock, NumericHostsAreTakenInEveryForm) {
  const struct {
    const char* text;
    std::uint32_t address;  // 0: not numeric
    const char* first_ip;   // cut to 15 characters, as given
  } cases[] = {
      {"1.2.3.4", 0x01020304, "1.2.3.4"},
      {"127.1", 0x7f000001, "127.1"},
      {"0x00000000007f000001", 0x7f000001, "0x00000000007f0"},
      {"254.255.255.255", 0xfeffffff, "254.255.255.255"},
      {"255.255.255.255", 0, nullptr},
      {"256.0.0.1", 0, nullptr},
      {"1.2.3.4.5", 0, nullptr},
      {"localhost", 0, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ASSERT_EQ(zu_sock_IsRealIp(c.text), c.address != 0 ? 1 : 0);
    if (c.address == 0) continue;
    std::uint32_t address = 0;
    EXPECT_EQ(zu_sock_HostnameTo32bits(&address, c.text), 1);
    EXPECT_EQ(address, c.address);
    char text[16];
    EXPECT_EQ(zu_sock_GetHostFirstIP(c.text, text), 1);
    EXPECT_STREQ(text, c.first_ip);
    std::int32_t count = 0;
    EXPECT_EQ(zu_sock_GetHostIP(c.text, nullptr, 0, &count), 1);
    EXPECT_EQ(count, 1);
  }
}

TEST(Sock, NamesResolveToAtMostAsManyAddressesAsAsked) {
  zu_sock_ip_slot slots[8];
  std::int32_t count = -1;
  ASSERT_EQ(zu_sock_GetHostIP("localhost", slots, 8, &count), 1);
  ASSERT_GE(count, 1);
  EXPECT_STREQ(slots[0], "127.0.0.1");
  EXPECT_EQ(zu_sock_GetHostIP("localhost", nullptr, -1, &count), 1);
  EXPECT_EQ(count, 0);
  std::uint32_t address = 0;
  EXPECT_EQ(zu_sock_HostnameTo32bits(&address, "localhost"), 1);
  EXPECT_EQ(address, 0x7f000001U);

  EXPECT_EQ(zu_sock_GetHostIP("no such host", slots, 8, &count), 0);
  EXPECT_EQ(zu_sock_HostnameTo32bits(&address, "no such host"), 0);
  char name[256];
  ASSERT_EQ(zu_sock_GetLocalHostname(name, sizeof name), 0);
  EXPECT_EQ(zu_sock_GetLocalHostname(name, 1), -1);
  if (zu_sock_GetLocalHostIP(slots, 8, &count) == 1) {
    for (int i = 0; i < count; ++i) EXPECT_EQ(zu_sock_IsRealIp(slots[i]), 1) << slots[i];
  }
}

TEST(Sock, OptionsAreRefusedOnlyByWhatIsNoSocket) {
  const auto connection = kiv::test::tcp_pair();
  const std::int32_t closed = kiv::test::udp_socket().id();
  for (const auto set : {zu_sock_set_recv_buff, zu_sock_set_send_buff}) {
    EXPECT_EQ(set(connection.first.id(), 32768), 1);
    EXPECT_EQ(set(closed, 32768), 0);
  }
  for (const auto set :
       {zu_sock_keep_alive, zu_sock_keep_nonalive, zu_sock_set_delay, zu_sock_set_nondelay,
        zu_sock_set_nonlinger, zu_sock_set_reuse, zu_sock_set_nonreuse}) {
    EXPECT_EQ(set(connection.first.id()), 1);
    EXPECT_EQ(set(closed), 0);
  }
  EXPECT_EQ(zu_sock_set_linger(connection.first.id(), 65535), 1);
  EXPECT_EQ(zu_sock_set_linger(closed, 65535), 0);
  EXPECT_EQ(zu_sock_set_nonblock(closed), -1);
}

TEST(Sock, AStateIsToldInWinsockNumbers) {
  Socket udp = kiv::test::udp_socket();
  std::int32_t status = -1;
  zu_sock_fd_status(udp.id(), &status);
  EXPECT_EQ(status, 0);
  std::int32_t error = 7;
  EXPECT_EQ(zu_sock_is_fd_valid(udp.id(), &error), 1);
  EXPECT_EQ(error, 7);

  const std::int32_t closed = udp.id();
  udp.close();
  for (const std::int32_t id : {closed, -1}) {
    EXPECT_EQ(zu_sock_is_fd_valid(id, &error), 0);
    EXPECT_EQ(error, 10038);
    EXPECT_EQ(zu_sock_is_fd_valid(id, nullptr), 0);
    zu_sock_fd_status(id, &status);
    EXPECT_EQ(status, 10038);
    EXPECT_EQ(zu_sock_is_fd_writable(id), 0);
  }
}

TEST(Sock, WritableUntilTheOtherEndStopsReading) {
  auto [writer, reader] = kiv::test::tcp_pair();
  EXPECT_EQ(zu_sock_set_nonblock(writer.id()), 0);
  EXPECT_EQ(zu_sock_is_fd_writable(writer.id()), 1);
  const std::string piece(1 << 16, 'x');
  // A full buffer refuses the rest of a piece; what the peer's system took may still make room.
  for (int i = 0; i < 10000 && zu_sock_is_fd_writable(writer.id()) == 1; ++i) writer.send(piece);
  EXPECT_EQ(zu_sock_is_fd_writable(writer.id()), 0);
  writer.close();
  EXPECT_FALSE(reader.receive_to_end().empty());
}

TEST(Sock, PeerTextIsCutToItsBuffer) {
  const auto [near_end, far_end] = kiv::test::tcp_pair();
  for (const auto& [size, cut] :
       {std::pair{10, "127.0.0.1"}, {5, "127."}, {1, ""}, {0, "#"}, {-1, "#"}}) {
    char text[32] = "#";
    EXPECT_EQ(zu_sock_GetPeer(near_end.id(), text, size, nullptr), 1);
    EXPECT_STREQ(text, cut);
  }
  std::uint16_t port = 0;
  EXPECT_EQ(zu_sock_GetPeer(near_end.id(), nullptr, 0, &port), 1);
  EXPECT_EQ(port, far_end.local_port());
  EXPECT_EQ(zu_sock_GetPeer(kiv::test::tcp_listener().id(), nullptr, 0, &port), 0);
}

TEST(Sock, DatagramsFindTheirWayBack) {
  const Socket a = kiv::test::udp_socket();
  const Socket b = kiv::test::udp_socket();
  char buffer[16] = "";
  zu_sock_peer peer;
  EXPECT_EQ(zu_sock_write_ByPeerIp(a.id(), "ping", 4, "127.0.0.1", b.local_port()), 4);
  ASSERT_EQ(zu_sock_read_ByAddr(b.id(), buffer, sizeof buffer, &peer), 4);
  EXPECT_STREQ(peer.ip, "127.0.0.1");
  EXPECT_EQ(peer.address, 0x7f000001U);
  EXPECT_EQ(peer.port, a.local_port());
  EXPECT_EQ(peer.addr_len, 16);

  EXPECT_EQ(zu_sock_write_ByAddr(b.id(), "pong!", 5, &peer), 5);
  char ip[16] = "";
  std::uint16_t port = 0;
  ASSERT_EQ(zu_sock_read_ByPeerIp(a.id(), buffer, sizeof buffer, ip, &port), 5);
  EXPECT_EQ(std::string(buffer, 5) + " " + ip, "pong! 127.0.0.1");
  EXPECT_EQ(port, b.local_port());

  EXPECT_TRUE(b.send_to(a.local_port(), "1") && b.send_to(a.local_port(), "2"));
  EXPECT_EQ(zu_sock_read_ByPeerIp(a.id(), buffer, sizeof buffer, nullptr, nullptr), 1);
  EXPECT_EQ(zu_sock_read_ByAddr(a.id(), buffer, sizeof buffer, nullptr), 1);
}

TEST(Sock, AFailedReadTouchesTheRawAddressOnly) {
  const Socket a = kiv::test::udp_socket();
  EXPECT_EQ(zu_sock_set_nonblock(a.id()), 0);
  for (const char* sent : {"", "longer than the buffer", "none"}) {
    SCOPED_TRACE(sent);
    const bool any = std::string(sent) != "none";
    EXPECT_TRUE(!any || (a.send_to(a.local_port(), sent) && a.readable_within(20000)));
    char buffer[4];
    zu_sock_peer peer;
    std::memset(&peer, 'x', sizeof peer);
    EXPECT_EQ(zu_sock_read_ByAddr(a.id(), buffer, sizeof buffer, &peer), *sent == '\0' ? 0 : -1);
    EXPECT_EQ(peer.addr_len, 16);
    EXPECT_TRUE(any || peer.addr.port == 0);
    EXPECT_TRUE(peer.ip[0] == 'x' && peer.address == 0x78787878 && peer.port == 0x7878);
  }
}

TEST(Sock, BadArgumentsSendAndFindNothing) {
  const Socket a = kiv::test::udp_socket();
  const std::uint16_t port = a.local_port();
  EXPECT_EQ(zu_sock_write_ByPeerIp(a.id(), "x", 1, nullptr, port), 0);
  EXPECT_EQ(zu_sock_write_ByPeerIp(a.id(), "x", -1, "127.0.0.1", port), 0);
  EXPECT_EQ(zu_sock_write_ByPeerIp(a.id(), "x", 1, "127.0.0.1", 0), 0);
  EXPECT_EQ(zu_sock_write_ByPeerIp(a.id(), nullptr, 1, "127.0.0.1", port), 0);
  EXPECT_EQ(zu_sock_write_ByPeerIp(-1, "x", 1, "127.0.0.1", port), -1);
  zu_sock_peer peer{};
  peer.addr_len = 15;
  EXPECT_EQ(zu_sock_write_ByAddr(a.id(), "x", 1, nullptr), 0);
  EXPECT_EQ(zu_sock_write_ByAddr(a.id(), "x", 0, &peer), 0);
  EXPECT_EQ(zu_sock_write_ByAddr(0, "x", 1, &peer), 0);
  EXPECT_EQ(zu_sock_write_ByAddr(a.id(), "x", 1, &peer), -1) << "address cut short";
  EXPECT_FALSE(a.readable_within(0));
  EXPECT_EQ(zu_sock_read_ByAddr(a.id(), nullptr, 1, &peer), -1);
  EXPECT_EQ(zu_sock_read_ByPeerIp(a.id(), &peer, -1, nullptr, nullptr), -1);
  EXPECT_EQ(zu_sock_IsRealIp(nullptr), 0);
  EXPECT_EQ(zu_sock_GetLocalHostname(nullptr, 256), -1);
  EXPECT_EQ(zu_sock_GetHostIP("127.0.0.1", nullptr, 1, nullptr), 0);
  EXPECT_EQ(zu_sock_GetHostFirstIP(nullptr, peer.ip), 0);
  EXPECT_EQ(zu_sock_HostnameTo32bits(nullptr, "127.0.0.1"), 0);
}

}  // namespace
