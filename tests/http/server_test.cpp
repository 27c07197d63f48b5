// The HTTP server over real connections.
#include <string>

#include "tests/http/box_test.h"
#include "tests/http/stream.h"
#include "tests/support/sockets.h"

namespace {

using kiv::test::Socket;
using kiv::test::tcp_connect;

const std::string kEndOfHead = " HTTP/1.1\r\n\r\n";

// A server on a box.
class HttpServer : public kiv::test::BoxTest {
 protected:
  ~HttpServer() override {
    end_loop();
    kiv_http_server_free(server_);
  }

  void listen() { ASSERT_EQ(kiv_http_server_attach(box_, server_, port_, on_accept, this), 1); }

  // A connection in service.
  Socket connect() {
    Socket client = tcp_connect(port_);
    EXPECT_EQ(next(), "accept 1");
    return client;
  }

  static void KIV_CALL on_accept(kiv_http_server* server, void* user, std::int32_t socket,
                                 const char* peer_ip, std::uint16_t peer_port) {
    auto* self = static_cast<HttpServer*>(user);
    EXPECT_TRUE(peer_ip == std::string("127.0.0.1") && peer_port != 0);
    if (self->free_on_accept_) kiv_http_server_free(server);
    int accepted = 0;
    for (int times = 0; self->serve_ && times < 2; ++times) {  // the second time it is known
      accepted += kiv_http_server_AcceptClient(server, socket, on_request, user, on_close, user);
    }
    self->add("accept " + std::to_string(accepted));
  }

  static void KIV_CALL on_request(kiv_http_server* server, void* user, std::int32_t socket,
                                  kiv_http_table* request, zu_jitter* body) {
    auto* self = static_cast<HttpServer*>(user);
    const std::string target = kiv_http_table_GetRequest(request), bytes = kiv::test::taken(body);
    if (target == "/free") kiv_http_server_free(server);
    if (target == "/delete") kiv_http_server_DeleteClient(server, socket);
    if (target == "/answer") kiv_box_TcpWrite(self->box_, socket, "answer", 6);
    self->add(target + ">" + bytes);
  }

  static void KIV_CALL on_close(kiv_http_server* server, void* user, std::int32_t socket) {
    auto* self = static_cast<HttpServer*>(user);
    EXPECT_EQ(self->delete_on_close_ ? kiv_http_server_DeleteClient(server, socket) : 1, 1);
    self->add("close");
  }

  static std::string get(const char* path) { return "GET " + (path + kEndOfHead); }

  kiv_http_server* server_ = kiv_http_server_make();
  std::uint16_t port_ = kiv::test::free_tcp_port();
  bool serve_ = true, free_on_accept_ = false, delete_on_close_ = true;
};

TEST_F(HttpServer, DeliversOneRequestForEachRead) {
  listen();
  Socket client = connect(), other = connect();
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  client.send(get("/1") + get("/2") + get("/3"));
  EXPECT_EQ(next(), "/1>");
  other.send(get("/answer"));
  EXPECT_EQ(next(), "/answer>");  // deliberate: /2 waits for data on its own connection
  EXPECT_EQ(other.receive(6), "answer");
  client.send("P");
  EXPECT_EQ(next(), "/2>");
  client.send("OST /4 HTTP/1.1\r\nContent-Length: 3\r\n\r\n1");
  EXPECT_EQ(next(), "/3>");
  client.send("23");
  EXPECT_EQ(next(), "/4>123");
}

// Not passed on by the application, or by one that freed its server instead.
TEST_F(HttpServer, DropsConnectionsNobodyTookAtTheirFirstData) {
  listen();
  serve_ = false;
  for (bool free : {false, true}) {
    free_on_accept_ = serve_ = free;
    Socket client = tcp_connect(port_);
    EXPECT_EQ(next(), "accept 0");
    client.send("G");
    EXPECT_EQ(client.receive_to_end(), "");
  }
}

TEST_F(HttpServer, ReportsClosedAndBrokenStreams) {
  listen();
  connect().close();
  EXPECT_EQ(next(), "close");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  delete_on_close_ = false;  // the client stays, and so does its fault
  Socket client = connect(), flooding = connect();
  client.send("HTTP/1.1 200 OK\r\n\r\n");
  EXPECT_EQ(next(), "close");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  client.send(get("/"));
  EXPECT_EQ(next(), "close");
  std::string many, event;  // more than may wait
  for (int i = 0; i < 3000; ++i) many += get("/");
  flooding.send(many);
  do event = next();
  while (event == "/>");
  EXPECT_EQ(event, "close");
}

TEST_F(HttpServer, CallbacksMayDeleteTheClientAndFreeTheServer) {
  listen();
  Socket deleted = connect(), freeing = connect(), other = connect();
  deleted.send(get("/delete") + get("/x"));
  EXPECT_EQ(next(), "/delete>");
  EXPECT_EQ(deleted.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  freeing.send(get("/free"));
  EXPECT_EQ(next(), "/free>");
  EXPECT_EQ(other.receive_to_end() + freeing.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_) + kiv_http_server_free(server_), 0);
}

TEST_F(HttpServer, AttachingAgainReleasesWhatWas) {
  EXPECT_EQ(kiv_http_server_attach(box_, server_, 0, on_accept, this), 0);
  EXPECT_EQ(kiv_http_server_attach(box_, server_, port_, nullptr, this), 0);
  listen();
  const Socket taken = kiv::test::tcp_listener(), client = connect();
  EXPECT_EQ(kiv_http_server_attach(box_, server_, taken.local_port(), on_accept, this), 0);
  EXPECT_EQ(client.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  listen();
  const Socket again = connect();
  again.send(get("/answer"));
  EXPECT_EQ(again.receive(6), "answer");
}

}  // namespace
