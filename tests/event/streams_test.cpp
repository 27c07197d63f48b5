// Streams on boxes and on big boxes: what is sent, what waits, who is paused and how it all ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

#include "kiv_base/streams.h"
#include "tests/event/box_events.h"
#include "tests/support/eventually.h"
#include "tests/support/looping_box.h"
#include "tests/support/temp_dir.h"

namespace kiv::test {
namespace {

struct OfBox {
  static constexpr auto reason = kivx_box_GetReason;
  static constexpr auto send = kivx_box_Send;
  static constexpr auto send_pieces = kivx_box_SendPieces;
  static constexpr auto send_file = kivx_box_SendFile;
  static constexpr auto queued = kivx_box_GetQueued;
  static constexpr auto set_limit = kivx_box_SetSendLimit;
  static constexpr auto set_drained = kivx_box_SetDrained;
  static constexpr auto shutdown = kivx_box_Shutdown;
  static constexpr auto close = kivx_box_CloseAfterSend;
  static constexpr auto pause = kivx_box_PauseRead;
  static constexpr auto set_idle = kivx_box_SetIdleLimit;
  static constexpr auto resume = kivx_box_ResumeRead;
  static constexpr auto remove = kiv_box_DeleteSock;

  bool adopt(std::int32_t socket, zu_box_read_fn read, zu_box_socket_fn closed, void* argument) {
    return kiv_box_AcceptTcpClient(handle, socket, read, argument, closed, argument) > 0;
  }
  bool has(std::int32_t socket) { return kiv_box_IsSockExist(handle, socket) == 1; }

  LoopingBox looping;
  kiv_box* handle = looping;
};

struct OfBigBox {
  static constexpr auto reason = kivx_bigbox_GetReason;
  static constexpr auto send = kivx_bigbox_Send;
  static constexpr auto send_pieces = kivx_bigbox_SendPieces;
  static constexpr auto send_file = kivx_bigbox_SendFile;
  static constexpr auto queued = kivx_bigbox_GetQueued;
  static constexpr auto set_limit = kivx_bigbox_SetSendLimit;
  static constexpr auto set_drained = kivx_bigbox_SetDrained;
  static constexpr auto shutdown = kivx_bigbox_Shutdown;
  static constexpr auto close = kivx_bigbox_CloseAfterSend;
  static constexpr auto pause = kivx_bigbox_PauseRead;
  static constexpr auto set_idle = kivx_bigbox_SetIdleLimit;
  static constexpr auto resume = kivx_bigbox_ResumeRead;
  static constexpr auto remove = kiv_bigbox_DeleteSock;

  ~OfBigBox() { kiv_bigbox_free(handle); }
  bool adopt(std::int32_t socket, zu_box_read_fn read, zu_box_socket_fn closed, void* argument) {
    return kiv_bigbox_accept(handle, socket, "", 0, read, argument, closed, argument) == 1;
  }
  bool has(std::int32_t socket) { return kiv_bigbox_GetSlaveBox(handle, socket) != nullptr; }

  kiv_bigbox* handle = kiv_bigbox_make(2, 100);
};

std::string pattern(std::size_t length) {
  std::string bytes(length, '\0');
  std::uint32_t state = 7;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  return bytes;
}

// One connection of a box; what happens to it becomes lines.
template <typename Of>
class Streams : public testing::Test {
 protected:
  using Handle = decltype(Of::handle);

  ~Streams() override {
    if (of.has(near)) close_near();
  }
  void open() {
    auto [first, second] = tcp_pair();
    near = first.release();
    far = std::move(second);
    ASSERT_TRUE(of.adopt(near, on_read, ended<'c'>, &seen));
    ASSERT_EQ(Of::set_drained(of.handle, near, ended<'d'>, &seen), 1);
  }
  // A big box lets go of a client's socket.
  void close_near() {
    Of::remove(of.handle, near);
    if constexpr (std::is_same_v<Of, OfBigBox>) Socket(near).close();
  }
  int send(std::string_view data) {
    return Of::send(of.handle, near, data.data(), static_cast<std::int32_t>(data.size()));
  }
  // Sends small messages until one is refused; gives what was taken.
  std::string fill(std::size_t message) {
    std::string sent;
    const std::string bytes = pattern(message);
    while (send(bytes) == 1) sent += bytes;
    return sent;
  }
  Lines lines() {
    const std::lock_guard guard(seen.lock);
    return seen.lines;
  }

