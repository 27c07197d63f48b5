// The native side of the chat host against clients of every kind, friendly and not. What browsers
// see is checked by examples/chat/check.sh.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "examples/chat/message_text.h"
#include "examples/chat/native_server.h"
#include "tests/support/sockets.h"

namespace chat {
namespace {

using kiv::test::Socket;
using kiv::test::tcp_connect;

// Speaks packets over a plain socket.
class Peer {
 public:
  explicit Peer(std::uint16_t port) : socket_(tcp_connect(port)) {}

  void send(const char* command,
            std::initializer_list<std::pair<const char*, std::string>> parameters = {}) {
    socket_.send(packet_.make(command, parameters));
  }
  void send_bytes(std::string_view bytes) { socket_.send(bytes); }
  // The next packet, "command value value ..."; "end" when the host has closed.
  std::string next() {
    std::string bytes;
    while ((bytes = stream_.next()).empty()) {
      const std::string piece = socket_.receive_some();
      if (piece.empty()) return "end";
      stream_.put(piece);
    }
    EXPECT_TRUE(packet_.parse(bytes));
    std::string line = packet_.command();
    for (const char* name : {"user", "from", "text", "marked", "count", "names", "reason"}) {
      const std::string value = packet_.value(name);
      if (!value.empty()) line += ' ' + value;
    }
    return line;
  }
  std::string login(const char* name) {
    send("login", {{"user", name}});
    return next();
  }

 private:
  Socket socket_;
  Packet packet_;
  PacketStream stream_;
};

struct Host {
  explicit Host(const NativeLimits& limits = {})
      : room([] {
          WordList words;
          words.add("bad");
          return words;
        }()),
        server(room, nullptr, limits) {
    EXPECT_TRUE(server.listen(port, false));
  }
  std::size_t people() {
    const std::lock_guard lock(room.mutex);
    return room.people().size();
  }

  std::uint16_t port = kiv::test::free_tcp_port();
  Room room;
  NativeServer server;
};

TEST(ChatText, IsSafeToDisplay) {
  EXPECT_EQ(clean_text("  a\x1b[1m\r\nb\xc2\x9b\xff ", 100), "a [1m  b \xEF\xBF\xBD");
  EXPECT_EQ(clean_text("\xc3\xa4\xc3\xa4", 3), "\xc3\xa4");
  EXPECT_EQ(clean_name(" ann b ", 32) + clean_name("\n", 32), "ann_b");
  std::string json;
  append_json(json, "\"\\</script>");
  EXPECT_EQ(json, "\"\\\"\\\\</script>\"");
}

TEST(Chat, TwoPeopleTalk) {
  Host host;
  Peer ann(host.port);
  EXPECT_EQ(ann.login("ann"), "welcome ann");
  Peer bob(host.port);
  bob.send("say", {{"text", "early"}});
  EXPECT_EQ(bob.next(), "refused log in first");
  EXPECT_EQ(bob.login("ann"), "refused the name is taken");
  EXPECT_EQ(bob.login("bob"), "welcome bob");
  EXPECT_EQ(ann.next(), "joined bob");
  bob.send("say", {{"text", "He said \"B-A-D\""}});
  EXPECT_EQ(ann.next(), "said bob He said \"B-A-D\" yes");
  EXPECT_EQ(bob.next(), "said bob He said \"B-A-D\" yes");
  ann.send("who");
  EXPECT_EQ(ann.next(), "people 2 ann\nbob");
  ann.send("sing");
  EXPECT_EQ(ann.next(), "error nothing is done for \"sing\" here");
  bob.send("leave");
  EXPECT_EQ(bob.next(), "end");
  EXPECT_EQ(ann.next(), "left bob");
  EXPECT_EQ(host.people(), 1U);
}

TEST(Chat, HostileClientsDisturbNobody) {
  NativeLimits limits;
  limits.backlog = 64 * 1024;
  limits.login = std::chrono::milliseconds(300);
  Host host(limits);
  Peer ann(host.port);
  EXPECT_EQ(ann.login("ann"), "welcome ann");

  Peer endless(host.port);  // 10 MB without an end; the host may end it while it sends
  const std::string piece(100000, 'x');
  for (int i = 0; i < 100; ++i) endless.send_bytes(piece);
  Peer half(host.port), silent(host.port), wrong(host.port), many(host.port);
  half.send_bytes("login user=\"half");
  wrong.send_bytes(std::string("login user=\"a\"\"\0say\0", 19));
  EXPECT_EQ(wrong.next(), "error this is no packet");
  std::string parameters = "login";
  for (int i = 0; i < 64; ++i) parameters += " p" + std::to_string(i) + "=\"\"";
  many.send_bytes(parameters + '\0');
  EXPECT_EQ(many.next(), "error this is no packet");
  EXPECT_EQ(half.next(), "end") << "gave no name";
  EXPECT_EQ(silent.next(), "end");

  Peer deaf(host.port);  // reads its welcome and then nothing
  EXPECT_EQ(deaf.login("deaf"), "welcome deaf");
  EXPECT_EQ(ann.next(), "joined deaf");
  const std::string line(1000, 'y');
  std::string heard;
  for (int i = 0; i < 20000 && heard != "left deaf"; ++i) {
    ann.send("say", {{"text", line}});
    heard = ann.next();
  }
  for (int i = 0; i < 100 && heard != "left deaf"; ++i) heard = ann.next();
  EXPECT_EQ(heard, "left deaf");
}

// More in all than the box can hold, should any stay.
TEST(Chat, CrowdsComeAndGo) {
  NativeLimits limits;
  limits.login = std::chrono::seconds(60);
  Host host(limits);
  constexpr std::size_t kCrowd = 180;
  for (int round = 0; round < 6; ++round) {
    {
      std::vector<Peer> crowd;
      crowd.reserve(kCrowd);
      for (std::size_t i = 0; i < kCrowd; ++i) {
        crowd.emplace_back(host.port);
        crowd.back().send("who");
        EXPECT_EQ(crowd.back().next(), "refused log in first");
      }
      for (std::size_t i = 0; i < kCrowd; i += 20) {
        EXPECT_EQ(crowd[i].login(std::to_string(i).c_str()), "welcome " + std::to_string(i));
      }
    }
    const auto deadline = Clock::now() + std::chrono::seconds(60);
    while (host.server.clients() > 0 && Clock::now() < deadline) std::this_thread::yield();
    ASSERT_EQ(host.server.clients() + host.people(), 0U);
  }
}

}  // namespace
}  // namespace chat
