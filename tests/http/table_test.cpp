// HTTP tables: setters, walks, text and parsing.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::printed_by;

// A table and the verbs of the tests.
struct Table {
  kiv_http_table* self = kiv_http_table_make();

  ~Table() { kiv_http_table_free(self); }
  static Table head(const std::string& text) {
    return {kiv_http_table_ParseHeaderStr(text.c_str())};
  }
  static Table form_of(const std::string& text) {
    return {kiv_http_table_ParseFormStr(text.c_str())};
  }
  int set(const char* name, const char* value) {
    return kiv_http_table_SetField(self, name, value);
  }
  int unset(const char* name) { return kiv_http_table_UnsetField(self, name); }
  int form(const char* name, const char* raw) { return kiv_http_table_SetForm(self, name, raw); }
  std::string header() { return taken(kiv_http_table_GetHeaderStr(self)); }
  std::string form() { return taken(kiv_http_table_GetFormStr(self)); }
  static std::string or_null(const char* text) { return text == nullptr ? "(null)" : text; }
  static std::string taken(char* text) {
    const std::string result = or_null(text);
    _zu_free(text);
    return result;
  }
  // The names of the next fields, up to the end.
  std::string next(int count) {
    std::string names;
    const char* name;
    while (count-- > 0 && kiv_http_table_GetNextField(self, &name, nullptr) == 1) names += name;
    return names;
  }
  // All it holds, in one line.
  std::string shown() {
    if (self == nullptr) return "(null)";
    std::string all = or_null(kiv_http_table_GetMethod(self)) + " " +
                      or_null(kiv_http_table_GetRequest(self)) + " " +
                      or_null(kiv_http_table_GetStatus(self)) + " " +
                      std::to_string(kiv_http_table_GetStatusValue(self));
    const char *name, *value, *raw;
    kiv_http_table_RewindField(self);
    while (kiv_http_table_GetNextField(self, &name, &value) == 1) {
      all += std::string("|") + name + ":" + value;
    }
    kiv_http_table_RewindForm(self);
    while (kiv_http_table_GetNextForm(self, &name, &value, &raw) == 1) {
      all += std::string("&") + name + "=" + value + "=" + raw;
    }
    return all;
  }
};

TEST(HttpTable, ParsesHeads) {
  const char* const cases[][2] = {
      {"GET /a HTTP/1.1\r\nHost: x\r\n\r\n", "GET /a (null) -1|Host:x"},
      {"HTTP/1.0 404 Not Found\r\n", "(null) (null) 404 Not Found 404"},
      {"  \r\n\npost   /b   HTTP/1.0  \nA:1\rB : 2 \n\n\r\nA:3\r\r",
       "post /b (null) -1|A:1|B:2 |A:3"},
      {"HTTP/1.1 a=b&c%/-_. 1\n", "(null) (null) a=b&c%/-_. 1 0"},
      {"HTTP/1.1 99999999999 x\n", "(null) (null) 99999999999 x 2147483647"},
      {"GET /\x80\xff HTTP/1.1\r\nX: \t\x80:\r\n", "GET /\x80\xff (null) -1|X:\t\x80:"},
  };
  for (const auto& c : cases) EXPECT_EQ(Table::head(c[0]).shown(), c[1]) << c[0];
}

TEST(HttpTable, SaysWhatIsWrongWithAHead) {
  const struct {
    const char *head, *what, *number = "";
  } cases[] = {
      {"GET /a\r\n\r\n", "'request'"},
      {"GET /a HTTP/1.2\r\n", "'version'", " 1"},
      {"GET\r\n", "'version'", " 2"},
      {"", "'version'", " 2"},
      {"HTTP/1.1\t200 OK\r\n", "'version'", " 2"},
      {"HTTP/1.1 200 (OK)\r\n", "'status'"},
      {"HTTP/1.1 \r\n", "'status'"},
      {"GET /a HTTP/1.1 x\r\n", "'newline'"},
      {"GET /a HTTP/1.1\r\n a: b\r\n", "'field'"},
      {"GET /a HTTP/1.1\r\na_b: c\r\n", "'field'"},
      {"GET /a HTTP/1.1\r\na b\r\n", "':'"},
      {"GET /a HTTP/1.1\r\na:  \r\nb: c\r\n", "'content'"},
      {"GET /a HTTP/1.1\r\na: b", "'content'"},
  };
  for (const auto& c : cases) {
    std::string wanted = std::string("error: parse ") + c.what;
    wanted += std::string(" error in kiv_http_table_ParseHeaderStr()") + c.number + "!\n";
    wanted += std::string(c.head) + "\n";
    std::erase(wanted, '\r');  // as the capture does
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(Table::head(c.head).shown(), "(null)"); }), wanted);
  }
}

