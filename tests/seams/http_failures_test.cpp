// HTTP with failing allocations: nothing leaks, nothing half done is left.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/seams/clock_seam.h"
#include "tests/seams/heap_seam.h"
#include "tests/support/sockets.h"
#include "tests/support/stdout_capture.h"

namespace {

TEST(HttpFailures, Tables) {
  kiv::test::printed_by([] {
    const std::string longest(30000, 'v');  // the text outgrows its first buffer
    EXPECT_SURVIVES_FAILING_ALLOCATIONS(40, [&] {
      kiv_http_table* table = kiv_http_table_ParseHeaderStr(
          "POST /a HTTP/1.1\r\nHost: x\r\nContent-Length: 1\r\nhost: y\r\n\r\n");
      const bool longer = kiv_http_table_SetField(table, "HOST", "much longer") == 1;
      const char* const host = kiv_http_table_GetField(table, "host");
      EXPECT_TRUE(table == nullptr || host == std::string(longer ? "much longer" : "x"));
      const bool set = kiv_http_table_SetForm(table, "a", "b c") == 1;
      EXPECT_EQ(kiv_http_table_GetFormStrLen(table), set ? 5 : 0);
      kiv_http_table_SetForm(table, "a", "xyz");
      kiv_http_table_SetField(table, "A", longest.c_str());
      kiv_http_table* clone = kiv_http_table_clone(table);
      _zu_free(kiv_http_table_GetHeaderStr(clone));
      _zu_free(kiv_http_table_GetFormStr(clone));
      kiv_http_table_free(clone);
      kiv_http_table_free(table);
      kiv_http_table_free(kiv_http_table_ParseFormStr("a=1&b=%41&c="));
    });
  });
}

// Cut so that heads and size lines are held back, and a byte after the last chunk too.
TEST(HttpFailures, AFilterOutOfMemoryIsBrokenPermanently) {
  const std::string head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  const std::string pieces[] = {head.substr(0, 9), head.substr(9) + "3",      "\r\nab",
                                "c\r\n0\r\nH",     head.substr(1) + "1\r\nx", "0\r\n\r\n" + head};
  kiv::test::printed_by([&] {
    EXPECT_SURVIVES_FAILING_ALLOCATIONS(30, [&] {
      kiv_http_filter* filter = kiv_http_filter_response_make();
      bool broken = filter == nullptr;
      for (const std::string& piece : pieces) {
        const int taken = kiv_http_filter_response_input(filter, piece.data(),
                                                         static_cast<std::int32_t>(piece.size()));
        EXPECT_TRUE(!broken || taken == 0);
        broken = taken == 0;
        zu_jitter* body = nullptr;
        kiv_http_table* table = kiv_http_filter_response_get(filter, &body, nullptr);
        EXPECT_EQ(table == nullptr, body == nullptr);
        kiv_http_table_free(table);
        zu_jitter_free(body);
      }
      kiv_http_filter_response_free(filter);
    });
  });
}

TEST(HttpFailures, UrisAndForms) {
  const std::string longest = "http://u@h/" + std::string(3000, 'p');  // outgrows the first buffer
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(50, [&] {
    kiv_uri* uri = kiv_uri_malloc((longest + "?q#f").c_str());
    kiv_uri* clone = kiv_uri_clone(uri);
    EXPECT_TRUE(clone == nullptr || clone->path_raw == nullptr ||
                std::string(clone->path_raw) == clone->path);
    kiv::test::printed_by([&] { kiv_uri_print(clone); });
    kiv_uri_free(clone);
    kiv_uri_free(uri);
    for (char* text : {kiv_uri_BuildURI("a?b", longest.c_str()),
                       kiv_uri_BuildRelativeURI(longest.c_str(), "http://h/a/"),
                       kiv_uri_CanonicPath("x://h/ "), kiv_uri_PathToURI("c:\\ ")}) {
      EXPECT_STRNE(text, "a?b");  // a base that ran out of memory is not a missing base
      _zu_free(text);
    }
    zu_cgi* cgi = zu_cgi_malloc("a=1&b=2", 7);
    EXPECT_EQ(zu_cgi_FormString(cgi, "b", nullptr, 0), cgi != nullptr ? 1 : 0);
    zu_cgi_free(cgi);
  });
}

// A peer that answers as soon as it is connected to, or never; and the box that talks to it until
// something has come of it.
struct Exchange {
  explicit Exchange(const std::string& text) : answer(text) {
    if (answer.empty()) return;
    if (kivx_box_ImportSockId_ForRead(box, listener.id(), accept, this) == 0) listener.close();
  }
  static void KIV_CALL accept(void* user) {
    auto* self = static_cast<Exchange*>(user);
    kivx_box_ExportSockId_ForRead(self->box, self->listener.id());
    self->peer = kiv::test::tcp_accept(self->listener);
    self->peer.send(self->answer);
  }

