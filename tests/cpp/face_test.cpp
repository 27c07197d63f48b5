// The C++ wrapper in use: what it adds to the C interface, which has tests of its own.
#include <gtest/gtest.h>

#include <array>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kiv_base.hpp"
#include "tests/support/sockets.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace kiv;

static_assert(sizeof(Box) == sizeof(void*) && sizeof(HttpRequest) == sizeof(void*) &&
              sizeof(Lock) == sizeof(void*) && sizeof(OnRead) == 2 * sizeof(void*));
static_assert(!std::is_copy_constructible_v<Box> && std::is_nothrow_move_assignable_v<Box>);
static_assert(std::is_trivially_copyable_v<BoxRef> && std::is_trivially_copyable_v<Data>);
// A text that may not be terminated and a callable that would be gone are no arguments.
static_assert(!std::is_convertible_v<std::string_view, TextRef>);
inline constexpr auto capturing = [](int& count) { return [&count](auto...) { ++count; }; };
using Capturing = decltype(capturing(std::declval<int&>()));
static_assert(!std::is_convertible_v<Capturing, OnTimer> &&
              !std::is_convertible_v<const Capturing, OnTimer> &&
              std::is_convertible_v<const Capturing&, OnTimer>);
// An array is bytes or a text; a literal is one of the two.
inline constexpr char unterminated[] = {'a', 'b'};
static_assert(!std::is_constructible_v<Data, char (&)[4]> &&
              std::is_constructible_v<Buffer, char (&)[4]>);
static_assert(Data(unterminated).size() == 2 && Data("a\0b").size() == 1);
static_assert(Data(nullptr).empty() && Data(static_cast<const char*>(nullptr)).empty());

TEST(Face, OwnersMoveAndNullsAreHarmless) {
  Jitter one = Jitter::make(), two = Jitter::make(16, 2);
  one.write("one");
  two = std::move(one);
  EXPECT_FALSE(one);
  EXPECT_EQ(one.size() + one.write("x"), 0);
  EXPECT_EQ(two.size(), 3);
  std::array<char, 2> piece{};
  EXPECT_EQ(two.peek(piece, 1), 2);
  EXPECT_EQ(two.drop(1) + two.read(piece), 3);
  EXPECT_EQ(Data(piece).view(), "ne");
  EXPECT_FALSE(Jitter::make(0, 0));
  EXPECT_EQ(Data("x", Buffer::narrow(std::size_t{1} << 31)).size(), -1) << "more than C can say";
  EXPECT_EQ(BoxRef().write(1, "x"), -1);
  EXPECT_FALSE(TextRef() == "");
  const Lock lock = Lock::make();
  const std::lock_guard twice(lock), recursive(lock);
  EXPECT_TRUE(lock.unlock() && lock.lock());
}

// Greets, is echoed, and stops; every way to make a callback.
struct Talk {
  std::string heard;
  int failures = 0;
  SocketId ready = -1;

  void on_accept(BoxRef box, SocketId, SocketId socket, TextRef ip, std::uint16_t) {
    EXPECT_TRUE(ip == "127.0.0.1");
    EXPECT_EQ(box.adopt(
                  socket, [](BoxRef at, SocketId from, Buffer data) { at.write(from, data); },
                  [](BoxRef at, SocketId from) { at.remove(from); }),
              socket);
  }
  void on_connect(BoxRef box, SocketId socket) { EXPECT_EQ(box.write(socket, "hello"), 5); }
  void on_read(BoxRef box, SocketId socket, std::string_view data) {
    heard += data;
    if (heard.size() < 5) return;
    EXPECT_EQ(box.current_socket(), socket);
    box.remove(socket);
    EXPECT_FALSE(box.has_socket(socket));
    box.break_loop();
  }
  void on_failure(BoxRef box, SocketId) { box.break_loop(); }
  void on_close(BoxRef box, SocketId) { box.break_loop(); }
};

void count_failure(BoxRef box, SocketId socket) {
  box.remove(socket);
}

TEST(Face, BoxTalksToItself) {
  Talk talk;
  Box box = Box::make();
  const auto port = kiv::test::free_tcp_port();
  ASSERT_GT(box.listen("127.0.0.1", port, bind<&Talk::on_accept>(talk)), 0);
  EXPECT_GT(box.connect(std::string("127.0.0.1"), port, ClientCallbacks::of(talk)), 0);
  EXPECT_GT(
      box.connect("127.0.0.1", kiv::test::free_tcp_port(), {.on_failure = bind<&count_failure>()}),
      0);
  int fired = 0;
  auto on_timer = [&](BoxRef self, TimerId timer, std::int32_t times) {
    fired += times;
    EXPECT_EQ(self.current_timer(), timer);
    if (times == 2) self.remove_timer(timer);
  };
  const TimerId timer = box.every(1, on_timer);
  box.loop();
  EXPECT_FALSE(box);
  EXPECT_EQ(talk.heard, "hello");
  EXPECT_TRUE(timer > 0 && (fired == 0 || fired == 1 || fired == 3)) << fired;
}

