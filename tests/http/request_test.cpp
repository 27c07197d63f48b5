// Requests to a server that the test plays.
#include "tests/http/box_test.h"
#include "tests/http/stream.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::Socket;

class Client : public kiv::test::BoxTest {
 protected:
  ~Client() override {
    end_loop();
    kiv_http_request_free(request_);
  }

  std::string url(const std::string& rest) {
    return "http://127.0.0.1:" + std::to_string(listener_.local_port()) + rest;
  }
  int attach(const std::string& to, const char* proxy = nullptr, int proxy_port = 0) {
    return kivx_http_request_attach(box_, 7, request_, to.c_str(), proxy, proxy_port, nullptr,
                                    nullptr, on_socket<0>, this, on_response, this, on_socket<1>,
                                    this);
  }
  Socket attach_and_accept() {
    EXPECT_EQ(attach(url("/")), 1);
    return kiv::test::tcp_accept(listener_);
  }
  static std::string request_from(const Socket& server, std::size_t form_length) {
    const std::string head = head_from(server);
    return head + server.receive(form_length);
  }

  // Events are "failure", "close", and "<status>:<body>" for an answer.
  void note(const std::string& name, const std::string& rest = "") {
    if (name == free_at_) kiv_http_request_free(request_);
    add(name + rest);
  }
  template <int Which>
  static void KIV_CALL on_socket(void* user, kiv_box* box, std::int32_t socket) {
    EXPECT_GT(socket, 0) << "also when it has been closed";
    EXPECT_EQ(box, static_cast<Client*>(user)->box_);
    static_cast<Client*>(user)->note(Which == 0 ? "failure" : "close");
  }
  static void KIV_CALL on_response(void* user, kiv_box*, std::int32_t, const char* from,
                                   kiv_http_table* response, zu_jitter* body, std::int32_t status) {
    auto* self = static_cast<Client*>(user);
    const char* const next = kiv_http_table_GetField(response, "Location");
    if (next != nullptr) self->attach(self->url(next));
    const std::string bytes = kiv::test::taken(body);
    self->got_ += bytes;
    self->note(std::to_string(status), ":" + (self->show_url_ ? from : bytes));
  }
  kiv_http_request* request_ = kiv_http_request_make();
  std::string free_at_, got_;
  bool show_url_ = false;
};

TEST_F(Client, SendsDefaultsAndSettingsAndTheForm) {
  const std::string rest =
      "Accept: text/xml,application/xml,application/xhtml+xml,text/html;q=0.9,text/plain;q=0.8,"
      "image/gif,image/x-xbitmap,image/jpeg,image/png,*/*;q=0.5\r\n"
      "Accept-Language: zh-cn,zh;q=0.5\r\nAccept-Charset: GB2312,utf-8;q=0.7,*;q=0.7\r\n"
      "Keep-Alive: 300\r\nConnection: ";
  ASSERT_EQ(attach(url("/a%20b?c=%20 ")), 1);
  EXPECT_EQ(head_from(kiv::test::tcp_accept(listener_)),
            "GET /a%20b?c=%20 HTTP/1.1\r\nHost: 127.0.0.1\r\nUser-Agent: Mozilla/5.0 (compatible; "
            "MSIE6.0; MSIE 7.0; Windows NT 5.1) Gecko/20071127\r\n" +
                rest + "Keep-Alive\r\n\r\n");
  kiv_http_request_SetField(request_, "X", "y");
  kiv_http_request_SetField(request_, "USER-AGENT", "me");
  kiv_http_request_SetField(request_, "connection", "close");
  for (const char* value : {"longer & longer", "c d"}) {
    EXPECT_EQ(kiv_http_request_SetForm(request_, "a", value), 1);
  }
  kiv_http_request_SetForm(request_, "gone", "x");
  EXPECT_EQ(kiv_http_request_UnsetForm(request_, "gone"), 1);
  EXPECT_EQ(kiv_http_request_UnsetField(request_, "gone"), 0);
  const std::string fields = "Host: h.example\r\nUSER-AGENT: me\r\n" +
                             rest.substr(0, rest.size() - 12) + "connection: close\r\nX: y\r\n";
  // deliberate: the same target to a proxy; a form of any method; only a POST tells its length
  ASSERT_EQ(attach("http://h.example:81/..", "127.0.0.1", listener_.local_port()), 1);
  const Socket get = kiv::test::tcp_accept(listener_);
  EXPECT_EQ(request_from(get, 5), "GET  HTTP/1.1\r\n" + fields + "\r\na=c+d");
  EXPECT_EQ(kiv_http_request_SetMethod(request_, "POST"), 1);
  ASSERT_EQ(attach("h.example/x", "127.0.0.1", listener_.local_port()), 1);
  const Socket post = kiv::test::tcp_accept(listener_);
  EXPECT_EQ(
      request_from(post, 5),
      "POST /x HTTP/1.1\r\n" + fields +
          "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 5\r\n\r\na=c+d");
}

