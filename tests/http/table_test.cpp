// HTTP tables: setters, walks, text and parsing.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::printed_by;

struct Free {
  void operator()(kiv_http_table* table) const { kiv_http_table_free(table); }
};
using Table = std::unique_ptr<kiv_http_table, Free>;

Table make() {
  return Table(kiv_http_table_make());
}
Table parse(const std::string& head) {
  return Table(kiv_http_table_ParseHeaderStr(head.c_str()));
}
Table parse_form(const std::string& form) {
  return Table(kiv_http_table_ParseFormStr(form.c_str()));
}

std::string text_or_null(const char* text) {
  return text == nullptr ? "(null)" : text;
}
std::string taken(char* text) {
  const std::string result = text_or_null(text);
  _zu_free(text);
  return result;
}
std::string header(const Table& table) {
  return taken(kiv_http_table_GetHeaderStr(table.get()));
}
std::string form(const Table& table) {
  return taken(kiv_http_table_GetFormStr(table.get()));
}

// All a table holds, in one line.
std::string shown(const Table& table) {
  if (table == nullptr) return "(null)";
  std::string all = text_or_null(kiv_http_table_GetMethod(table.get())) + " " +
                    text_or_null(kiv_http_table_GetRequest(table.get())) + " " +
                    text_or_null(kiv_http_table_GetStatus(table.get())) + " " +
                    std::to_string(kiv_http_table_GetStatusValue(table.get()));
  const char *name, *value, *raw;
  kiv_http_table_RewindField(table.get());
  while (kiv_http_table_GetNextField(table.get(), &name, &value) == 1) {
    all += std::string("|") + name + ":" + value;
  }
  kiv_http_table_RewindForm(table.get());
  while (kiv_http_table_GetNextForm(table.get(), &name, &value, &raw) == 1) {
    all += std::string("&") + name + "=" + value + "=" + raw;
  }
  return all;
}

TEST(HttpTable, ParsesHeads) {
  const char* const cases[][2] = {
      {"GET /a HTTP/1.1\r\nHost: x\r\n\r\n", "GET /a (null) -1|Host:x"},
      {"HTTP/1.0 404 Not Found\r\n", "(null) (null) 404 Not Found 404"},
      {"  \r\n\n post   /b   HTTP/1.0  \nA:1\rB : 2 \n\n\r\nA:3\r\r", "(null)"},
      {"  \r\n\npost   /b   HTTP/1.0  \nA:1\rB : 2 \n\n\r\nA:3\r\r",
       "post /b (null) -1|A:1|B:2 |A:3"},
      {"HTTP/1.1 a=b&c%/-_. 1\n", "(null) (null) a=b&c%/-_. 1 0"},
      {"HTTP/1.1 99999999999 x\n", "(null) (null) 99999999999 x 2147483647"},
      {"GET /\x80\xff HTTP/1.1\r\nX: \t\x80:\r\n", "GET /\x80\xff (null) -1|X:\t\x80:"},
  };
  printed_by([&] {
    for (const auto& [head, wanted] : cases) EXPECT_EQ(shown(parse(head)), wanted) << head;
  });
}

TEST(HttpTable, SaysWhatIsWrongWithAHead) {
  const char* const cases[][2] = {
      {"GET /a\r\n\r\n", "'request' error in kiv_http_table_ParseHeaderStr()"},
      {"GET  \r\n", "'request' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.2\r\n", "'version' error in kiv_http_table_ParseHeaderStr() 1"},
      {"GET /a HTTP/1.1", "'version' error in kiv_http_table_ParseHeaderStr() 1"},
      {"GET\r\n", "'version' error in kiv_http_table_ParseHeaderStr() 2"},
      {"", "'version' error in kiv_http_table_ParseHeaderStr() 2"},
      {"HTTP/1.1\t200 OK\r\n", "'version' error in kiv_http_table_ParseHeaderStr() 2"},
      {"HTTP/1.1 200 (OK)\r\n", "'status' error in kiv_http_table_ParseHeaderStr()"},
      {"HTTP/1.1 200 OK", "'status' error in kiv_http_table_ParseHeaderStr()"},
      {"HTTP/1.1 \r\n", "'status' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1 x\r\n", "'newline' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1\r\n a: b\r\n", "'field' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1\r\na_b: c\r\n", "'field' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1\r\na", "'field' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1\r\na b\r\n", "':' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1\r\na:  \r\nb: c\r\n", "'content' error in kiv_http_table_ParseHeaderStr()"},
      {"GET /a HTTP/1.1\r\na: b", "'content' error in kiv_http_table_ParseHeaderStr()"},
  };
  for (const auto& [head, error] : cases) {
    std::string folded = head;
    std::erase(folded, '\r');  // as the capture does
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(parse(head), nullptr); }),
              std::string("error: parse ") + error + "!\n" + folded + "\n");
  }
}