TEST(Face, DatagramsReachAThreadBox) {
  const auto port = kiv::test::free_udp_port();
  ThreadBox box = ThreadBox::make();
  const auto answer = [](BoxRef self, SocketId socket, Data data, Peer& from) {
    self.write_to_unchecked(socket, data, from.ip, from.port);
  };
  ASSERT_GT(box.listen_udp("127.0.0.1", port, answer), 0);
  const kiv::test::Socket peer = kiv::test::udp_socket();
  peer.send_to(port, "ping");
  EXPECT_EQ(peer.receive_datagram(), "ping");
  const BoxRef remains = box;
  box.join();
  EXPECT_FALSE(box || remains.is_live());
}

TEST(Face, BigBoxEchoes) {
  BigBox big = BigBox::make(2, 10);
  auto on_close = [](BigBoxRef at, SocketId socket) {
    at.remove(socket);
    at.close_removed(socket);
  };
  auto on_read = [](BigBoxRef at, SocketId socket, Buffer data) {
    std::array<char, 20> ip{};
    std::uint16_t port = 0;
    EXPECT_TRUE(at.peer(socket, ip, port) && at.current_client() == socket);
    EXPECT_EQ(at.slave_of(socket).get(), at.current_slave().get());
    at.write(socket, data);
  };
  auto on_accept = [&](BigBoxRef at, SocketId, SocketId socket, TextRef ip, std::uint16_t port) {
    EXPECT_TRUE(at.accept(socket, ip, port, on_read, on_close));
  };
  const auto port = kiv::test::free_tcp_port();
  ASSERT_GT(big.listen("127.0.0.1", port, on_accept), 0);
  {
    const kiv::test::Socket peer = kiv::test::tcp_connect(port);
    peer.send("hello");
    EXPECT_EQ(peer.receive(5), "hello");
    EXPECT_EQ(big.client_count(), 1);
  }
  while (big.client_count() > 0) std::this_thread::yield();
  const BoxRef master = big.master();
  big.reset();
  while (master.is_live()) std::this_thread::yield();
}

TEST(Face, HttpRequestReachesHttpServer) {
  Box box = Box::make();
  HttpServer server = HttpServer::make();
  HttpRequest request = HttpRequest::make();
  auto on_request = [&](HttpServerRef, SocketId socket, HttpTableRef head, JitterRef body) {
    EXPECT_TRUE(head.method() == "POST" && head.target() == "/a?b");
    std::array<char, 10> form{}, value{};
    EXPECT_TRUE(Form::parse(Data(form.data(), body.read(form))).copy("n", value));
    EXPECT_TRUE(TextRef(value.data()) == "1 2");
    HttpTable answer = HttpTable::make();
    answer.set_status("404 Not Found");
    answer.set_field("Content-Length", "2");
    const Text text = answer.head_text();
    EXPECT_GT(box.write(socket, std::string(text.view()) + "no"), 0);
  };
  auto on_accept = [&](HttpServerRef at, SocketId socket, TextRef, std::uint16_t) {
    EXPECT_TRUE(at.accept(socket, on_request));
  };
  const std::string port = std::to_string(kiv::test::free_tcp_port());
  ASSERT_TRUE(server.attach(box, static_cast<std::uint16_t>(std::stoi(port)), on_accept));
  std::string heard;
  auto on_response = [&](BoxRef at, SocketId, TextRef, HttpTableRef head, JitterRef body,
                         std::int32_t state) {
    std::array<char, 10> bytes{};
    const std::int32_t length = body.read(bytes);
    heard = std::to_string(head.status()) + std::string(bytes.data(), std::size_t(length));
    EXPECT_EQ(state, KIV_HTTP_COMPLETE);
    request.reset();
    at.break_loop();
  };
  auto on_failure = [](BoxRef at, SocketId) { at.break_loop(); };
  EXPECT_TRUE(request.set_method("POST") && request.set_form("n", "1 2"));
  ASSERT_TRUE(request.attach(box, "http://127.0.0.1:" + port + "/a?b",
                             {.on_failure = on_failure, .on_response = on_response}));
  EXPECT_EQ(request.own_uri().port(), std::stoi(port));
  box.loop();
  EXPECT_EQ(heard, "404no");
  EXPECT_FALSE(request);

  // What an attach refuses is gone; with nothing given it stays.
  Box other = Box::make();
  HttpRequest refused = HttpRequest::make();
  EXPECT_FALSE(refused.attach(nullptr, "http://127.0.0.1:1/", {}));
  EXPECT_TRUE(refused);
  EXPECT_FALSE(refused.attach(other, "ftp://127.0.0.1/", {}));
  EXPECT_FALSE(refused);
  auto tunnel = HttpTunnel::make();
  EXPECT_FALSE(tunnel.attach(other, {.host = "127.0.0.1", .port = 2}, "h", 1, {}));
}

