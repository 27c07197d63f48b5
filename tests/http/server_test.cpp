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
      accepted += kiv_http_server_AcceptClient(server, socket, on_request, user,
                                               self->tell_close_ ? on_close : nullptr, user);
    }
    self->accepted_ = socket;
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

  static void KIV_CALL on_other(void*, void*, std::int32_t) {}
  static void KIV_CALL on_read(void*, void* user, std::int32_t, char* data, std::int32_t) {
    static_cast<HttpServer*>(user)->add(data);
  }

  static std::string get(const char* path) { return "GET " + (path + kEndOfHead); }

  kiv_http_server* server_ = kiv_http_server_make();
  std::uint16_t port_ = kiv::test::free_tcp_port();
  bool serve_ = true, free_on_accept_ = false, delete_on_close_ = true, tell_close_ = true;
  std::atomic<std::int32_t> accepted_ = 0;
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

// At their first data or end, when told to, and with their server.
TEST_F(HttpServer, DropsConnectionsThatWereNotAccepted) {
  listen();
  serve_ = false;
  Socket sending = tcp_connect(port_);
  EXPECT_EQ(next(), "accept 0");
  sending.send("G");
  EXPECT_EQ(sending.receive_to_end(), "");
  tcp_connect(port_).close();
  EXPECT_EQ(next(), "accept 0");
  EXPECT_TRUE(kiv::test::eventually([&] { return kiv_box_GetNumSock(box_) == 3; }));
  const Socket kept = tcp_connect(port_), deleted = tcp_connect(port_);
  EXPECT_EQ(next() + next(), "accept 0accept 0");
  EXPECT_EQ(kiv_http_server_DeleteClient(server_, accepted_), 0);
  EXPECT_EQ(deleted.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  free_on_accept_ = serve_ = true;
  const Socket freeing = tcp_connect(port_);
  EXPECT_EQ(next(), "accept 0");
  EXPECT_EQ(freeing.receive_to_end() + kept.receive_to_end(), "");
  EXPECT_TRUE(kiv::test::eventually([&] { return box_is_empty(); }));
}

// The box has read for a socket when another thread deletes it and gets its number for another.
TEST_F(HttpServer, LateHandlersLeaveTheSocketsOfOthersAlone) {
  listen();
  const Socket client = connect();
  Socket served(accepted_);
  __kiv_sem_lock(server_);
  client.send("G");
  kiv::test::eventually([&] { return !served.readable_within(0); });
  kiv_http_server_DeleteClient(server_, served.release());
  const int innocent = kiv_box_NewTcpClient(box_, "127.0.0.1", listener_.local_port(), on_other,
                                            this, on_other, this, on_read, this, on_other, this);
  __kiv_sem_unlock();
  EXPECT_GT(innocent, 0);
  tcp_accept(listener_).send("read");
  EXPECT_EQ(next_to("read"), "read");
}

// A connection to the port of old is under way when another thread attaches the server again.
TEST_F(HttpServer, LateConnectionsToAnEarlierPortAreClosed) {
  listen();
  __kiv_sem_lock(server_);
  const std::int32_t idle = kiv_box_GetThisSockId(box_);
  const Socket late = tcp_connect(port_);
  kiv::test::eventually([&] { return kiv_box_GetThisSockId(box_) != idle; });
  port_ = kiv::test::free_tcp_port();
  listen();
  __kiv_sem_unlock();
  EXPECT_EQ(late.receive_to_end(), "");
  connect();
}

TEST_F(HttpServer, ReportsClosedAndBrokenStreams) {
  listen();
  connect().close();
  EXPECT_EQ(next(), "close");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  delete_on_close_ = false;  // the client stays, and so does its fault
  Socket client = connect(), flooding = connect();
  client.send(get("/1") +
              "POST /2 HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n");
  EXPECT_EQ(next_to("close"), "/1>/2>close");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  client.send(get("/"));
  EXPECT_EQ(next(), "close");
  std::string many;
  for (int i = 0; i < 284; ++i) many += get("/");           // fits into one read
  for (std::size_t count : {284U, 284U, 284U, 151U, 2U}) {  // 1000 may wait
    flooding.send(many.substr(0, count * get("/").size()));
    EXPECT_EQ(next(), count == 2 ? "close" : "/>");
  }
  tell_close_ = false;
  connect().close();
  EXPECT_TRUE(kiv::test::eventually([&] { return kiv_http_server_NumClients(server_) == 2; }));
}

TEST_F(HttpServer, CallbacksMayDeleteTheClientAndFreeTheServer) {
  listen();
  Socket deleted = connect(), freeing = connect(), other = connect();
  deleted.send(get("/delete") + get("/x") + "\r\n\r\n");
  EXPECT_EQ(next(), "/delete>");
  EXPECT_EQ(deleted.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 2);
  freeing.send(get("/free") + "\r\n\r\n");
  EXPECT_EQ(next(), "/free>");
  EXPECT_EQ(other.receive_to_end() + freeing.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_) + kiv_http_server_free(server_), 0);
  // Nor is it one again when an object of another type gets its address.
  kiv_http_request* const request = kiv_http_request_make();
  EXPECT_EQ(kiv_http_server_free(reinterpret_cast<kiv_http_server*>(request)), 0);
  EXPECT_EQ(kiv_http_request_free(request), 1);
}

TEST_F(HttpServer, AttachingAgainReleasesWhatWas) {
  EXPECT_EQ(kiv_http_server_attach(box_, server_, 0, on_accept, this), 0);
  EXPECT_EQ(kiv_http_server_attach(box_, server_, port_, nullptr, this), 0);
  listen();
  const Socket taken = kiv::test::tcp_listener(), client = connect();
  EXPECT_EQ(kiv_http_server_attach(box_, server_, taken.local_port(), on_accept, this), 0);
  EXPECT_EQ(client.receive_to_end(), "");
  EXPECT_EQ(kiv_http_server_NumClients(server_), 0);
  for (int i = 0; i < 100; ++i) listen();  // on the port that the loop waits for
  const Socket again = connect();
  again.send(get("/answer"));
  EXPECT_EQ(again.receive(6), "answer");
}

}  // namespace