TEST(HttpTable, PrintsWhatWasSetAndReadsItBack) {
  Table table = make();
  EXPECT_EQ(header(table), "(null)");
  EXPECT_EQ(kiv_http_table_SetField(table.get(), "Host", "example"), 1);
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(header(table), "(null)"); }),
            "error: method or status is NULL in kiv_http_table_GetHeaderStr()!\n");
  kiv_http_table_SetMethod(table.get(), "GET");
  EXPECT_EQ(header(table), "GET HTTP/1.1\r\nHost: example\r\n\r\n");
  kiv_http_table_SetRequest(table.get(), "");  // an empty target counts as set
  EXPECT_EQ(header(table), "GET  HTTP/1.1\r\nHost: example\r\n\r\n");
  kiv_http_table_SetRequest(table.get(), "/x?y");
  std::string target = "/x?y", value(7000, 'v');
  kiv_http_table_SetField(table.get(), "Long", value.c_str());  // longer than the first buffer
  EXPECT_EQ(header(table), "GET /x?y HTTP/1.1\r\nHost: example\r\nLong: " + value + "\r\n\r\n");
  EXPECT_EQ(shown(parse(header(table))), shown(table));

  Table response = make();
  kiv_http_table_SetStatus(response.get(), kiv_http_status_lines[3]);
  kiv_http_table_SetField(response.get(), "A", "b");
  EXPECT_EQ(header(response), "HTTP/1.1 200 OK\r\nA: b\r\n\r\n");
  EXPECT_EQ(kiv_http_status_lines[57], nullptr);
  for (int i = 1; i < 57; ++i) {
    EXPECT_LT(std::atoi(kiv_http_status_lines[i - 1]), std::atoi(kiv_http_status_lines[i]));
  }
}

TEST(HttpTable, FieldsAreReplacedInPlaceAndKeepTheirOrder) {
  Table table = parse("GET / HTTP/1.1\r\nA: 1\r\nB: 22\r\na: 3\r\n");
  const char* const first = kiv_http_table_GetField(table.get(), "a");
  EXPECT_STREQ(first, "1");
  EXPECT_EQ(kiv_http_table_SetField(table.get(), "b", "4"), 1);
  EXPECT_EQ(kiv_http_table_SetField(table.get(), "C", "5"), 1);
  EXPECT_EQ(kiv_http_table_SetField(table.get(), "a", "666"), 1);
  EXPECT_EQ(kiv_http_table_SetField(table.get(), "A", "7777"), 1);
  kiv_http_table_SetField(table.get(), "C", kiv_http_table_GetField(table.get(), "c"));
  EXPECT_EQ(shown(table), "GET / (null) -1|A:7777|b:4|a:3|C:5");
  EXPECT_EQ(kiv_http_table_UnsetField(table.get(), "a"), 1);
  EXPECT_STREQ(kiv_http_table_GetField(table.get(), "A"), "3");
  EXPECT_EQ(kiv_http_table_UnsetField(table.get(), "C"), 1);  // the last one
  EXPECT_EQ(kiv_http_table_UnsetField(table.get(), "x"), 0);
  kiv_http_table_SetField(table.get(), "D", "8");
  EXPECT_EQ(shown(table), "GET / (null) -1|b:4|a:3|D:8");
}

TEST(HttpTable, CursorsCountEntries) {
  Table table = parse("GET / HTTP/1.1\r\nA: 1\r\nB: 2\r\nC: 3\r\n");
  const char* name = nullptr;
  EXPECT_EQ(kiv_http_table_GetNextField(table.get(), &name, nullptr), 1);
  kiv_http_table_UnsetField(table.get(), "A");  // passed already: the walk misses the next
  EXPECT_EQ(kiv_http_table_GetNextField(table.get(), &name, nullptr), 1);
  EXPECT_STREQ(name, "C");
  EXPECT_EQ(kiv_http_table_GetNextField(table.get(), &name, nullptr), 0);
  kiv_http_table_SetField(table.get(), "D", "4");  // the end is no end when more comes
  EXPECT_EQ(kiv_http_table_GetNextField(table.get(), &name, nullptr), 1);
  EXPECT_STREQ(name, "D");
  kiv_http_table_ZeroField(table.get());
  EXPECT_EQ(kiv_http_table_GetNextField(table.get(), &name, nullptr), 0);
}

