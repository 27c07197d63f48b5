// The HTTP server over real connections.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/sockets.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::Socket;
using kiv::test::tcp_connect;

// What the application saw, in order.
class Events {
 public:
  void add(const std::string& event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    more_.notify_all();
  }
  // The next event that was not asked for yet.
  std::string next() {
    std::unique_lock lock(mutex_);
    if (!more_.wait_for(lock, std::chrono::seconds(20), [&] { return asked_ < events_.size(); })) {
      return "(nothing)";
    }
    return events_[asked_++];
  }

 private:
  std::mutex mutex_;
  std::condition_variable more_;
  std::vector<std::string> events_;
  std::size_t asked_ = 0;
};

// A box with its loop on a thread of its own, and a server on it.
class HttpServer : public testing::Test {
 protected:
  HttpServer() {
    std::promise<kiv_box*> made;
    loop_ = std::thread([&] {
      kiv_box* const box = kiv_box_new();
      made.set_value(box);
      kiv_box_loop(box);
    });
    box_ = made.get_future().get();
    server_ = kiv_http_server_make();
    port_ = kiv::test::free_tcp_port();
  }
  ~HttpServer() override {
    kiv_http_server_free(server_);
    kiv_box_BreakLoop(box_);
    loop_.join();
  }

  void listen() { ASSERT_EQ(kiv_http_server_attach(box_, server_, port_, on_accept, this), 1); }

  // A connection in service.
  Socket connect() {
    Socket client = tcp_connect(port_);
    EXPECT_EQ(events_.next(), "accept 1 0");  // the second time it is a client already
    return client;
  }

  static void KIV_CALL on_accept(kiv_http_server* server, void* user, std::int32_t socket,
                                 const char* peer_ip, std::uint16_t peer_port) {
    auto* self = static_cast<HttpServer*>(user);
    EXPECT_STREQ(peer_ip, "127.0.0.1");
    EXPECT_NE(peer_port, 0);
    std::string event = "ignored";
    if (self->free_on_accept_) kiv_http_server_free(server);
    if (self->serve_) {
      auto accept = [&] {
        return kiv_http_server_AcceptClient(server, socket, on_request, user, on_close, user);
      };
      event = "accept " + std::to_string(accept());
      event += " " + std::to_string(accept());
    }
    self->events_.add(event);
  }

  static void KIV_CALL on_request(kiv_http_server* server, void* user, std::int32_t socket,
                                  kiv_http_table* request, zu_jitter* body) {
    auto* self = static_cast<HttpServer*>(user);
    const std::string target = kiv_http_table_GetRequest(request);
    std::string bytes(static_cast<std::size_t>(zu_jitter_GetLen(body)), '\0');
    zu_jitter_GetData(body, bytes.data(), static_cast<std::int32_t>(bytes.size()));
    if (target == "/free") kiv_http_server_free(server);
    if (target == "/delete") kiv_http_server_DeleteClient(server, socket);
    if (target == "/answer") kiv_box_TcpWrite(self->box_, socket, "answer", 6);
    self->events_.add(target + ">" + bytes);
  }

  static void KIV_CALL on_close(kiv_http_server* server, void* user, std::int32_t socket) {
    auto* self = static_cast<HttpServer*>(user);
    EXPECT_EQ(self->delete_on_close_ ? kiv_http_server_DeleteClient(server, socket) : 1, 1);
    self->events_.add("close");
  }

  static std::string get(const std::string& target) {
    return "GET " + target + " HTTP/1.1\r\n\r\n";
  }

  Events events_;
  std::thread loop_;
  kiv_box* box_ = nullptr;
  kiv_http_server* server_ = nullptr;
  std::uint16_t port_ = 0;
  bool serve_ = true, free_on_accept_ = false, delete_on_close_ = true;
};