  // The loop takes the box with it.
  void run(int attached) {
    if (attached == 0) return kiv_box_free(box);
    if (clock != nullptr) clock->advance_ms(60000);
    kiv_box_loop(box);
    EXPECT_NE(log, "");
  }
  void end(const char* event) {
    log += event;
    kiv_box_BreakLoop(box);
  }
  static void KIV_CALL on_timer(void*, void* self, std::int32_t, std::int32_t) {
    static_cast<Exchange*>(self)->log += "timer ";
  }

  void tunnel() {
    kiv_proxy_http* made = kiv_proxy_http_make();
    const kiv_proxy_http_socket_fn ready = [](void* self, std::int32_t) {
      static_cast<Exchange*>(self)->end("ready");
    };
    const kiv_proxy_http_socket_fn failure = [](void* self, std::int32_t socket) {
      EXPECT_GT(socket, 0);
      static_cast<Exchange*>(self)->end("failure");
    };
    run(kiv_proxy_http_attach(box, made, "127.0.0.1", listener.local_port(), "u", "p", "t", 9,
                              ready, this, failure, this, nullptr, nullptr, nullptr, nullptr));
    kiv_proxy_http_free(made);
  }
  void request() {
    kiv_http_request* made = kiv_http_request_make();
    const int set = kiv_http_request_SetMethod(made, "POST") +
                    kiv_http_request_SetField(made, "a", "b") +
                    kiv_http_request_SetForm(made, "a", "b");
    EXPECT_LE(set, made == nullptr ? 0 : 3);
    const kiv_http_request_socket_fn failure = [](void* self, kiv_box*, std::int32_t socket) {
      EXPECT_GT(socket, 0);
      static_cast<Exchange*>(self)->end("failure");
    };
    const kiv_http_request_response_fn response =
        [](void* self, kiv_box*, std::int32_t, const char*, kiv_http_table*, zu_jitter*,
           std::int32_t) { static_cast<Exchange*>(self)->end("response"); };
    run(kivx_http_request_attach(box, 0, made, "h.example/x?y", "127.0.0.1", listener.local_port(),
                                 nullptr, nullptr, failure, this, response, this, nullptr,
                                 nullptr));
    if (log == "response") {
      EXPECT_NE(peer.receive(10).find(" /x?y "), std::string::npos);  // whole or not at all
    }
    kiv_http_request_free(made);  // for nothing when it could not be attached
  }

  // A connection is taken into service and deleted, or it is closed for lack of memory.
  void server() {
    const std::uint16_t port = kiv::test::free_tcp_port();
    kiv_http_server* made = kiv_http_server_make();
    const auto serve = [](kiv_http_server* server, void*, std::int32_t socket, const char*,
                          std::uint16_t) {
      kiv_http_server_AcceptClient(server, socket, nullptr, nullptr, nullptr, nullptr);
      kiv_http_server_DeleteClient(server, socket);
    };
    const int ready = kiv_http_server_attach(box, made, port, serve, nullptr);
    if (ready == 1) peer = kiv::test::tcp_connect(port);
    const auto end = [](void* self) { static_cast<Exchange*>(self)->end("end"); };
    run(ready == 1 ? kivx_box_ImportSockId_ForRead(box, peer.id(), end, this) : 0);
    kiv_http_server_free(made);
  }

  std::string answer, log;
  kiv::test::StoppedClock* clock = nullptr;
  kiv_box* box = kiv_box_new();
  kiv::test::Socket listener = kiv::test::tcp_listener(), peer;
};

TEST(HttpFailures, ConnectionsOutOfMemoryEndWithACallbackOrNeverStart) {
  kiv_box_free(kiv_box_new());  // the registries stay
  kiv_proxy_http_free(kiv_proxy_http_make());
  kiv::test::printed_by([] {
    EXPECT_SURVIVES_FAILING_ALLOCATIONS(10, [] { Exchange("HTTP/1.1 200 \r\n\r\n").tunnel(); });
    EXPECT_SURVIVES_FAILING_ALLOCATIONS(15, [] { Exchange("").server(); });
    EXPECT_SURVIVES_FAILING_ALLOCATIONS(
        60, [] { Exchange("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx").request(); });
  });
}

// Between timers that are due just before and just after.
TEST(HttpFailures, APeerThatNeverAnswersIsGivenUp) {
  kiv::test::StoppedClock clock;
  const auto log_around = [&](std::uint32_t limit_ms, void (Exchange::*talk)()) {
    Exchange exchange("");
    kiv_box_NewOnceTimer(exchange.box, limit_ms - 1, Exchange::on_timer, &exchange);
    kiv_box_NewOnceTimer(exchange.box, limit_ms + 1, Exchange::on_timer, &exchange);
    exchange.clock = &clock;
    kiv::test::printed_by([&] { (exchange.*talk)(); });
    return exchange.log;
  };
  EXPECT_EQ(log_around(15000, &Exchange::tunnel), "timer failure");
  EXPECT_EQ(log_around(30000, &Exchange::request), "timer failure");
}

}  // namespace
