// URIs: parsed, printed, resolved, and made from paths. "~" stands for a part that is not there.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/stdout_capture.h"

namespace {

std::string shown(const char* text) {
  return text == nullptr ? "~" : text;
}

std::string taken(char* text) {
  const std::string result = shown(text);
  _zu_free(text);
  return result;
}

struct Uri {
  explicit Uri(const std::string& text, int raw = 0) : record(kiv_uri_mallocx(text.c_str(), raw)) {}
  ~Uri() { kiv_uri_free(record); }

  // scheme|opaque|authority|user|host|port|path|query|fragment
  std::string parts() const {
    if (record == nullptr) return "~";
    std::string all;
    for (const char* part : {record->scheme, record->opaque, record->authority, record->user,
                             record->host, record->port_string, record->path, record->query}) {
      all += shown(part) + "|";
    }
    return all + shown(record->fragment);
  }
  std::string printed() const { return taken(kiv_uri_GetURIString(record)); }
  std::string request() const { return taken(kiv_uri_GetURIRequest(record)); }

  kiv_uri* record;
};

TEST(Uri, Parsing) {
  const std::string cases[][2] = {
      {"", "~|~|~|~|~|0|~|~|~"},
      {"  HTTP://host  ", "HTTP|~|~|~|host|80|/|~|~"},
      {"http://host:8080/a?x=1%20y#f", "http|~|~|~|host|8080|/a|x=1 y|f"},
      {"foo://a%40b:c@h:/p?", "foo|~|~|a@b:c|h|0|/p||~"},
      {"\\\\h\\a\\..\\b?c\\d%5C", "~|~|~|~|h|0|/b|c/d\\|~"},
      {"mailto:a%20b/c?d[]#e", "mailto|a b/c?d[]|~|~|~|0|~|~|e"},
      {"c:\\dir\\f.txt", "c|~|~|~|~|0|/dir/f.txt|~|~"},
      {"../a;b@c/d:e", "~|~|~|~|~|0|../a;b@c/d:e|~|~"},
      {"?q#", "~|~|~|~|~|0|~|q|"},
      {"http://h/a%00b?c%00d", "http|~|~|~|h|80|/a|c|~"},
      // Servers, and what is none.
      {"file:///etc/x", "file|~|~|~|etc|0|/x|~|~"},
      {"http://", "http|~|~|~|~|0|~|~|~"},
      {"ftp://a-b.3c.De.?", "ftp|~|~|~|a-b.3c.De.|21|/||~"},
      {"x://10.1:99999999999", "x|~|~|~|10.1|2147483647|/|~|~"},
      {"http://1.2.3.4.5/", "http|~|1.2.3.4.5|~|~|0|/|~|~"},
      {"http://h.3c/", "http|~|h.3c|~|~|0|/|~|~"},
      {"http://my_host%20/", "http|~|my_host%20|~|~|0|/|~|~"},
      {"http://u@h:81#f", "http|~|u@h:81|~|~|81|~|~|f"},
      {"http://u@[1::f:2]:81/", "http|~|~|u|~|81|/|~|~"},
      {"http://[1:2:3:4:5:6:7:8]", "http|~|~|~|~|0|~|~|~"},
  };
  for (const auto& [text, parts] : cases) EXPECT_EQ(Uri(text).parts(), parts) << text;
  const char* const bad[] = {"http://host/a b",
                             "http:",
                             "1:2",
                             ":a",
                             "a:/ b",
                             "http://?q",
                             "http:// ",
                             "http://[]/",
                             "http://[1::2::3]/",
                             "http://[1:2:3:4:5:6:7:8:9]",
                             "http://[:1]",
                             "http://[1:]",
                             "http://[12345]",
                             "http://[::1",
                             "http://h/%4",
                             "/a\x80",
                             "?{",
                             "a:^",
                             "\ta",
                             "a#b#c"};
  for (const char* text : bad) {
    EXPECT_EQ(Uri(text).parts(), "~") << text;
  }
}

TEST(Uri, DefaultPorts) {
  EXPECT_STREQ(kiv_uri_GetPortString(Uri("Z39.50s://h:0").record), "210");
  EXPECT_EQ(kiv_uri_GetPort(Uri("http://h:99999").record), 34463);
  EXPECT_EQ(kiv_uri_GetPort(nullptr), 0);
}

TEST(Uri, RequestsAndRawRecords) {
  const std::string cases[][3] = {
      {"http://h?a%20b", "/?a%20b", "/?a%20b"},
      {"http://h/%41:%2f%7e[?", "~", "~"},
      {"http://h/%41:%2f%7e;?", "/A%3A/~;?", "/%2541%3A%252f%257e;?"},
      {"http://h/..", "", ""},
      {"mailto:x", "", ""},
  };
  for (const auto& [text, request, raw] : cases) {
    EXPECT_EQ(Uri(text).request(), request) << text;
    EXPECT_EQ(Uri(text, 1).request(), raw) << text;
  }
  EXPECT_EQ(Uri("a://%41/%41?%41#%41", 1).parts(), "a|~|%41|~|~|0|/%41|%41|%41");
}

TEST(Uri, Printing) {
  const std::string cases[][2] = {
      {"http://h:80", "http://h/"},
      {"HTTP://u%20v:w@h:81/a%3ab?q%20#%22f", "HTTP://u%20v:w@h:81/a%3Ab?q%20#%22f"},
      {"//h:1?\\", "//h:1/?/"},
      {"file:/etc/x", "file:///etc/x"},
      {"mailto:a%20b%7b[#c", "mailto:a%20b%7B[#c"},
  };
  for (const auto& [text, printed] : cases) EXPECT_EQ(Uri(text).printed(), printed) << text;

  Uri uri("http://u@h/%20?%20#f");
  kiv_uri* clone = kiv_uri_clone(uri.record);
  kiv_uri_cleanall(uri.record);
  EXPECT_EQ(uri.printed(), "");
  EXPECT_EQ(kiv::test::printed_by([&] { kiv_uri_print(clone); }),
            "==URI print==:\nuri : http://u@h/%20?%20#f\nscheme: [http]\nuser: [u]\n"
            "host:port: [h:80]\npath: [/ ]\npath_raw: [/%20]\nquery: [ ]\nquery_raw: [%20]\n"
            "request: [/%20?%20]\nfragment: [f]\n");
  _zu_free(clone->query_raw);
  clone->query_raw = nullptr;  // the decoded query, which an application may have set, is escaped
  EXPECT_EQ(taken(kiv_uri_GetURIString(clone)), "http://u@h/%20?%20#f");
  kiv_uri_free(clone);
}

TEST(Uri, NormalPaths) {
  const std::string cases[][2] = {{"/a/./b//c/../d", "/a/b/d"},
                                  {"/a/b/c/../../../../d", "/d"},
                                  {"/..", ""},
                                  {"/../", "/"},
                                  {"/a/..", "/"},
                                  {"/a/b/..", "/a/"},
                                  {"/..a/...", "/..a/..."},
                                  {"/.//x", "/x"},
                                  {"//../a//b/..", "//../a/"},
                                  {"./a/.", "a/"},
                                  {"a/../../../b/../c", "../../c"},
                                  {"../..", "../.."},
                                  {"x../..", ""},
                                  {".", ""},
                                  {"", ""}};
  for (const auto& [given, normal] : cases) {
    std::string path = given;
    EXPECT_EQ(kiv_uri_NormalizeURIPath(path.data()), 0);
    EXPECT_STREQ(path.c_str(), normal.c_str()) << given;
  }
  EXPECT_EQ(kiv_uri_NormalizeURIPath(nullptr), -1);
}

TEST(Uri, References) {
  const std::string base = "http://u@a:81/b/c/d;p?q#z";
  const std::string cases[][3] = {{"g:h", base, "g:h"},
                                  {"g", base, "http://u@a:81/b/c/g"},
                                  {"/g", base, "http://u@a:81/g"},
                                  {"//g", base, "http://g/"},
                                  {"?y%20", base, "http://u@a:81/b/c/d;p?y%20"},
                                  {"#s", base, "http://u@a:81/b/c/d;p?q#s"},
                                  {".", base, "http://u@a:81/b/c/"},
                                  {"../../../g", base, "http://u@a:81/g"},
                                  {"", base, base},
                                  {"//a_b", base, "http://a_b"},
                                  {"a b", base, "~"},
                                  {"../g", "no base", "../g"},
                                  {"g", "x/y", "x/g"},
                                  // The path stays apart from the server.
                                  {"g", "http://h", "http://h/g"},
                                  {"g", "http://h/..", "http://h/g"},
                                  {"g", "http://a_b", "http://a_b/g"},
                                  {"g", "http://[::1]", "http:///g"}};
  for (const auto& [reference, from, whole] : cases) {
    EXPECT_EQ(taken(kiv_uri_BuildURI(reference.c_str(), from.c_str())), whole) << reference << from;
  }
  EXPECT_EQ(taken(kiv_uri_BuildURI("/./a", nullptr)), "/a");
  EXPECT_EQ(kiv_uri_BuildURI(nullptr, "http://h"), nullptr);
}

TEST(Uri, RelativeReferences) {
  const std::string cases[][3] = {{"http://h/a/b%20:@c?q#f", "http://h/a/x", "b%20%3A%40c"},
                                  {"http://h/a/b", "http://h/c/d/e", "../../a/b"},
                                  {"http://h/ab/c", "http://h/ac/c", "../ab/c"},
                                  {"http://h/a?q", "http://h/a", ""},
                                  {"http://h", "http://h/a/b", "../"},
                                  {"https://h/a", "http://h/b", "https://h/a"},
                                  {"http://h:81/a", "http://h/b", "http://h:81/a"},
                                  {"http://a_b/a", "http://a_c/b", "http://a_b/a"},
                                  {"mailto:a", "mailto:b", "mailto:a"},
                                  {"http://h//a", "http://h/b", "http://h//a"},
                                  {"a b", "http://h", "~"},
                                  {"http://h", "a b", "~"}};
  for (const auto& [uri, base, relative] : cases) {
    EXPECT_EQ(taken(kiv_uri_BuildRelativeURI(uri.c_str(), base.c_str())), relative) << uri;
  }
}

TEST(Uri, Paths) {
  const std::string cases[][3] = {
      {"c:\\dir\\f.txt", "c:\\dir\\f.txt", "c:\\dir\\f.txt"},
      {"c:\\my dir\\f.txt", "file:///c%3A/my%20dir/f.txt", "file%3A///c%253A/my%2520dir/f.txt"},
      {"my dir\\%f:x", "my dir/%f:x", "my%20dir/%25f%3Ax"},
      {"http://h/a b?c d\\%20@", "http://h/a%20b?c%20d%5C%2520%40",
       "http%3A//h/a%2520b%3Fc%2520d%255C%252520%2540"},
      {"xy://?a b", "xy://?a b", "xy%3A//%3Fa%20b"},
      {"abcdefghijabcdefghija://h/ ?", "abcdefghijabcdefghija://h/ ?",
       "abcdefghijabcdefghija%3A//h/%20%3F"}};
  for (const auto& [path, canonic, uri] : cases) {
    EXPECT_EQ(taken(kiv_uri_CanonicPath(path.c_str())), canonic);
    EXPECT_EQ(taken(kiv_uri_PathToURI(path.c_str())), uri);
  }
}

}  // namespace