  template <char Event>
  static void KIV_CALL ended(void* handle, void* recorder, std::int32_t socket) {
    const char* event = Event == 'd' ? "drained" : Event == 'f' ? "full" : "end";
    const std::int32_t reason = Of::reason(static_cast<Handle>(handle), socket);
    const std::string why = Event == 'c' ? std::string(": ") + zu_sock_ReasonText(reason) : "";
    Recorder::note(recorder, {event + why, handle, socket});
  }

  Recorder seen;
  Of of;
  std::int32_t near = -1;
  Socket far;
};
using Kinds = testing::Types<OfBox, OfBigBox>;
TYPED_TEST_SUITE(Streams, Kinds);

TYPED_TEST(Streams, ASlowReaderGetsAllInOrderAndTheQueueIsBounded) {
  using Of = TypeParam;
  this->open();
  const auto box = this->of.handle;
  const std::int32_t id = this->near;
  constexpr std::int64_t kLimit = 100000;
  ASSERT_EQ(Of::set_limit(box, id, kLimit, TestFixture::template ended<'f'>, &this->seen), 1);
  EXPECT_EQ(this->send(pattern(kLimit + 1)), 0) << "all or none, also when the system had room";
  this->seen.await(1);

  std::string expected = this->fill(999);
  EXPECT_GT(Of::queued(box, id), 0);
  EXPECT_LE(Of::queued(box, id), kLimit);
  EXPECT_EQ(this->send(""), 1);

  const TempDir dir;
  const std::string content = pattern(3000000);
  const std::string path = dir.file("file");
  std::ofstream(path, std::ios::binary) << content;
  const auto send_file = [&](std::int64_t offset, std::int64_t length) {
    return Of::send_file(box, id, path.c_str(), offset, length);
  };
  EXPECT_EQ(send_file(5, -1) + send_file(3000000, -1) + send_file(0, 3), 3);
  EXPECT_EQ(send_file(1, 3000000) + send_file(-1, 1) + send_file(3000001, -1), 0);
  EXPECT_EQ(Of::send_file(box, id, dir.path().c_str(), 0, 0), 0) << "no regular file";
  expected += content.substr(5) + content.substr(0, 3);
  const zu_sock_piece pieces[] = {{"ab", 2}, {nullptr, 0}, {"c", 1}};
  Of::set_limit(box, id, 2 * kLimit, nullptr, nullptr);
  EXPECT_EQ(Of::send_pieces(box, id, pieces, 3), 1);
  EXPECT_EQ(Of::send_pieces(box, id, pieces, -1), 0);
  expected += "abc";
  std::vector<zu_sock_piece> many(5000, {"xyz", 3});
  EXPECT_EQ(Of::send_pieces(box, id, many.data(), 5000), 1);
  for (int i = 0; i < 5000; ++i) expected += "xyz";

  EXPECT_EQ(Of::shutdown(box, id), 1);
  EXPECT_EQ(this->send("x"), 0) << "after the end";
  EXPECT_TRUE(this->far.receive_to_end() == expected);
  this->seen.await(3);
  EXPECT_EQ(Of::queued(box, id), 0);
  EXPECT_TRUE(this->far.send("still read"));
  this->seen.await(4);
  EXPECT_EQ(this->lines(), (Lines{"full", "full", "drained", "read still read"}));
}

TYPED_TEST(Streams, FiftyMegabytesThroughAnEchoThatPauses) {
  using Of = TypeParam;
  constexpr std::size_t kTotal = 50000000;
  struct Echo {
    static void KIV_CALL read(void* handle, void* argument, std::int32_t socket, char* data,
                              std::int32_t length) {
      const auto box = static_cast<typename TestFixture::Handle>(handle);
      auto& most = *static_cast<std::int64_t*>(argument);
      EXPECT_EQ(Of::send(box, socket, data, length), 1);
      most = std::max(most, Of::queued(box, socket));
      if (Of::queued(box, socket) > 0) Of::pause(box, socket);
    }
    static void KIV_CALL drained(void* handle, void*, std::int32_t socket) {
      Of::resume(static_cast<typename TestFixture::Handle>(handle), socket);
    }
    static void KIV_CALL ended(void* handle, void*, std::int32_t socket) {
      const auto box = static_cast<typename TestFixture::Handle>(handle);
      EXPECT_EQ(Of::reason(box, socket), KIV_REASON_END);
      Of::close(box, socket, 60000, nullptr, nullptr);
    }
  };
  auto [first, far_end] = tcp_pair();
  std::int64_t most = 0;
  this->near = first.release();
  ASSERT_TRUE(this->of.adopt(this->near, Echo::read, Echo::ended, &most));
  ASSERT_EQ(Of::set_drained(this->of.handle, this->near, Echo::drained, nullptr), 1);
  const std::string bytes = pattern(kTotal);
  std::thread sender([&, &to = far_end] { EXPECT_TRUE(to.send(bytes)); });
  EXPECT_TRUE(far_end.receive(kTotal) == bytes);
  sender.join();
  far_end.close();
  EXPECT_TRUE(eventually([&] { return !this->of.has(this->near); })) << "and nothing is left";
  EXPECT_LE(most, 204799);
}

TYPED_TEST(Streams, PausedSocketsKeepTheirHandlersAndBytes) {
  using Of = TypeParam;
  this->open();
  const auto box = this->of.handle;
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(Of::pause(box, this->near) + Of::pause(box, this->near), 2);
    EXPECT_TRUE(this->far.send("while paused"));
    EXPECT_EQ(this->send("ping"), 1);
    EXPECT_EQ(this->far.receive(4), "ping");
    EXPECT_EQ(this->lines().size(), std::size_t(round));
    EXPECT_TRUE(this->of.has(this->near));
    EXPECT_EQ(Of::resume(box, this->near) + Of::resume(box, this->near), 2);
    this->seen.await(std::size_t(round) + 1);
  }
  EXPECT_EQ(Of::pause(box, 12345), 0);
  EXPECT_EQ(this->lines(), Lines(3, "read while paused"));
}

// A reset may have been reported to the wait already; Wine then tells of an end.
bool is_reset(const std::string& line) {
#ifdef _WIN32
  if (line == "end: no error" || line == "end: end of stream") return true;
#endif
  return line == "end: connection reset";
}

TYPED_TEST(Streams, CloseAfterSendLosesNothing) {
  using Of = TypeParam;
  this->open();
  const auto box = this->of.handle;
  const std::string sent = this->fill(4000);
  EXPECT_EQ(Of::pause(box, this->near), 1) << "does not keep it from seeing the end";
  EXPECT_TRUE(this->far.send("not read any more"));
  const auto close = [&](std::uint32_t limit_ms) {
    return Of::close(box, this->near, limit_ms, TestFixture::template ended<'c'>, &this->seen);
  };
  EXPECT_EQ(close(0), 0);
  EXPECT_EQ(close(60000) + close(60000), 1);
  EXPECT_EQ(this->send("x") + Of::pause(box, this->near), 0);
  EXPECT_TRUE(this->far.receive_to_end() == sent);
  EXPECT_TRUE(this->of.has(this->near)) << "the peer has not ended yet";
  EXPECT_TRUE(this->far.send("nor this"));
  this->far.close();
  this->seen.await(1);
  EXPECT_FALSE(this->of.has(this->near));
  EXPECT_EQ(zu_sock_is_fd_valid(this->near, nullptr), 0);

  // Peers that do not read, that do not end, that break off; and a socket that is deleted
  // meanwhile.
  for (const char peer : {'r', 'e', 'b', 'd'}) {
    this->open();
    if (peer == 'r') this->fill(4000);
    EXPECT_EQ(close(peer == 'b' || peer == 'd' ? 60000 : 50), 1);
    if (peer == 'd') this->of.remove(this->of.handle, this->near);
    if (peer == 'b') {
      zu_sock_set_linger(this->far.id(), 0);
      this->far.close();
    }
    EXPECT_EQ(peer == 'd' ? this->far.receive_to_end() : "", "");
    EXPECT_TRUE(eventually([&] { return !this->of.has(this->near); }));
    EXPECT_TRUE(eventually([&] { return zu_sock_is_fd_valid(this->near, nullptr) == 0; }));
  }
  this->seen.await(4);
  Lines lines = this->lines();
  EXPECT_TRUE(is_reset(lines.back())) << lines.back();
  lines.pop_back();
  EXPECT_EQ(lines, (Lines{"end: no error", "end: timed out", "end: timed out"}));
}

// The connection breaks while bytes wait, read from or not.
TYPED_TEST(Streams, ALostConnectionIsReportedWithItsReason) {
  using Of = TypeParam;
  this->seen.then = [&](const Event& event) {
    if (event.text[0] == 'e') this->close_near();
  };
  for (const bool paused : {false, true}) {
    this->open();
    this->fill(4000);
    EXPECT_EQ(paused ? Of::pause(this->of.handle, this->near) : 1, 1);
    zu_sock_set_linger(this->far.id(), 0);
    this->far.close();
    this->seen.await(paused ? 2 : 1);
    EXPECT_TRUE(eventually([&] { return !this->of.has(this->near); }));
    EXPECT_EQ(Of::queued(this->of.handle, this->near), -1);
  }
  EXPECT_EQ(this->lines().size(), 2U);
  for (const std::string& line : this->lines()) EXPECT_TRUE(is_reset(line)) << line;
}

TYPED_TEST(Streams, SilenceIsLimitedForReadingAndForSending) {
  using Of = TypeParam;
  for (const bool sending : {false, true}) {
    this->open();
    if (sending) this->fill(4000);
    const std::size_t before = this->lines().size();
    EXPECT_EQ(Of::set_idle(this->of.handle, this->near, sending ? 0 : 40, sending ? 40 : 0), 1);
    this->seen.await(before + 1);
    EXPECT_EQ(this->lines().back(), "end: timed out");
    EXPECT_EQ(Of::queued(this->of.handle, this->near), 0);
    EXPECT_EQ(this->send("x"), sending ? 0 : 1) << "an answer can still be given";
    EXPECT_EQ(Of::close(this->of.handle, this->near, 60000, nullptr, nullptr), 1);
    this->far.close();
    EXPECT_TRUE(eventually([&] { return !this->of.has(this->near); }));
  }
}

// Each thread's messages arrive in its order, whatever the others do.
TYPED_TEST(Streams, ForeignThreadsSendPauseAndResume) {
  using Of = TypeParam;
  this->open();
  constexpr int kMessages = 3000;
  const auto box = this->of.handle;
  const auto write = [&](char who) {
    for (int i = 0; i < kMessages;) {
      const std::string message = std::string(1, who) + std::to_string(10000 + i);
      if (this->send(message) == 1) ++i;
    }
  };
  std::atomic<bool> stopped{false};
  std::thread first(write, 'a'), second(write, 'b');
  std::thread pausing([&] {
    while (!stopped) {
      Of::pause(box, this->near);
      Of::queued(box, this->near);
      Of::resume(box, this->near);
    }
  });
  int next[2] = {};
  for (int i = 0; i < 2 * kMessages; ++i) {
    const std::string message = this->far.receive(6);
    ASSERT_EQ(message.size(), 6u);
    ASSERT_EQ(std::stoi(message.substr(1)), 10000 + next[message[0] - 'a']++);
    EXPECT_TRUE(i % 100 != 0 || this->far.send("x"));
  }
  first.join();
  second.join();
  stopped = true;
  pausing.join();
  this->seen.await(1);
  EXPECT_EQ(Of::close(box, this->near, 60000, nullptr, nullptr), 1);
  this->far.close();
  EXPECT_TRUE(eventually([&] { return !this->of.has(this->near); }));
}

// ---- raw boxes

struct Raw {
  zu_box* box = zu_box_malloc();
  Lines lines;
  std::function<void(const std::string&, std::int32_t)> then = [](auto&, auto) {};

