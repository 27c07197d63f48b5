// Stream filters: what comes out does not depend on how the bytes were cut.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::printed_by;

enum class Kind { request, response };

// A filter and all it has handed out so far.
class Stream {
 public:
  explicit Stream(Kind kind) : kind_(kind), filter_(kiv_http_filter_request_make()) {}
  ~Stream() { kiv_http_filter_response_free(filter_); }

  int put(std::string_view bytes) {
    const auto input =
        kind_ == Kind::request ? kiv_http_filter_request_input : kiv_http_filter_response_input;
    return input(filter_, bytes.data(), static_cast<std::int32_t>(bytes.size()));
  }

  // Takes out one message or part; gives the status.
  std::int32_t get() {
    const auto get =
        kind_ == Kind::request ? kiv_http_filter_request_get : kiv_http_filter_response_get;
    zu_jitter* body = nullptr;
    std::int32_t status = -1;
    kiv_http_table* table = get(filter_, &body, &status);
    got_something_ = table != nullptr;
    std::string bytes(static_cast<std::size_t>(zu_jitter_GetLen(body)), '\0');
    zu_jitter_GetData(body, bytes.data(), static_cast<std::int32_t>(bytes.size()));
    body_ += bytes;
    if (status == 13) {
      messages_ += describe(table) + ">" + body_ + "\n";
      body_.clear();
    }
    kiv_http_table_free(table);
    zu_jitter_free(body);
    return status;
  }

  // All messages, then the status that is left with the body so far.
  std::string drain() {
    std::int32_t status;
    do status = get();
    while (got_something_);
    return messages_ + std::to_string(status) + ":" + (status == 0 ? "" : body_);
  }

  kiv_http_filter* filter() const { return filter_; }

 private:
  static std::string describe(kiv_http_table* table) {
    const char* first = kiv_http_table_GetRequest(table);
    std::string all = first != nullptr ? first : kiv_http_table_GetStatus(table);
    const char *name, *value;
    while (kiv_http_table_GetNextField(table, &name, &value) == 1) {
      all += std::string("|") + name + "=" + value;
    }
    return all;
  }

  Kind kind_;
  kiv_http_filter* filter_;
  std::string messages_, body_;
  bool got_something_ = false;
};

// Feeds the bytes in pieces of the sizes that `cut` gives; the outcome as text.
template <typename Cut>
std::string outcome(Kind kind, std::string_view bytes, Cut cut, bool drain_often = false) {
  Stream stream(kind);
  int taken = 1;
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.size(), static_cast<std::size_t>(cut()));
    // A copy of just this size: reading past it is caught.
    const std::vector<char> piece(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    taken = stream.put({piece.data(), piece.size()});
    bytes.remove_prefix(size);
    if (drain_often) stream.drain();
  }
  return stream.drain() + (taken == 1 ? "" : " broken");
}

std::string whole(Kind kind, std::string_view bytes) {
  return outcome(kind, bytes, [&] { return bytes.size(); });
}

void expect_cuts_do_not_matter(Kind kind, const std::string& bytes, std::mt19937& random) {
  const std::string wanted = whole(kind, bytes);
  EXPECT_EQ(outcome(kind, bytes, [] { return 1; }), wanted) << bytes;
  for (int most : {5, 40, 2000}) {
    auto cut = [&] { return 1 + static_cast<int>(random() % static_cast<unsigned>(most)); };
    EXPECT_EQ(outcome(kind, bytes, cut), wanted) << bytes;
    // Parts of the body of a stream that breaks later are out already.
    EXPECT_EQ(outcome(kind, bytes, cut, true), wanted) << bytes;
  }
}

const std::string kOk = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOk + "Transfer-Encoding: Chunked\r\n\r\n";