TEST_F(HttpServer, DeliversOneRequestForEachRead) {
  listen();
  Socket client = connect(), other = connect();
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  client.send(get("/1") + get("/2") + get("/3"));
  EXPECT_EQ(events_.next(), "/1>");
  other.send(get("/answer"));
  EXPECT_EQ(events_.next(), "/answer>");  // deliberate: /2 waits for data on its own connection
  EXPECT_EQ(other.receive(6), "answer");
  client.send("P");
  EXPECT_EQ(events_.next(), "/2>");
  client.send("OST /4 HTTP/1.1\r\nContent-Length: 3\r\n\r\n1");
  EXPECT_EQ(events_.next(), "/3>");
  client.send("23");
  EXPECT_EQ(events_.next(), "/4>123");
}

TEST_F(HttpServer, DropsConnectionsNobodyTookAtTheirFirstData) {
  serve_ = false;
  listen();
  Socket client = tcp_connect(port_);
  EXPECT_EQ(events_.next(), "ignored");
  client.send("G");
  EXPECT_EQ(client.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
}

TEST_F(HttpServer, ReportsClosedAndBrokenStreams) {
  listen();
  connect().close();
  EXPECT_EQ(events_.next(), "close");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  Socket client = connect();
  kiv::test::printed_by([&] {
    client.send("HTTP/1.1 200 OK\r\n\r\n");
    EXPECT_EQ(events_.next(), "close");
  });
  EXPECT_EQ(client.receive_to_end(), "");
  delete_on_close_ = false;  // the client stays, and so does its fault
  client = connect();
  client.send(std::string(5120, 'x'));
  EXPECT_EQ(events_.next(), "close");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 1);
  client.send(get("/"));
  EXPECT_EQ(events_.next(), "close");
}

TEST_F(HttpServer, TooManyWaitingRequestsAreABrokenStream) {
  listen();
  Socket client = connect();
  std::string many;
  for (int i = 0; i < 3000; ++i) many += get("/");
  client.send(many);
  std::string event;
  do event = events_.next();
  while (event == "/>");
  EXPECT_EQ(event, "close");
}

TEST_F(HttpServer, CallbacksMayDeleteTheClientAndFreeTheServer) {
  listen();
  Socket deleted = connect(), freeing = connect(), other = connect();
  deleted.send(get("/delete") + get("/x"));
  EXPECT_EQ(events_.next(), "/delete>");
  EXPECT_EQ(deleted.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  freeing.send(get("/free"));
  EXPECT_EQ(events_.next(), "/free>");
  EXPECT_EQ(other.receive_to_end() + freeing.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_) + kiv_http_server_free(server_) +
                kiv_http_server_DeleteClient(server_, 1) +
                kiv_http_server_attach(box_, server_, port_, on_accept, this),
            0);
}

TEST_F(HttpServer, AServerFreedOnAcceptLeavesNoConnectionBehind) {
  free_on_accept_ = true;
  listen();
  Socket client = tcp_connect(port_);
  EXPECT_EQ(events_.next(), "accept 0 0");
  client.send("G");
  EXPECT_EQ(client.receive_to_end(), "");
}

TEST_F(HttpServer, AttachingAgainReleasesWhatWas) {
  listen();
  Socket client = connect();
  port_ = kiv::test::free_tcp_port();
  listen();
  EXPECT_EQ(client.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  client = connect();
  client.send(get("/answer"));
  EXPECT_EQ(client.receive(6), "answer");
}

TEST_F(HttpServer, RefusesBadArguments) {
  Socket taken = kiv::test::tcp_listener();
  EXPECT_EQ(kiv_http_server_attach(box_, server_, 0, on_accept, this), 0);
  EXPECT_EQ(kiv_http_server_attach(box_, server_, port_, nullptr, this), 0);
  EXPECT_EQ(kiv_http_server_attach(nullptr, server_, port_, on_accept, this), 0);
  EXPECT_EQ(kiv_http_server_attach(box_, nullptr, port_, on_accept, this), 0);
  EXPECT_EQ(kiv_http_server_attach(box_, server_, taken.local_port(), on_accept, this), 0);
  listen();
  EXPECT_EQ(kiv_http_server_AcceptClient(server_, -1, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(kiv_http_server_DeleteClient(server_, 1 << 30), 0);
  EXPECT_EQ(kiv_http_server_NumClients(nullptr), 0);
  EXPECT_EQ(kiv_http_server_free(nullptr), 0);
}

}  // namespace
