// The client and the tunnel against servers that nobody here wrote; see with_servers.
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/http/stream.h"
#include "tests/support/sockets.h"

namespace kiv::test {
namespace {

std::uint16_t port_in(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? std::uint16_t{0} : static_cast<std::uint16_t>(std::atoi(text));
}

std::string line_with(const std::string& text, const std::string& name) {
  const std::size_t at = text.find(name);
  return at == std::string::npos ? "" : text.substr(at, text.find("\r\n", at) - at);
}

// The lines of `seq 1 last`.
std::string numbers(int last) {
  std::string all;
  for (int i = 1; i <= last; ++i) all.append(std::to_string(i)).append(1, '\n');
  return all;
}

// A box on this thread: its loop ends with the last exchange.
class Peers : public testing::Test {
 protected:
  Peers() { EXPECT_NE(nginx_, 0) << "run this by with_servers"; }
  ~Peers() override { kiv_box_free(box_); }

  struct Exchange {
    Peers* test = nullptr;
    kiv_http_request* request = kiv_http_request_make();
    int code = 0;      // of the answer
    std::string body;  // all its pieces
    std::string end;   // "13" complete, "close", "failure"
    std::size_t pieces = 0;
    std::string location;

    ~Exchange() { kiv_http_request_free(request); }
    void finish(const std::string& how) {
      end = how;
      if (--test->running_ == 0) kiv_box_BreakLoop(test->box_);
    }
    template <bool Closed>
    static void KIV_CALL on_socket(void* self, kiv_box*, std::int32_t) {
      static_cast<Exchange*>(self)->finish(Closed ? "close" : "failure");
    }
    static void KIV_CALL on_response(void* self_, kiv_box*, std::int32_t, const char*,
                                     kiv_http_table* table, zu_jitter* body, std::int32_t status) {
      auto* self = static_cast<Exchange*>(self_);
      self->code = kiv_http_table_GetStatusValue(table);
      self->body += taken(body);
      ++self->pieces;
      if (const char* to = kiv_http_table_GetField(table, "Location")) self->location = to;
      if (status == KIV_HTTP_COMPLETE && self->end.empty()) self->finish("13");
    }
  };

  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(nginx_) + path;
  }
  std::unique_ptr<Exchange> make() {
    auto exchange = std::make_unique<Exchange>();
    exchange->test = this;
    return exchange;
  }
  void start(Exchange& exchange, const std::string& path, std::uint16_t proxy = 0) {
    ++running_;
    EXPECT_EQ(kivx_http_request_attach(box_, 0, exchange.request, url(path).c_str(),
                                       proxy != 0 ? "127.0.0.1" : nullptr, proxy, nullptr, nullptr,
                                       Exchange::on_socket<false>, &exchange, Exchange::on_response,
                                       &exchange, Exchange::on_socket<true>, &exchange),
              1);
  }
  std::unique_ptr<Exchange> fetch(const std::string& path, const char* field = nullptr,
                                  const char* value = nullptr) {
    auto exchange = make();
    if (field != nullptr) kiv_http_request_SetField(exchange->request, field, value);
    start(*exchange, path);
    run();
    return exchange;
  }
  // The loop frees its box.
  void run() {
    kiv_box_loop(box_);
    box_ = kiv_box_new();
  }