TEST(HttpTable, PrintsWhatWasSetAndReadsItBack) {
  Table table;
  EXPECT_EQ(table.header(), "(null)");
  EXPECT_EQ(table.set("Host", "example"), 1);
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(table.header(), "(null)"); }),
            "error: method or status is NULL in kiv_http_table_GetHeaderStr()!\n");
  kiv_http_table_SetMethod(table.self, "GET");
  EXPECT_EQ(table.header(), "GET HTTP/1.1\r\nHost: example\r\n\r\n");
  kiv_http_table_SetRequest(table.self, "");  // an empty target counts as set
  EXPECT_EQ(table.header(), "GET  HTTP/1.1\r\nHost: example\r\n\r\n");
  kiv_http_table_SetRequest(table.self, "/x?y");
  const std::string value(7000, 'v');  // longer than the first buffer
  table.set("Long", value.c_str());
  EXPECT_EQ(table.header(), "GET /x?y HTTP/1.1\r\nHost: example\r\nLong: " + value + "\r\n\r\n");
  EXPECT_EQ(Table::head(table.header()).shown(), table.shown());
  Table response;
  kiv_http_table_SetStatus(response.self, kiv_http_status_lines[3]);
  response.set("A", "b");
  EXPECT_EQ(response.header(), "HTTP/1.1 200 OK\r\nA: b\r\n\r\n");
  kiv_http_table_SetMethod(response.self, "PUT");
  EXPECT_EQ(response.header(), "PUT HTTP/1.1\r\nA: b\r\n\r\n");
  EXPECT_EQ(kiv_http_table_UnsetMethod(response.self), 1);
  EXPECT_EQ(response.header(), "HTTP/1.1 200 OK\r\nA: b\r\n\r\n");
}

TEST(HttpTable, FieldsAreReplacedInPlaceAndKeepTheirOrder) {
  Table table = Table::head("GET / HTTP/1.1\r\nA: 1\r\nB: 22\r\na: 3\r\n");
  EXPECT_EQ(table.set("b", "4") + table.set("C", "5"), 2);
  EXPECT_EQ(table.set("a", "666") + table.set("A", "7777"), 2);
  table.set("C", kiv_http_table_GetField(table.self, "c"));
  EXPECT_EQ(table.shown(), "GET / (null) -1|A:7777|b:4|a:3|C:5");
  table.set("A", "a");  // its own value and name as the new name and value
  table.set(kiv_http_table_GetField(table.self, "A"), "8888");
  EXPECT_EQ(table.shown(), "GET / (null) -1|a:8888|b:4|a:3|C:5");
  const char* name;
  kiv_http_table_RewindField(table.self);
  kiv_http_table_GetNextField(table.self, &name, nullptr);
  table.set("A", name);
  EXPECT_EQ(table.shown(), "GET / (null) -1|A:a|b:4|a:3|C:5");
  EXPECT_EQ(table.unset("a") + table.unset("C") + table.unset("x"), 2);
  EXPECT_STREQ(kiv_http_table_GetField(table.self, "A"), "3");
  table.set("D", "8");
  EXPECT_EQ(table.shown(), "GET / (null) -1|b:4|a:3|D:8");
  table.set("E", "9");  // the walk that had ended goes on
  EXPECT_EQ(table.next(1), "E");
  kiv_http_table_RewindField(table.self);
  EXPECT_EQ(table.next(1), "b");
  table.unset("b");  // passed already: the cursor counts, so the walk misses the next
  EXPECT_EQ(table.next(9), "DE");
  kiv_http_table_ZeroField(table.self);
  table.set("F", "0");
  EXPECT_EQ(table.next(9), "F");
}