TEST(Face, HttpStringsAreParsed) {
  auto filter = HttpRequestFilter::make();
  EXPECT_TRUE(filter.write("POST / HTTP/1.1\r\nA: b\r\nContent-Length: 2\r\n\r\nhi"));
  HttpMessage message = filter.next();
  EXPECT_EQ(message.status, KIV_HTTP_COMPLETE);
  EXPECT_EQ(message.body.size(), 2);
  EXPECT_TRUE(message.table.rewind_fields() && message.table.next_field()->value == "b");
  EXPECT_FALSE(filter.next().table);
  const HttpTable form = HttpTable::parse_form("a=b+c");
  EXPECT_TRUE(form.rewind_form() && form.next_form()->raw == "b c" && !form.next_form());

  const Uri uri = Uri::parse("http://ann@h.example:81/a%20b?c#d");
  EXPECT_TRUE(uri.user() == "ann" && uri.host() == "h.example" && uri.port() == 81);
  EXPECT_TRUE(uri.request_target() == "/a%20b?c" && uri.fragment() == "d");
  EXPECT_TRUE(Uri::resolve("../x", "http://h/a/b") == "http://h/x");
  EXPECT_FALSE(Uri::parse("http://[").host());
  EXPECT_TRUE(url_escape("a b") == "a+b" && url_unescape("a+b") == "a b");
  EXPECT_TRUE(url_escape(std::string_view("ab").substr(1, 0)) == "");
  std::array<char, 8> small{};
  EXPECT_EQ(base64_encode(small, "123456"), -1) << "needs 9 bytes";
  EXPECT_EQ(base64_encode(small, "12345"), -1);
  EXPECT_EQ(base64_encode(small, "123"), 4);
  EXPECT_EQ(Form::parse("n=5&m=").number("n", 7) + Form::parse("m=").number("n", 7), 12);
}

TEST(Face, PacketsFiltersAndCiphers) {
  Packet packet = Packet::make();
  EXPECT_FALSE(packet.command());
  EXPECT_TRUE(packet.bytes().empty());
  EXPECT_TRUE(packet.start("login") && packet.add("user", "a\"b") && packet.add_custom_data("xyz"));
  PacketStream stream = PacketStream::make();
  EXPECT_TRUE(stream.write(packet.bytes()));
  std::vector<char> buffer(PacketStream::kMaxPacket);
  Packet copy = Packet::make();
  EXPECT_TRUE(copy.parse(stream.next(buffer)) && stream.next(buffer).empty());
  EXPECT_TRUE(copy.command() == "login" && copy.value("user") == "a\"b" && !copy.value("none"));
  EXPECT_EQ(copy.custom_data(buffer)->view(), "xyz");
  copy.rewind();
  EXPECT_TRUE(copy.next()->name == "user");

  const KeywordFilter filter = KeywordFilter::make();
  EXPECT_TRUE(filter.insert("bad", "why", 3) && filter.hits("b-a-d"));
  EXPECT_TRUE(filter.find("bad")->text == "why" && filter.find("bad")->tag == 3);

  std::array<char, 16> key{}, bytes{};
  ASSERT_TRUE(CipherRef::make_key(key, "secret", "session"));
  const Cipher cipher = Cipher::make(KIV_CIPHER_NONE);
  ASSERT_TRUE(cipher.restart(KIV_CIPHER_XTEA, key));
  EXPECT_EQ(cipher.encipher(bytes, "hello"), 8);
  EXPECT_TRUE(cipher.write(Data(bytes.data(), 8)));
  EXPECT_EQ(cipher.read(bytes) + cipher.read(bytes), 8 - 1);
  EXPECT_TRUE(TextRef(bytes.data()) == "hello");
}

// Both ends in one box: the client says hello, the server says it back and the client leaves.
struct VirtualEnds {
  UvServer server = UvServer::make();
  UvClient client = UvClient::make();
  BoxRef box;
  std::string heard;