TEST_F(Client, TakesAnswersInAnyPieces) {
  const std::string ok = "HTTP/1.1 200 OK\r\n", more(5120, 'm');
  const std::string chunked = "HTTP/1.0 404 Not Found\r\nTransfer-Encoding: chunked\r\n\r\n";
  const struct {
    std::string answer, body, last;
  } cases[] = {
      {ok + "Content-Length: 5\r\n\r\nhello", "hello", "13"},
      {ok + "A: b\r\n\r\n", "", "13"},
      {chunked + "1400\r\n" + more + "\r\n1;x=y\r\nz\r\n0\r\n\r\n", more + "z", "13"},
      {ok + "Connection: close\r\n\r\nhello", "hello", "close"},
      {ok + "Content-Length: 9\r\n\r\nhello", "hello", "close"},
      {ok + "Content-Le", "", "close"},
      {chunked + "5\r\nhello\r\n+++\r\n", "hello", "failure"},
      {chunked + "80000000\r\n", "", "failure"},
      {ok + "A: " + more + "\r\n\r\n", "", "failure"},
      {"HTTP/2 200 OK\r\nA: b\r\n\r\n", "", "failure"},
  };
  Socket server;  // closed when the next exchange has begun
  for (const auto& each : cases) {
    for (const std::size_t size : {each.answer.size(), std::size_t{1}}) {
      std::string event;
      kiv::test::printed_by([&] {
        got_.clear();
        server = attach_and_accept();
        head_from(server);
        for (std::size_t at = 0; at < each.answer.size(); at += size) {
          server.send(each.answer.substr(at, size));
        }
        if (each.last == "close") server.close();
        do event = next();
        while (!event.starts_with(each.last) && event != "(nothing)");
      });
      EXPECT_TRUE(event.starts_with(each.last)) << event << " for " << each.answer;
      // A part of a body that came in the same read as the fault is lost, however much that was.
      const bool cut = each.last == "failure" && each.body.starts_with(got_);
      EXPECT_TRUE(got_ == each.body || cut) << got_ << " for " << each.answer;
      EXPECT_EQ(kiv_box_GetNumTimer(box_), 1);
    }
  }
}

TEST_F(Client, DeliversOneAnswerForEachRead) {
  show_url_ = true;
  Socket server = attach_and_accept();
  const std::string answer = "HTTP/1.1 100 Continue\r\nA: b\r\n\r\n";
  server.send(answer + answer);
  EXPECT_EQ(next(), "13:" + url("/"));
  show_url_ = false;
  server.send("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nab");
  EXPECT_EQ(next(), "13:");  // deliberate: the second waited for this
  server.send("c");
  EXPECT_EQ(next(), "12:abc");
  server.send("d");
  EXPECT_EQ(next(), "13:d");
  // What is complete comes before the fault, however the bytes are cut.
  server.send(answer + answer + "\r\n\r\n");
  kiv::test::printed_by([&] { EXPECT_EQ(next_to("failure"), "13:13:failure"); });
  server = attach_and_accept();
  std::string flood;
  for (int i = 0; i < 1200; ++i) flood += answer;
  server.send(flood);
  EXPECT_TRUE(next_to("failure").starts_with("13:13:"));
  EXPECT_TRUE(box_is_empty());
}