TEST(HttpTable, FormsGoOutWithTheirLength) {
  Table table = make();
  kiv_http_table_SetMethod(table.get(), "post");
  kiv_http_table_SetForm(table.get(), "a", "1");
  kiv_http_table_SetForm(table.get(), "b", "x y");
  EXPECT_EQ(header(table), "(null)");  // deliberate: the form's own fields do not count
  kiv_http_table_SetField(table.get(), "content-length", "999999");
  EXPECT_EQ(header(table),
            "post HTTP/1.1\r\nContent-Length: 9\r\n"
            "Content-Type: application/x-www-form-urlencoded\r\n\r\n");
  EXPECT_EQ(form(table), "a=1&b=x+y");
  EXPECT_EQ(kiv_http_table_GetFormStrLen(table.get()), 9);
  EXPECT_STREQ(kiv_http_table_GetForm(table.get(), "b"), "x+y");
  EXPECT_STREQ(kiv_http_table_GetFormRaw(table.get(), "b"), "x y");
  EXPECT_EQ(kiv_http_table_GetForm(table.get(), "B"), nullptr);
  EXPECT_EQ(shown(parse_form(form(table))), "(null) (null) (null) -1&a=1=1&b=x+y=x y");
}

TEST(HttpTable, ReplacedFormValuesDriftTheLength) {
  Table table = make();
  kiv_http_table_SetForm(table.get(), "a", "12345");
  kiv_http_table_SetForm(table.get(), "a", "%");  // +3 -1, and the old five still count
  EXPECT_EQ(kiv_http_table_GetFormStrLen(table.get()), 9);
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(form(table), "(null)"); }),
            "error: Content-Length error(9) in kiv_http_table_GetFormStr()\n");
  EXPECT_EQ(kiv_http_table_UnsetForm(table.get(), "a"), 1);
  EXPECT_EQ(kiv_http_table_UnsetForm(table.get(), "a"), 0);
  EXPECT_EQ(kiv_http_table_GetFormStrLen(table.get()), 0);
  kiv_http_table_ZeroForm(table.get());
  kiv_http_table_SetForm(table.get(), "b", "x");
  kiv_http_table_SetForm(table.get(), "b", "y");  // as long, nothing to escape: no drift
  EXPECT_EQ(form(table), "b=y");
}

TEST(HttpTable, ParsesForms) {
  const std::string name_error = "error: parse 'name' error in kiv_http_table_ParseFormStr()!\n";
  EXPECT_EQ(shown(parse_form("  a-._1=&b=%41+c&a-._1=x=y&")),
            "(null) (null) (null) -1&a-._1==&b=%41+c=A c&a-._1=x=y=x=y");
  EXPECT_EQ(form(parse_form("a=&b=2")), "a=&b=2");
  EXPECT_EQ(shown(parse_form("")), "(null) (null) (null) -1");
  for (const char* bad : {"a", "=b", "a=1&&b=2", "a b=1", "a=1& b=2", "a&b=2"}) {
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(parse_form(bad), nullptr); }), name_error) << bad;
  }
}

TEST(HttpTable, CloneKeepsEqualNamesAndDropsTheVersion) {
  Table table = parse("HTTP/1.0 302 Found\r\nSet-Cookie: a\r\nSet-Cookie: b\r\n");
  kiv_http_table_SetForm(table.get(), "n", "a b");
  Table clone(kiv_http_table_clone(table.get()));
  EXPECT_EQ(shown(clone), "(null) (null) 302 Found 302|Set-Cookie:a|Set-Cookie:b&n=a+b=a b");
  EXPECT_EQ(header(clone), "HTTP/1.1 302 Found\r\nSet-Cookie: a\r\nSet-Cookie: b\r\n\r\n");
  kiv_http_table_UnsetStatus(table.get());
  EXPECT_EQ(kiv_http_table_GetStatusValue(table.get()), 0);  // deliberate: not -1
  kiv_http_table_clean(table.get());
  EXPECT_EQ(shown(table), "(null) (null) (null) -1");
}

TEST(HttpTable, RefusesNull) {
  Table table = make();
  EXPECT_EQ(kiv_http_table_SetField(table.get(), nullptr, "a") |
                kiv_http_table_SetField(table.get(), "a", nullptr) |
                kiv_http_table_SetForm(nullptr, "a", "b") |
                kiv_http_table_SetForm(table.get(), "a", nullptr) |
                kiv_http_table_SetMethod(nullptr, "a") |
                kiv_http_table_SetStatus(table.get(), nullptr) |
                kiv_http_table_UnsetRequest(nullptr) |
                kiv_http_table_GetNextForm(nullptr, nullptr, nullptr, nullptr) |
                kiv_http_table_GetFormStrLen(nullptr),
            0);
  EXPECT_EQ(kiv_http_table_ParseHeaderStr(nullptr), nullptr);
  EXPECT_EQ(kiv_http_table_ParseFormStr(nullptr), nullptr);
  EXPECT_EQ(kiv_http_table_clone(nullptr), nullptr);
  EXPECT_EQ(kiv_http_table_GetStatusValue(nullptr), -1);
  kiv_http_table_free(nullptr);
}

}  // namespace
