// Stream filters: what comes out does not depend on how the bytes were cut.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/http/stream.h"
#include "tests/support/stdout_capture.h"

namespace {

using namespace kiv::test;

std::string whole(Kind kind, std::string_view bytes) {
  return outcome(kind, bytes, [&] { return bytes.size(); });
}

void expect_cuts_do_not_matter(Kind kind, const std::string& bytes, std::mt19937& random) {
  const std::string wanted = whole(kind, bytes);
  EXPECT_EQ(outcome(kind, bytes, [] { return 1; }), wanted) << bytes;
  for (int most : {5, 40, 2000}) {
    auto cut = [&] { return 1 + static_cast<int>(random() % static_cast<unsigned>(most)); };
    EXPECT_EQ(outcome(kind, bytes, cut), wanted) << bytes;
    EXPECT_EQ(outcome(kind, bytes, cut, true), wanted) << bytes;
  }
}

std::string get(const std::string& target, const std::string& field = "") {
  return "GET " + target + " HTTP/1.1\r\n" + field + (field.empty() ? "\r\n" : "\r\n\r\n");
}
const std::string kOk = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOk + "Transfer-Encoding: Chunked\r\n\r\n";

TEST(HttpFilter, FindsTheMessagesOfAStream) {
  constexpr Kind kRequest = Kind::request, kResponse = Kind::response;
  const std::string chunked_out = "200 OK|Transfer-Encoding=Chunked>";
  const std::string target = "/" + std::string(5120 - 4 - 1 - 9 - 4, 'a');
  const struct {
    Kind kind;
    std::string bytes, wanted;
  } cases[] = {
      {kRequest, get("/a") + "GET /b HTTP/1.0\r\nA: b\n\r\n\r\nG", "/a>\n/b|A=b>\n11:"},
      {kRequest, get("/a", "content-length: 4") + "12345", "/a|content-length=4>1234\n11:"},
      {kRequest, get("/a", "Content-Length: 5") + "1234", "12:"},
      {kRequest, get("/a", "Content-Length: -5"), "/a|Content-Length=-5>\n0:"},
      {kRequest, get("/a", "Content-Length: 2147483647") + "1", "12:"},
      {kRequest, get("/a", "Content-Length: 2147483648"), "0: broken"},
      {kRequest, get("/a", "Transfer-Encoding: x") + "G", "/a|Transfer-Encoding=x>\n11:"},
      {kRequest, kOk + "\r\n", "0: broken"},
      {kRequest, get(target), target + ">\n0:"},
      {kRequest, get(target + "x"), "0: broken"},
      {kRequest, std::string(5120, '\n'), "0: broken"},
      {kRequest, std::string("GET /a HTTP/1.1\r\nA: b\r\n\0zz\r\n\r\n", 30), "/a|A=b>\n0:"},
      // Without length, coding and close it ends with its head.
      {kResponse, kOk + "\r\n" + kOk + "A: b\r\n\r\nH", "200 OK>\n200 OK|A=b>\n11:"},
      {kResponse, kOk + "Connection: Close\r\n\r\n12\r\n\r\n3", "15:12\r\n\r\n3"},
      {kResponse, "HTTP/1.0 404 no\r\nConnection: close\r\n\r\nH", "404 no|Connection=close>\n11:"},
      {kResponse, kOk + "Connection: Upgrade\r\n\r\nH", "200 OK|Connection=Upgrade>\n11:"},
      {kResponse, kOk + "Connection: close\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
       "200 OK|Connection=close|Transfer-Encoding=chunked>\n0:"},
      {kResponse, get("/a", "Transfer-Encoding: x") + "H", "/a|Transfer-Encoding=x>\n11:"},
      {kResponse, kOk + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\nx",
       "200 OK|Content-Length=1|Transfer-Encoding=chunked>x\n0:"},
      {kResponse, kChunked + "4\r\nabcd\r\n\r\n\n0a;e=\"x\"\r\n0123456789\r\n0\r\n\r\n",
       chunked_out + "abcd0123456789\n0:"},
      // A byte held back with the last chunk is the next head's.
      {kResponse, kChunked + "0\r\n" + kOk + "\r\n", chunked_out + "\n200 OK>\n0:"},
      {kResponse, kChunked + "000;x\r\n\r\n" + kOk + "\r\n", chunked_out + "\n200 OK>\n0:"},
      {kResponse, kChunked + "2\r\nab0\r\n\r", "12:ab"},
      {kResponse, kChunked + "g\r\n", "12:"},  // four bytes: waits
      {kResponse, kChunked + "g\r\nab", "0: broken"},
      {kResponse, kChunked + "0x1\r\na", chunked_out + "\n11:"},
      {kResponse, kChunked + "1\r\na\r\n7fffffff\r\nb", "12:ab"},  // no sum of sizes overflows
      {kResponse, kChunked + "ffffffff80000000\r\n", "0: broken"},
      {kResponse, kChunked + "1;" + std::string(1020, 'x') + "\r\na", "12:a"},
      {kResponse, kChunked + "1;" + std::string(1021, 'x') + "\r\na", "0: broken"},
      {kResponse, kChunked + std::string(9000, '\n') + "1\r\na", "12:a"},
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
  auto pick = [&](std::initializer_list<std::string> all) {
    return all.begin()[static_cast<std::size_t>(random()) % all.size()];
  };
  const std::string chunk(3000, '\r'), start = kind == Kind::request ? "GET /a HTTP/1.1\r\n" : kOk;
  std::string stream;
  while (random() % 4 > 0) {
    stream += pick({start, start, start, "\r\nPOST /b HTTP/1.0\n", "HTTP/1.0 404 no\r\n"});
    stream += pick({"", "A: b\r\n", "Cc : dd\nE: f\r\n", "Connection: close\r\n"});
    stream += pick({"\r\n", "Content-Length: 7\r\n\r\n\r\n\r\n123", "Content-Length: 0\r\n\r\n"});
    if (kind == Kind::request || random() % 2 > 0) continue;
    for (stream += kChunked; random() % 4 > 0;) {
      stream +=
          pick({"1\r\n0", "B;e\r\n0\r\n\r\n012345", "bb8\r\n" + chunk}) + pick({"\r\n", "\n", ""});
    }
    stream += pick({"0\r\n\r\n", "0\r\n", "00\r\n\r\n", "0;x\r\n"});
  }
  while (random() % 3 == 0 && !stream.empty()) {  // faults
    stream.replace(random() % stream.size(), random() % 3, pick({"", "\r", "\n", "0", "x", " :"}));
  }
  return stream;
}

TEST(HttpFilter, CutsDoNotMatter) {
  std::mt19937 random(20);
  printed_by([&] {
    for (int i = 0; i < 800; ++i) {
      const Kind kind = i % 2 == 0 ? Kind::request : Kind::response;
      expect_cuts_do_not_matter(kind, random_stream(kind, random), random);
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
  stream.put("12");
  kiv_http_table_free(kiv_http_filter_response_get(stream.filter(), nullptr, nullptr));
  EXPECT_EQ(stream.drain(), "12:12");
  stream.put("345");
  EXPECT_EQ(stream.drain(), "200 OK|Set-Cookie=a|Set-Cookie=b|Content-Length=5>12345\n0:");
  stream.put(kOk + "Content-Length: 1\r\n\r\nx" + kChunked + "1\r\ny");
  kiv_http_table_free(kiv_http_filter_response_get(stream.filter(), nullptr, nullptr));
  zu_jitter *body = nullptr, *none = body + 1;
  std::int32_t status = 0;
  EXPECT_EQ(kiv_http_filter_request_peek(stream.filter(), nullptr, &body, &status), 1);
  EXPECT_EQ(std::to_string(status) + taken(body), "12y");
  EXPECT_EQ(kiv_http_filter_response_get(stream.filter(), &none, nullptr), nullptr);
  EXPECT_EQ(none, nullptr);
}

TEST(HttpFilter, PeekShowsTheOldestRequest) {
  Stream stream(Kind::request);
  auto put_and_peek = [&](const std::string& bytes) {
    kiv_http_table* table = nullptr;
    std::int32_t status = -1;
    kiv_http_filter_request_input(stream.filter(), bytes.data(), static_cast<int>(bytes.size()));
    const int found = kiv_http_filter_request_peek(stream.filter(), &table, nullptr, &status);
    EXPECT_EQ(table != nullptr, found == 1);
    return found * 100 + status;
  };
  EXPECT_EQ(put_and_peek("POST /a HTTP/1.1\r\n"), 11);
  EXPECT_EQ(put_and_peek("Content-Length: 2\r\n\r\n1"), 112);
  EXPECT_EQ(put_and_peek("2"), 113);
  EXPECT_EQ(stream.drain(), "/a|Content-Length=2>12\n0:");
  printed_by([&] { EXPECT_EQ(put_and_peek("\r\n\r\n"), 0); });
  EXPECT_EQ(stream.put(get("/")), 0);  // broken for good
  EXPECT_EQ(kiv_http_filter_request_input(nullptr, "a", 1), 0);
}

}  // namespace