TEST(HttpTable, FormsGoOutWithTheirLength) {
  Table table;
  kiv_http_table_SetMethod(table.self, "post");
  EXPECT_EQ(table.form("a", "1") + table.form("b", "x y"), 2);
  EXPECT_EQ(table.header(), "(null)");  // deliberate: the form's own fields do not count
  table.set("content-length", "999999");
  EXPECT_EQ(table.header(),
            "post HTTP/1.1\r\nContent-Length: 9\r\n"
            "Content-Type: application/x-www-form-urlencoded\r\n\r\n");
  EXPECT_EQ(table.form(), "a=1&b=x+y");
  EXPECT_EQ(kiv_http_table_GetForm(table.self, "B"), nullptr);
  EXPECT_STREQ(kiv_http_table_GetFormRaw(table.self, "b"), "x y");
  EXPECT_EQ(Table::form_of(table.form()).shown(), "(null) (null) (null) -1&a=1=1&b=x+y=x y");
}

TEST(HttpTable, ReplacedFormValuesDriftTheLength) {
  Table table;
  table.form("a", "12345");
  table.form("a", "%");  // +3 -1, and the old five still count
  EXPECT_EQ(kiv_http_table_GetFormStrLen(table.self), 9);
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(table.form(), "(null)"); }),
            "error: Content-Length error(9) in kiv_http_table_GetFormStr()\n");
  EXPECT_EQ(table.shown(), "(null) (null) (null) -1&a=%25=%");
  EXPECT_EQ(kiv_http_table_ZeroForm(table.self), 1);
  EXPECT_EQ(table.form("a", "1") + table.form("bc", "x y") + table.form("d", "1"), 3);
  const char* name;
  kiv_http_table_GetNextForm(table.self, &name, nullptr, nullptr);
  EXPECT_STREQ(name, "a");
  EXPECT_EQ(kiv_http_table_UnsetForm(table.self, "bc"), 1);
  EXPECT_EQ(table.form(), "a=1&d=1");
  EXPECT_EQ(kiv_http_table_GetFormStrLen(table.self), 7);
}

TEST(HttpTable, ParsesForms) {
  EXPECT_EQ(Table::form_of("  a-._1=&b=%41+c&a-._1=x=y&").shown(),
            "(null) (null) (null) -1&a-._1==&b=%41+c=A c&a-._1=x=y=x=y");
  EXPECT_EQ(Table::form_of("a=&b=2").form(), "a=&b=2");
  for (const char* bad : {"a", "=b", "a=1&&b=2", "a b=1", "a=1& b=2", "a&b=2"}) {
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(Table::form_of(bad).self, nullptr); }),
              "error: parse 'name' error in kiv_http_table_ParseFormStr()!\n");
  }
}

TEST(HttpTable, CloneKeepsEqualNamesAndDropsTheVersion) {
  Table table = Table::head("HTTP/1.0 302 Found\r\nSet-Cookie: a\r\nSet-Cookie: b\r\n");
  table.form("n", "a b");
  Table clone{kiv_http_table_clone(table.self)};
  EXPECT_EQ(clone.shown(), "(null) (null) 302 Found 302|Set-Cookie:a|Set-Cookie:b&n=a+b=a b");
  EXPECT_EQ(clone.header().substr(0, 20), "HTTP/1.1 302 Found\r\n");
  EXPECT_EQ(table.header().substr(0, 20), "HTTP/1.0 302 Found\r\n");
  Table request = Table::head("GET /a HTTP/1.0\r\nA: b\r\n");
  EXPECT_EQ(Table{kiv_http_table_clone(request.self)}.header(), "GET /a HTTP/1.1\r\nA: b\r\n\r\n");
  kiv_http_table_UnsetStatus(table.self);
  EXPECT_EQ(kiv_http_table_GetStatusValue(table.self), 0);  // deliberate: not -1
  kiv_http_table_clean(table.self);
  EXPECT_EQ(table.shown(), "(null) (null) (null) -1");
}

}  // namespace
