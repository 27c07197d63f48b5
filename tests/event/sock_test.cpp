#include <gtest/gtest.h>

#include <string>

#include "kiv_base/datagrams.h"
#include "tests/support/sockets.h"

namespace kiv::test {
namespace {

TEST(Sock, NumericHostsAreTakenInEveryForm) {
  const struct {
    const char* text;
    std::uint32_t address;
    const char* first_ip;  // cut to 15 characters, as given
  } cases[] = {{"1.2.3.4", 0x01020304, "1.2.3.4"},
               {"127.1", 0x7f000001, "127.1"},
               {"0x00000000007f000001", 0x7f000001, "0x00000000007f0"},
               {"254.255.255.255", 0xfeffffff, "254.255.255.255"}};
  for (const auto& c : cases) {
    std::uint32_t address = 0;
    std::int32_t count = 0;
    char text[16];
    EXPECT_EQ(zu_sock_IsRealIp(c.text) & zu_sock_HostnameTo32bits(&address, c.text), 1);
    EXPECT_EQ(address, c.address) << c.text;
    EXPECT_EQ(zu_sock_GetHostFirstIP(c.text, text), 1);
    EXPECT_STREQ(text, c.first_ip);
    EXPECT_EQ(zu_sock_GetHostIP(c.text, nullptr, 0, &count), 1);
    EXPECT_EQ(count, 1) << "deliberate: even with no room for it";
  }
  for (const char* name : {"255.255.255.255", "256.0.0.1", "1.2.3.4.5", "localhost"}) {
    EXPECT_EQ(zu_sock_IsRealIp(name), 0) << name;
  }
}

TEST(Sock, NamesResolveToAtMostAsManyAddressesAsAsked) {
  zu_sock_ip_slot slots[8];
  std::int32_t count = -1;
  ASSERT_EQ(zu_sock_GetHostIP("localhost", slots, 8, &count), 1);
  EXPECT_STREQ(slots[0], "127.0.0.1");
  EXPECT_EQ(zu_sock_GetHostIP("localhost", nullptr, -1, &count), 1);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(zu_sock_GetHostIP("no such host", slots, 8, &count), 0);
}

TEST(Sock, InvalidSocketsHaveAWinsockState) {
  const Socket open = udp_socket();
  std::int32_t status = -1, error = 7;
  zu_sock_fd_status(open.id(), &status);
  EXPECT_EQ(zu_sock_is_fd_valid(open.id(), &error), 1);
  EXPECT_TRUE(status == 0 && error == 7);
  for (const std::int32_t id : {udp_socket().id(), -1}) {
    zu_sock_fd_status(id, &status);
    EXPECT_FALSE(zu_sock_is_fd_valid(id, &error) || zu_sock_is_fd_writable(id));
    EXPECT_TRUE(status == 10038 && error == 10038);
  }
}

TEST(Sock, DatagramsFindTheirWayBack) {
  const Socket a = udp_socket(), b = udp_socket();
  char buffer[16] = "", ip[16] = "";
  zu_sock_peer peer;
  EXPECT_EQ(zu_sock_write_ByPeerIp(a.id(), "ping", 4, "127.0.0.1", b.local_port()), 4);
  ASSERT_EQ(zu_sock_read_ByAddr(b.id(), buffer, sizeof buffer, &peer), 4);
  EXPECT_STREQ(peer.ip, "127.0.0.1");
  EXPECT_TRUE(peer.address == kLoopback && peer.port == a.local_port() && peer.addr_len == 16);

  EXPECT_EQ(zu_sock_write_ByAddr(b.id(), "pong!", 5, &peer), 5);
  std::uint16_t port = 0;
  ASSERT_EQ(zu_sock_read_ByPeerIp(a.id(), buffer, sizeof buffer, ip, &port), 5);
  EXPECT_EQ(std::string(buffer, 5) + " " + ip, "pong! 127.0.0.1");
  EXPECT_EQ(port, b.local_port());
}

// More than one system call takes, in order; what is no datagram ends the run.
TEST(Datagrams, ManyAreSentAndReceivedInOneCall) {
  const Socket a = udp_socket(), b = udp_socket();
  zu_sock_peer to;
  ASSERT_EQ(zu_sock_MakePeer(&to, "127.0.0.1", b.local_port()), 1);
  constexpr std::int32_t kCount = 100;
  std::int32_t numbers[kCount + 1];
  zu_sock_datagram out[kCount + 1], in[kCount + 1];
  zu_sock_peer from[kCount + 1] = {};
  char room[kCount + 1][8];
  for (std::int32_t i = 0; i <= kCount; ++i) {
    numbers[i] = i;
    out[i] = {&numbers[i], 4, i < kCount ? &to : nullptr};
    in[i] = {room[i], 8, i % 2 == 0 ? &from[i] : nullptr};
  }
  EXPECT_EQ(zu_sock_ReadDatagrams(b.id(), in, 1), -1) << "the socket blocks, this does not";
  ASSERT_EQ(zu_sock_WriteDatagrams(a.id(), out, kCount + 1), kCount);
  EXPECT_TRUE(a.send_to(b.local_port(), "longer than eight"));
  ASSERT_EQ(zu_sock_ReadDatagrams(b.id(), in, kCount), kCount);
  for (std::int32_t i = 0; i < kCount; ++i) {
    EXPECT_TRUE(in[i].length == 4 && *static_cast<std::int32_t*>(in[i].data) == i);
    EXPECT_EQ(from[i].port, i % 2 == 0 ? a.local_port() : 0);
  }
  EXPECT_STREQ(from[0].ip, "127.0.0.1");
  in[1].length = 0;
  EXPECT_EQ(zu_sock_ReadDatagrams(b.id(), in + kCount, 1), 1);
  EXPECT_EQ(in[kCount].length, -1) << "too long, lost";
  EXPECT_EQ(zu_sock_ReadDatagrams(b.id(), in + 1, 2), 0);
  EXPECT_EQ(zu_sock_WriteDatagrams(a.id(), out + kCount, 1) + zu_sock_WriteDatagrams(0, out, 1) +
                zu_sock_WriteDatagrams(a.id(), out, 0) + zu_sock_ReadDatagrams(b.id(), nullptr, 1),
            0);
  const std::int32_t closed = udp_socket().id();
  EXPECT_EQ(zu_sock_WriteDatagrams(closed, out, 1), -1);
}

TEST(Datagrams, GroupsAndBroadcastsAreAskedFor) {
  const Socket member = udp_socket(0, 0), sender = udp_socket();
  const std::int32_t id = member.id(), from = sender.id();
  zu_sock_peer to;
  ASSERT_EQ(zu_sock_MakePeer(&to, "239.1.2.3", member.local_port()), 1);
  char hello[] = "hello";
  const zu_sock_datagram datagram{hello, 5, &to};
  EXPECT_EQ(zu_sock_set_multicast_interface(from, "127.0.0.1"), 1);
  EXPECT_EQ(zu_sock_set_multicast_ttl(from, 255) + zu_sock_set_multicast_ttl(from, 0), 2);
  EXPECT_EQ(zu_sock_set_multicast_ttl(from, 256) + zu_sock_set_multicast_ttl(from, -1), 0);
  EXPECT_EQ(zu_sock_join_group(id, "239.1.2.3", "127.0.0.1"), 1);
  EXPECT_EQ(zu_sock_join_group(id, "239.1.2.3", "127.0.0.1"), 0) << "twice";
  EXPECT_EQ(zu_sock_join_group(id, "127.0.0.1", nullptr) + zu_sock_join_group(id, nullptr, "x"), 0);
  EXPECT_EQ(zu_sock_WriteDatagrams(from, &datagram, 1), 1);
  EXPECT_EQ(member.receive_datagram(), "hello");
  EXPECT_EQ(zu_sock_set_multicast_loop(from, 0) + zu_sock_set_multicast_loop(from, 1), 2);
  EXPECT_EQ(zu_sock_leave_group(id, "239.1.2.3", "127.0.0.1"), 1);
  EXPECT_EQ(zu_sock_leave_group(id, "239.1.2.3", "127.0.0.1"), 0);
  EXPECT_EQ(zu_sock_WriteDatagrams(from, &datagram, 1), 1);
  EXPECT_TRUE(sender.send_to(member.local_port(), "only this"));
  EXPECT_EQ(member.receive_datagram(), "only this");

  ASSERT_EQ(zu_sock_MakePeer(&to, "255.255.255.255", member.local_port()), 1);
  EXPECT_EQ(zu_sock_WriteDatagrams(from, &datagram, 1), -1) << "not allowed";
  EXPECT_EQ(zu_sock_set_broadcast(from), 1);
  EXPECT_EQ(zu_sock_set_nonbroadcast(from), 1);
  EXPECT_EQ(zu_sock_WriteDatagrams(from, &datagram, 1), -1);
  EXPECT_EQ(zu_sock_set_broadcast(-1) + zu_sock_MakePeer(&to, "no address", 1) +
                zu_sock_MakePeer(&to, "1.2.3.4", 0),
            0);
}

}  // namespace
}  // namespace kiv::test