  const std::uint16_t nginx_ = port_in("KIV_NGINX_PORT");
  const std::uint16_t proxy_ = port_in("KIV_PROXY_PORT");
  kiv_box* box_ = kiv_box_new();
  int running_ = 0;
};

TEST_F(Peers, BodiesByLengthByChunksAndUntilTheEnd) {
  const auto plain = fetch("/hello.txt");
  EXPECT_EQ(plain->body, "hello from a file\n");
  EXPECT_EQ(plain->end, "13") << "nginx keeps the connection";
  const auto nothing = fetch("/empty.txt");
  EXPECT_EQ(nothing->body + nothing->end, "13");
  std::string included = "hello from a file\n" + numbers(20000);
  included.pop_back();
  const auto chunked = fetch("/included.html");
  EXPECT_TRUE(chunked->body == included) << chunked->body.size();
  EXPECT_EQ(chunked->end, "13");
  const auto until_close = fetch("/until_close/included.html");
  EXPECT_TRUE(until_close->body == included) << until_close->body.size();
  EXPECT_EQ(until_close->end, "close");
  const auto large = fetch("/large.txt");
  EXPECT_TRUE(large->body == numbers(4000000)) << large->body.size();
  EXPECT_GT(large->pieces, 100U) << "handed on as it comes";
}

TEST_F(Peers, Statuses) {
  const auto missing = fetch("/none"), broken = fetch("/broken"), moved = fetch("/moved");
  EXPECT_EQ(missing->code, 404);
  EXPECT_EQ(broken->code, 500);
  EXPECT_EQ(broken->body, "it broke");
  EXPECT_EQ(moved->code, 302);
  EXPECT_EQ(moved->location, url("/hello.txt"));
  const auto unchanged = fetch("/hello.txt", "If-Modified-Since", "Thu, 01 Jan 2037 00:00:00 GMT");
  EXPECT_EQ(unchanged->code, 304);
  EXPECT_EQ(unchanged->body + unchanged->end, "13");
}

TEST_F(Peers, WhatIsSent) {
  const auto told = fetch("/told?a=b%20c", "Accept", "text/x-mine");
  EXPECT_EQ(told->body, "GET /told?a=b%20c|127.0.0.1|text/x-mine||") << "deliberate: no port";
  const auto posted = make();
  kiv_http_request_SetMethod(posted->request, "POST");
  kiv_http_request_SetField(posted->request, "Accept", "*/*");
  kiv_http_request_SetForm(posted->request, "name", "a b&c");
  start(*posted, "/told");
  run();
  EXPECT_EQ(posted->body, "POST /told|127.0.0.1|*/*|application/x-www-form-urlencoded|12");
}

TEST_F(Peers, ManyAtOnceOnOneBox) {
  std::vector<std::unique_ptr<Exchange>> all;
  for (int i = 0; i < 40; ++i) {
    all.push_back(make());
    start(*all.back(), i % 2 == 0 ? "/hello.txt" : "/included.html");
  }
  run();
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i]->end, "13");
    EXPECT_EQ(all[i]->body.size(), i % 2 == 0 ? 18U : 18U + 108893U);
  }
}

TEST_F(Peers, NoPeerAndAProxyThatRejects) {
  const auto refused = make();
  ++running_;
  const std::string nowhere = "http://127.0.0.1:" + std::to_string(free_tcp_port()) + "/";
  EXPECT_EQ(
      kiv_http_request_attach(box_, 0, refused->request, nowhere.c_str(), nullptr, nullptr,
                              Exchange::on_socket<false>, refused.get(), Exchange::on_response,
                              refused.get(), Exchange::on_socket<true>, refused.get()),
      1);
  run();
  EXPECT_EQ(refused->end, "failure");
  const auto proxied = make();
  start(*proxied, "/hello.txt", proxy_);
  run();
  EXPECT_GE(proxied->code, 400) << "deliberate: the target goes to a proxy without its host";
}

// One try to reach nginx, or another port, through the proxy.
class Tunnel : public Peers {
 protected:
  ~Tunnel() override { kiv_proxy_http_free(tunnel_); }

  std::string pass(const char* user, const char* password, std::uint16_t target) {
    got_.clear();
    EXPECT_EQ(kiv_proxy_http_attach(box_, tunnel_, "127.0.0.1", proxy_, user, password, "127.0.0.1",
                                    target, on_ready, this, on_end<false>, this, on_data, this,
                                    on_end<true>, this),
              1);
    run();
    return got_;
  }
  static void KIV_CALL on_ready(void* self, std::int32_t socket) {
    static const std::string request =
        "GET /hello.txt HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n";
    kiv_box_TcpWrite(static_cast<Tunnel*>(self)->box_, socket, request.data(),
                     static_cast<std::int32_t>(request.size()));
  }
  static void KIV_CALL on_data(void* self, std::int32_t, const char* data, std::int32_t length) {
    static_cast<Tunnel*>(self)->got_.append(data, static_cast<std::size_t>(length));
  }
  template <bool Closed>
  static void KIV_CALL on_end(void* self_, std::int32_t) {
    auto* self = static_cast<Tunnel*>(self_);
    if (!Closed) self->got_ += "failure";
    kiv_box_BreakLoop(self->box_);
  }

  kiv_proxy_http* tunnel_ = kiv_proxy_http_make();
  std::string got_;
};

TEST_F(Tunnel, ThroughAProxyThatRequiresAuthentication) {
  const std::string answer = pass("ann", "s3cret", nginx_);
  EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << answer;
  EXPECT_TRUE(answer.ends_with("\r\n\r\nhello from a file\n")) << answer;
  EXPECT_EQ(line_with(answer, "Content-Length:"), "Content-Length: 18");
  EXPECT_EQ(pass("ann", "wrong", nginx_), "failure") << "407";
  EXPECT_EQ(pass(nullptr, nullptr, nginx_), "failure") << "407";
  EXPECT_EQ(pass("ann", "s3cret", 22), "failure") << "403";
}

}  // namespace
}  // namespace kiv::test