  void on_connect(UvServerRef at, UvClientId id, TextRef, std::uint16_t) {
    at.accept(id, bind<&VirtualEnds::echo>(*this), bind<&VirtualEnds::forget>(*this));
  }
  void on_stranger(UvServerRef, TextRef, std::uint16_t, Buffer) {}
  void echo(UvServerRef at, Buffer data) { at.write(at.current_client(), data); }
  void forget(UvServerRef at) {
    at.remove(at.current_client());
    box.break_loop();
  }
  void on_connected(UvClientRef at) { at.write("hello"); }
  void on_data(UvClientRef, Buffer data) {
    heard = data.view();
    client.reset();
  }
  void on_failed(UvClientRef) { box.break_loop(); }
  void on_lost(UvClientRef) { box.break_loop(); }
};

TEST(Face, VirtualConnection) {
  Box box = Box::make();
  VirtualEnds ends;
  ends.box = box;
  const auto port = kiv::test::free_udp_port();
  ASSERT_TRUE((ends.server.attach_with_foreign<&VirtualEnds::on_connect, &VirtualEnds::on_stranger>(
      box, port, ends)));
  ASSERT_TRUE(ends.client.attach(box, "127.0.0.1", port, UvClientCallbacks::of(ends)));
  box.loop();
  EXPECT_EQ(ends.heard, "hello");
}

TEST(Face, FilesAndSettings) {
  const kiv::test::TempDir dir;
  const std::string path = dir.path() + "/settings";
  EXPECT_FALSE(Config::open(path));
  {
    const Log log = Log::open(path);
    EXPECT_TRUE(log.write("[a]\nk = \"%s\"\n"));
  }
  const Config config = Config::open(path);
  EXPECT_TRUE(Config::parse(nullptr) && ConfigRef::unquoted(config.value("a", "k")) == "%s");
  EXPECT_TRUE(config.set("a", "l", "2") && config.has("a", "l") && !config.has("b"));
  EXPECT_TRUE(config.rewind_groups() && config.next_group() == "a" && !config.next_group());
  EXPECT_TRUE(config.rewind_keys("a") && config.next_key()->key == "k");
  EXPECT_TRUE(config.save(path));

  const file::Content content = file::read(path);
  EXPECT_EQ(content.bytes().view(), config.text().view());
  EXPECT_EQ(content.size, file::size(path));
  EXPECT_TRUE(file::times(path) && !file::times(path + "x") && !file::read(path + "x").text);
  File open = File::open(path, ZU_FILE2_READ | ZU_FILE2_WRITE);
  std::array<char, 3> start{};
  EXPECT_EQ(open.read(start), 3);
  EXPECT_TRUE(open.write("x") && open.seek(0) == 0 && open.resize(4) && close(open) && !open);
  const MappedFile mapped = MappedFile::open(path);
  EXPECT_EQ(mapped.bytes().view(), std::string(start.data(), 3) + "x");
  EXPECT_EQ(MappedFile().bytes().size(), 0);

  int seen = 0;
  auto on_entry = [&](TextRef name, int kind, std::int64_t size) {
    EXPECT_TRUE(name == "settings" && kind == ZU_DIR1_FILE && size == 4);
    return ++seen > 1;
  };
  EXPECT_EQ(directory::walk(dir.path(), true, on_entry), 0) << "stopped";
  const std::string name = "kiv_face_" + std::to_string(zu_GetProcessId());
  SharedMemory block = SharedMemory::create(name, 8);
  EXPECT_EQ(block.size(), 8);
  {
    const std::lock_guard lock(block);
    EXPECT_FALSE(block.try_lock());
  }
  EXPECT_TRUE(SharedMemory::remove(name));
  const PidFile pid = PidFile::make(path + ".pid");
  EXPECT_EQ(PidFile::holder(path + ".pid"), zu_GetProcessId());

  const Pattern pattern = Pattern::make("*.txt");
  EXPECT_TRUE(pattern.matches("a.txt") && pattern.matches_ignoring_case("A.TXT"));
  EXPECT_EQ(parse_date(date_text(100000)), 100000);
  EXPECT_EQ(parse_date("never"), -1);
}

struct Worker {
  std::string calls;
  bool start() {
    calls += "start ";
    return true;
  }
  void work() { calls += "work"; }
  void stop() { calls += " stopped"; }
};

TEST(Face, ServiceRuns) {
  Worker worker;
  EXPECT_TRUE(run_service("kiv_face_test", worker));
  EXPECT_EQ(worker.calls, "start work");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const kiv::Library library;
  return RUN_ALL_TESTS();
}