TEST(HttpFilter, FindsTheMessagesOfAStream) {
  const std::string long_head = "GET /" + std::string(5120 - 4 - 5 - 9, 'a') + " HTTP/1.1";
  const struct {
    Kind kind;
    std::string bytes, wanted;
  } cases[] = {
      {Kind::request, "", "0:"},
      {Kind::request, "GET /a HTTP/1.1\r\nA: b\r\n\r", "11:"},
      {Kind::request, "GET /a HTTP/1.1\r\n\r\nGET /b HTTP/1.0\r\nA: b\n\r\n\r\nG",
       "/a>\n/b|A=b>\n11:"},
      {Kind::request, "POST /a HTTP/1.1\r\ncontent-length: 4\r\n\r\n12345",
       "/a|content-length=4>1234\n11:"},
      {Kind::request, "POST /a HTTP/1.1\r\nContent-Length: 5\r\n\r\n1234", "12:"},
      {Kind::request, "POST /a HTTP/1.1\r\nContent-Length: -5\r\n\r\n",
       "/a|Content-Length=-5>\n0:"},
      {Kind::request, "POST /a HTTP/1.1\r\nContent-Length: 2147483648\r\n\r\n", "0: broken"},
      {Kind::request, "POST /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nGET",
       "/a|Transfer-Encoding=chunked>\n11:"},  // only a length gives a request a body
      {Kind::request, kOk + "\r\n", "0: broken"},
      {Kind::request, long_head + "\r\n\r\n", long_head.substr(4, 5120 - 4 - 4 - 9) + ">\n0:"},
      {Kind::request, long_head + "x\r\n\r\n", "0: broken"},
      {Kind::request, std::string(5119, '\n'), "11:"},
      {Kind::request, std::string(5120, '\n'), "0: broken"},
      {Kind::request, "GET /a HTTP/1.1\r\n\r\nG\r\n\r\nGET /b HTTP/1.1\r\n\r\n", "/a>\n0: broken"},
      {Kind::request, std::string("GET /a HTTP/1.1\r\nA: b\r\n\0zz\r\n\r\n", 30), "/a|A=b>\n0:"},
      {Kind::response, kOk + "\r\n" + kOk + "Content-Length: 2\r\n\r\n12H",
       "200 OK>\n200 OK|Content-Length=2>12\n11:"},  // no length, no close: ends with its head
      {Kind::response, kOk + "Connection: Close\r\n\r\n12\r\n\r\n3", "15:12\r\n\r\n3"},
      {Kind::response, "HTTP/1.1 404 x\r\nConnection: close\r\n\r\n",
       "404 x|Connection=close>\n0:"},
      {Kind::response, "GET /a HTTP/1.1\r\nConnection: close\r\n\r\n", "/a|Connection=close>\n0:"},
      {Kind::response, kOk + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\nx",
       "200 OK|Content-Length=1|Transfer-Encoding=chunked>x\n0:"},
      {Kind::response, kChunked + "4\r\nabcd\r\n\r\n\n0a;e=\"x\"\r\n0123456789\r\n0\r\n\r\n",
       "200 OK|Transfer-Encoding=Chunked>abcd0123456789\n0:"},
      {Kind::response, kChunked + "1\r\na0\r\n" + kOk, "200 OK|Transfer-Encoding=Chunked>a\n11:"},
      {Kind::response, kChunked + "0\r\n" + kOk + "\r\n",
       "200 OK|Transfer-Encoding=Chunked>\n200 OK>\n0:"},  // a byte held back is the next head's
      {Kind::response, kChunked + "000;x\r\n\r\n" + kOk + "\r\n",
       "200 OK|Transfer-Encoding=Chunked>\n200 OK>\n0:"},
      {Kind::response, kChunked + "2\r\nab0\r\n\r", "12:ab"},
      {Kind::response, kChunked + "g\r\n", "12:"},  // four bytes: waits
      {Kind::response, kChunked + "g\r\nab", "0: broken"},
      {Kind::response, kChunked + " 1\r\na", "0: broken"},
      {Kind::response, kChunked + "0x1\r\na", "200 OK|Transfer-Encoding=Chunked>\n11:"},
      {Kind::response, kChunked + "80000000\r\n", "0: broken"},
      {Kind::response, kChunked + "ffffffffffffffff1\r\n", "0: broken"},
      {Kind::response, kChunked + "7fffffff\r\nab", "12:ab"},
      {Kind::response, kChunked + "1;" + std::string(1020, 'x') + "\r\na", "12:a"},
      {Kind::response, kChunked + "1;" + std::string(1021, 'x') + "\r\na", "0: broken"},
      {Kind::response, kChunked + std::string(9000, '\n') + "1\r\na", "12:a"},
  };
  std::mt19937 random(1);
  printed_by([&] {
    for (const auto& c : cases) {
      EXPECT_EQ(whole(c.kind, c.bytes), c.wanted) << c.bytes;
      expect_cuts_do_not_matter(c.kind, c.bytes, random);
    }
  });
}

// A stream of a few messages, most of them sound.
std::string random_stream(Kind kind, std::mt19937& random) {
  auto below = [&](unsigned n) { return static_cast<unsigned>(random()) % n; };
  auto pick = [&](std::initializer_list<const char*> texts) {
    return texts.begin()[below(static_cast<unsigned>(texts.size()))];
  };
  auto bytes = [&](std::size_t n) {
    std::string made(n, '\0');
    for (char& c : made) c = "\r\n0a: ;\0zH"[below(10)];
    return made;
  };
  std::string stream;
  for (unsigned messages = 1 + below(4); messages > 0; --messages) {
    std::string body = bytes(below(4) == 0 ? below(7000) : below(30));
    stream += kind == Kind::request ? pick({"GET /a HTTP/1.1\r\n", "\r\nPOST /b HTTP/1.0\n"})
                                    : pick({"HTTP/1.1 200 OK\r\n", "HTTP/1.0 404 no\r\n"});
    for (unsigned fields = below(3); fields > 0; --fields)
      stream += pick({"A: b\r\n", "Cc : dd\n"});
    switch (below(kind == Kind::request ? 2 : 4)) {
      case 0:
        stream += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        break;
      case 1:
        stream += pick({"\r\n", "Connection: close\r\n\r\n"});
        break;
      default:
        stream += "Transfer-Encoding: chunked\r\n\r\n";
        for (std::size_t at = 0, n; at < body.size(); at += n) {
          n = std::min<std::size_t>(1 + below(3000), body.size() - at);
          char line[16];
          std::snprintf(line, sizeof line, pick({"%x\r\n", "%X;e\r\n", "\r\n%x\r\n"}),
                        static_cast<unsigned>(n));
          stream += line + body.substr(at, n) + pick({"\r\n", ""});
        }
        stream += pick({"0\r\n\r\n", "0\r\n", "00\r\n\r\n", "0;x\r\n"});
    }
  }
  for (unsigned faults = below(3) == 0 ? 1 + below(3) : 0; faults > 0; --faults) {
    const std::size_t at = below(static_cast<unsigned>(stream.size()));
    if (below(2) == 0)
      stream.erase(at, 1 + below(3));
    else
      stream.insert(at, bytes(1 + below(3)));
  }
  return stream;
}