TEST_F(Client, RejectsUrlsAndThenFreesTheRequest) {
  const struct {
    const char* url;
    char error;
  } cases[] = {{"http://h/a b", '1'},
               {"?x", '3'},
               {"//h/x", '4'},
               {"http://my_host/x", '4'},
               {" http:\\\\[::1]", '4'},
               {"https://h/", '5'},
               {"http://127.0.0.1:2/", 'h'}};
  for (const auto& each : cases) {
    const std::string printed = kiv::test::printed_by([&] { EXPECT_EQ(attach(each.url), 0); });
    const std::string expected = std::string("error: url(") + each.url + ") error " + each.error +
                                 "!\nerror: http 'URL' parse error in kivx_http_request_make()!\n";
    EXPECT_EQ(printed, each.error == 'h'
                           ? "error: host '127.0.0.1:2' error in kivx_http_request_make()!\n"
                           : expected);
    EXPECT_EQ(kiv_http_request_free(request_), 0);
    request_ = kiv_http_request_make();
  }
  EXPECT_EQ(kiv::test::printed_by([&] { EXPECT_EQ(attach("h/", "127.0.0.1", 65616), 0); }),
            "error: proxy '127.0.0.1:65616' error in kivx_http_request_make()!\n");
  EXPECT_EQ(kiv_http_request_GetBox(request_), nullptr);
  EXPECT_TRUE(box_is_empty());
}

TEST_F(Client, ReturnsWhatItWasAttachedTo) {
  const std::string text = "localhost:" + std::to_string(listener_.local_port()) + "/x?y";
  EXPECT_EQ(kiv_http_request_GetUrl(request_), nullptr);
  ASSERT_EQ(attach(text), 1);
  kiv_uri* uri = kiv_http_request_GetUri(request_);
  char* shown = kiv_http_request_GetUrl(request_);
  EXPECT_EQ(shown, "http://" + text);
  EXPECT_STREQ(kiv_uri_GetQuery(uri), kiv_uri_GetQuery(kiv_http_request_GetUri_in(request_)));
  EXPECT_EQ(kiv_http_request_GetBox(request_), box_);
  kiv_uri_free(uri);
  _zu_free(shown);
}

// An answer may come, and the connection end, long before all is sent.
TEST_F(Client, SendsWhatAShortWriteLeftOver) {
  const std::string large(8000000, 'f');
  kiv_http_request_SetMethod(request_, "POST");
  kiv_http_request_SetForm(request_, "large", large.c_str());
  Socket server = attach_and_accept();
  EXPECT_NE(head_from(server).find("Content-Length: 8000006\r\n"), std::string::npos);
  server.send("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\na");
  EXPECT_EQ(next(), "12:a");
  EXPECT_EQ(server.receive(8000006), "large=" + large);
  server.send("bc");
  EXPECT_EQ(next(), "13:bc");
  server = attach_and_accept();
  head_from(server);
  server.close();
  EXPECT_EQ(next(), "close");
  EXPECT_EQ(kiv_http_request_free(request_), 1);
  EXPECT_TRUE(box_is_empty());
}

TEST_F(Client, MayBeFreedInEachOfItsCallbacks) {
  const kiv::test::StdoutCapture capture;
  for (const char* event : {"13", "close", "failure"}) {
    free_at_ = event;
    Socket server = attach_and_accept();
    head_from(server);
    const std::string answer = "HTTP/1.1 200 OK\r\nA: b\r\n\r\n", fault = "\r\n\r\n";
    if (free_at_ == "close") {
      server.send(answer);
      server.close();
    } else {
      server.send(free_at_ == "failure" ? fault : answer + fault);
    }
    while (!next().starts_with(event)) {
    }
    EXPECT_TRUE(box_is_empty()) << event;
    EXPECT_EQ(attach(url("/")) + kiv_http_request_SetMethod(request_, "x"), 0);
    request_ = kiv_http_request_make();
  }
}

TEST_F(Client, MayBeAttachedAgainAlsoInItsCallback) {
  const Socket first = attach_and_accept();
  head_from(first);
  const Socket second = attach_and_accept();
  EXPECT_EQ(first.receive_to_end(), "");
  head_from(second);
  second.send("HTTP/1.1 302 Found\r\nLocation: /elsewhere\r\n\r\n\r\n\r\n");  // the fault goes too
  EXPECT_TRUE(head_from(kiv::test::tcp_accept(listener_)).starts_with("GET /elsewhere "));
  EXPECT_EQ(second.receive_to_end(), "");
  EXPECT_EQ(kiv_box_GetNumSock(box_), 3);
}

TEST_F(Client, MayBeAttachedAndFreedByAnyThread) {
  attach_and_free_by_threads(
      "HTTP/1.1 200 OK\r\nContent-Length: 90000\r\n\r\n" + std::string(90000, 'x'),
      [&] {
        kiv_http_request_SetForm(request_, "a", "b");
        attach(url("/"));
      },
      [&] {
        EXPECT_EQ(kiv_http_request_free(request_), 1);
        request_ = kiv_http_request_make();
      });
}

}  // namespace