  ~Raw() { zu_box_free(box); }
  void note(const std::string& line, std::int32_t socket) {
    lines.push_back(line);
    then(line, socket);
  }
  template <char Event>
  static void KIV_CALL on(void*, void* argument, std::int32_t socket) {
    auto& self = *static_cast<Raw*>(argument);
    const char* reason = zu_sock_ReasonText(zu_box_sock_GetReason(self.box, socket));
    self.note(std::string(1, Event) + ": " + reason, socket);
  }
  static void KIV_CALL on_read(void*, void* argument, std::int32_t socket, char* data,
                               std::int32_t) {
    static_cast<Raw*>(argument)->note(data, socket);
  }
  std::int32_t connect(std::uint16_t port, const char* host = "127.0.0.1") {
    return zu_box_sock_AddLocalTcpClient(box, host, port, on<'c'>, this, on<'f'>, this, on_read,
                                         this, on<'e'>, this);
  }
};

TEST(RawStreams, FailuresHaveReasons) {
  Raw raw;
  raw.then = [&](const std::string&, std::int32_t socket) {
    EXPECT_EQ(zu_box_sock_Send(raw.box, socket, "x", 1), 0);
    zu_box_sock_Delete(raw.box, socket);
    if (zu_box_sock_GetNumSock(raw.box) == 0) zu_box_BreakLoop(raw.box);
  };
  const std::int32_t refused = raw.connect(free_tcp_port());
  EXPECT_EQ(zu_box_sock_Send(raw.box, refused, "never sent", 10), 1) << "still connecting";
  EXPECT_EQ(zu_box_sock_Shutdown(raw.box, refused), 0);
  EXPECT_EQ(zu_box_sock_CloseAfterSend(raw.box, refused, 1, nullptr, nullptr), 0);
  raw.connect(9, "224.0.0.1");  // fails within the call
  zu_box_StartLoop(raw.box);
  std::sort(raw.lines.begin(), raw.lines.end());
  EXPECT_TRUE(raw.lines.size() == 2 && raw.lines[0] == "f: connection refused" &&
              raw.lines[1].starts_with("f: ") && raw.lines[1] != "f: no error");
  EXPECT_STREQ(zu_sock_ReasonText(-5), "unknown error");
}

TEST(RawStreams, AClientSendsWhatItQueuedWhileConnecting) {
  Raw raw;
  const Socket listener = tcp_listener();
  const std::int32_t id = raw.connect(listener.local_port());
  EXPECT_EQ(zu_box_sock_PauseRead(raw.box, id), 1);
  EXPECT_EQ(zu_box_sock_Send(raw.box, id, "hello", 5), 1);
  EXPECT_EQ(zu_box_sock_GetQueued(raw.box, id), 5);
  zu_box_sock_SetDrained(raw.box, id, Raw::on<'d'>, &raw);
  Socket peer;
  raw.then = [&](const std::string& line, std::int32_t socket) {
    if (line[0] == 'd') {
      peer = tcp_accept(listener);
      EXPECT_EQ(peer.receive(5), "hello");
      EXPECT_TRUE(peer.send("answer"));
      EXPECT_EQ(zu_box_sock_ResumeRead(raw.box, socket), 1);
    }
    if (line == "answer") peer.close();
    if (line[0] == 'e') zu_box_sock_CloseAfterSend(raw.box, socket, 1000, Raw::on<'z'>, &raw);
  };
  zu_box_StartLoop(raw.box);  // ends with the last socket
  EXPECT_EQ(raw.lines,
            (Lines{"c: no error", "d: no error", "answer", "e: end of stream", "z: no error"}));
}

TEST(RawStreams, ConnectingIsLimited) {
  Raw raw;
  // With its queue full a listener answers nobody, or, on Windows, refuses.
  const std::int32_t listener = zu_box_sock_AddLocalTcpServer(raw.box, nullptr, 0, {}, {});
  EXPECT_EQ(zu_box_sock_SetBacklog(raw.box, listener, 1), 1);
  EXPECT_EQ(zu_box_sock_PauseRead(raw.box, listener), 1);
  raw.then = [&](const std::string& line, std::int32_t) {
    if (line[0] == 'f') zu_box_BreakLoop(raw.box);
  };
  for (int i = 0; i < 5; ++i) {
    const std::int32_t id = raw.connect(port_of(listener));
    EXPECT_EQ(zu_box_sock_SetConnectLimit(raw.box, id, 100), 1);
  }
  EXPECT_EQ(zu_box_sock_SetConnectLimit(raw.box, listener, 100), 0);
  zu_box_StartLoop(raw.box);
  EXPECT_TRUE(raw.lines.back() == "f: timed out" || raw.lines.back() == "f: connection refused");
}

TEST(RawStreams, AnImportForWritingAndAQueueExcludeEachOther) {
  Raw raw;
  auto [near, far] = tcp_pair();
  const std::int32_t id = near.release();
  ASSERT_EQ(zu_box_sock_AddRemoteTcpClient(raw.box, id, nullptr, nullptr, nullptr, nullptr), id);
  const auto import = [&] {
    return zu_box_sock_ImportSocketId_ForWrite(
        raw.box, id, [](void*) {}, nullptr);
  };
  EXPECT_EQ(import(), 1);
  EXPECT_EQ(zu_box_sock_Send(raw.box, id, "x", 1), 0);
  EXPECT_EQ(zu_box_sock_ExportSocketId_ForWrite(raw.box, id), 1);
  const std::string much(4000, 'x');
  while (zu_box_sock_GetQueued(raw.box, id) == 0) zu_box_sock_Send(raw.box, id, much.data(), 4000);
  EXPECT_EQ(import(), 0);
  EXPECT_EQ(zu_box_sock_ExportSocketId_ForWrite(raw.box, id), 1);
  EXPECT_GT(zu_box_sock_GetQueued(raw.box, id), 0) << "the queue's own wait is not exported";
  EXPECT_EQ(zu_box_sock_ExportSocketId_ForRead(raw.box, id), 1);
  EXPECT_EQ(zu_box_sock_GetNumSock(raw.box), 0);
  const Socket still_open(id);
  EXPECT_EQ(zu_sock_is_fd_valid(id, nullptr), 1);
}

TEST(RawStreams, BadArgumentsGiveTheFailureValue) {
  Raw raw;
  const std::int32_t listener = zu_box_sock_AddLocalTcpServer(raw.box, nullptr, 0, {}, {});
  std::uint16_t port = 0;
  char ip[16];
  EXPECT_EQ(zu_sock_GetLocal(listener, ip, sizeof ip, &port), 1);
  EXPECT_EQ(port, port_of(listener));
  EXPECT_STREQ(ip, "0.0.0.0");
  EXPECT_EQ(zu_sock_GetLocal(-1, ip, sizeof ip, &port), 0);
  EXPECT_EQ(zu_sock_set_keep_alive_times(listener, 0, 1, 1), 0);
  const Socket client = tcp_connect(port);
  EXPECT_EQ(zu_sock_set_keep_alive_times(client.id(), 60, 10, 3), 1);
  EXPECT_EQ(zu_box_sock_PauseRead(raw.box, listener) + zu_box_sock_ResumeRead(raw.box, listener),
            2);
  for (const std::int32_t id : {listener, client.id(), 0, -1}) {
    for (zu_box* box : {raw.box, static_cast<zu_box*>(nullptr)}) {
      EXPECT_EQ(zu_box_sock_Send(box, id, "x", 1) + zu_box_sock_Shutdown(box, id) +
                    zu_box_sock_CloseAfterSend(box, id, 1, nullptr, nullptr) +
                    zu_box_sock_SetSendLimit(box, id, 1, nullptr, nullptr) +
                    zu_box_sock_SetDrained(box, id, nullptr, nullptr) +
                    zu_box_sock_SendFile(box, id, "/", 0, -1) + zu_box_sock_GetReason(box, id),
                0);
      EXPECT_EQ(zu_box_sock_GetQueued(box, id), -1);
    }
  }
  auto* const dead = reinterpret_cast<kiv_box*>(&raw);
  auto* const dead_big = reinterpret_cast<kiv_bigbox*>(&raw);
  EXPECT_EQ(kivx_box_Send(dead, 5, "x", 1) + kivx_bigbox_Send(dead_big, 5, "x", 1), 0);
  EXPECT_EQ(kivx_box_GetQueued(dead, 5) + kivx_bigbox_GetQueued(dead_big, 5), -2);
  EXPECT_EQ(kivx_box_GetReason(dead, 5) + kivx_bigbox_GetReason(dead_big, 5), 0);
}

}  // namespace
}  // namespace kiv::test