TEST(HttpFilter, CutsDoNotMatter) {
  std::mt19937 random(20);
  printed_by([&] {
    for (int i = 0; i < 400; ++i) {
      for (Kind kind : {Kind::request, Kind::response}) {
        expect_cuts_do_not_matter(kind, random_stream(kind, random), random);
      }
    }
  });
}

TEST(HttpFilter, SaysWhatIsWrongWithACoding) {
  auto said = [](const std::string& bytes) {
    return printed_by([&] { whole(Kind::response, bytes); });
  };
  EXPECT_EQ(said(kOk + "Transfer-Encoding: gzip\r\n\r\nab"),
            "error: not find 'chunked' in 'Transfer-Encoding' field in HTTP header(\n"
            "HTTP/1.1 200 OK\nTransfer-Encoding: gzip\n\n)!\n");
  EXPECT_EQ(said(kChunked + "xyz\r\nab"),
            "error: chunked header(xyz\nab:7) error in __input_CheckStatus_chunked_content()!\n");
  const std::string line(1024, '1');
  EXPECT_EQ(said(kChunked + line + "1"), "error: not find next chunked data(" + line +
                                             ") in __input_CheckStatus_chunked_content()!\n");
}

TEST(HttpFilter, DeliversPartsOnceAndOnlyIntoABody) {
  Stream stream(Kind::response);
  stream.put(kOk + "Set-Cookie: a\r\nSet-Cookie: b\r\nContent-Length: 5\r\n\r\n");
  std::int32_t status = -1;
  EXPECT_EQ(kiv_http_filter_response_get(stream.filter(), nullptr, &status), nullptr);
  EXPECT_EQ(status, 12);
  stream.put("12");
  kiv_http_table* part = kiv_http_filter_response_get(stream.filter(), nullptr, nullptr);
  ASSERT_NE(part, nullptr);  // and the bytes stay
  kiv_http_table_free(part);
  EXPECT_EQ(stream.drain(), "12:12");
  stream.put("345");
  EXPECT_EQ(stream.drain(), "200 OK|Set-Cookie=a|Set-Cookie=b|Content-Length=5>12345\n0:");
}

TEST(HttpFilter, PeekShowsTheOldestRequest) {
  Stream stream(Kind::request);
  kiv_http_table* table = nullptr;
  zu_jitter* body = nullptr;
  std::int32_t status = -1;
  auto peek = [&] { return kiv_http_filter_request_peek(stream.filter(), &table, &body, &status); };
  stream.put("POST /a HTTP/1.1\r\n");
  EXPECT_EQ(peek(), 0);
  EXPECT_EQ(status, 11);
  stream.put("Content-Length: 2\r\n\r\n1");
  EXPECT_EQ(peek(), 1);
  EXPECT_EQ(status, 12);
  EXPECT_STREQ(kiv_http_table_GetRequest(table), "/a");
  stream.put("2");
  EXPECT_EQ(peek(), 1);
  EXPECT_EQ(status, 13);
  EXPECT_EQ(zu_jitter_GetLen(body), 2);
  kiv_http_table_free(kiv_http_filter_request_get(stream.filter(), nullptr, nullptr));
  printed_by([&] { EXPECT_EQ(stream.put("\r\n\r\n"), 0); });
  EXPECT_EQ(peek(), 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(table, nullptr);
  EXPECT_EQ(stream.put("GET / HTTP/1.1\r\n\r\n"), 0);  // broken for good
}

TEST(HttpFilter, RefusesBadArguments) {
  Stream stream(Kind::request);
  EXPECT_EQ(kiv_http_filter_request_input(nullptr, "a", 1), 0);
  EXPECT_EQ(kiv_http_filter_request_input(stream.filter(), nullptr, 1), 0);
  EXPECT_EQ(kiv_http_filter_request_input(stream.filter(), "a", -1), 0);
  EXPECT_EQ(kiv_http_filter_request_input(stream.filter(), "a", 0), 1);
  EXPECT_EQ(kiv_http_filter_response_get(nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(kiv_http_filter_request_peek(nullptr, nullptr, nullptr, nullptr), 0);
}

}  // namespace
