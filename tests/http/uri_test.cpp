// URIs: parsed, printed, resolved, and made from paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/http/uri_record.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::taken;
using kiv::test::Uri;

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
  uri.record->flags = KIV_URI_RAW;
  kiv_uri_cleanall(uri.record);
  EXPECT_EQ(uri.printed() + std::to_string(uri.record->flags), "2") << "all but the flags";
  EXPECT_EQ(kiv::test::printed_by([&] { kiv_uri_print(clone); }),
            "==URI print==:\nuri : http://u@h/%20?%20#f\nscheme: [http]\nuser: [u]\n"
            "host:port: [h:80]\npath: [/ ]\npath_raw: [/%20]\nquery: [ ]\nquery_raw: [%20]\n"
            "request: [/%20?%20]\nfragment: [f]\n");
  const auto print = [](const char* text) {
    return kiv::test::printed_by([&] { kiv_uri_print(Uri(text).record); });
  };
  EXPECT_EQ(print("a:b"), "==URI print==:\nuri : a:b\nscheme: [a]\nopaque: [b]\nrequest: []\n");
  EXPECT_EQ(print("//a_b"), "==URI print==:\nuri : //a_b\nauthority: [a_b]\nrequest: []\n");
  _zu_free(clone->query_raw);
  clone->query_raw = nullptr;  // the decoded query, which an application may have set, is escaped
  EXPECT_EQ(taken(kiv_uri_GetURIString(clone)), "http://u@h/%20?%20#f");
  kiv_uri_free(clone);
}

TEST(Uri, EveryByteInEveryPlace) {
  const std::string nowhere = "\"<>^`{|}\x7f";
  for (const std::string whole :
       {"http://u%20@h.ex-am.ple:81/a/../b;c=%2f?d=%41&e#f%20", "http://[1::f:2]:81/x?",
        "mailto:a%20b?c[]#d", "\\\\10.1.2.3:4\\a b", "../a/./b?c", "c:\\my dir\\f.txt"}) {
    for (std::size_t at = 0; at < whole.size(); ++at) {
      for (int byte = 0; byte < 256; ++byte) {
        // Of just its size, so that reading past it is caught.
        std::vector<char> text(whole.c_str(), whole.c_str() + whole.size() + 1);
        text[at] = static_cast<char>(byte);
        const Uri uri(text.data());
        EXPECT_TRUE(kiv::test::reads_back(uri)) << text.data();
        const bool stands_nowhere = byte >= 0x80 || (byte > 0 && byte < ' ') ||
                                    (byte > 0 && nowhere.find(text[at]) != nowhere.npos);
        EXPECT_TRUE(!stands_nowhere || uri.record == nullptr) << text.data();
        for (const auto build : {kiv_uri_BuildURI, kiv_uri_BuildRelativeURI}) {
          _zu_free(build(text.data(), whole.c_str()));
          _zu_free(build(whole.c_str(), text.data()));
        }
        _zu_free(kiv_uri_PathToURI(text.data()));
      }
    }
  }
}

TEST(Uri, RandomOnesReadBack) {
  std::mt19937 random(7);
  const auto pick = [&](std::initializer_list<std::string> all) {
    return all.begin()[static_cast<std::size_t>(random()) % all.size()];
  };
  const auto text = [&] {
    std::string all;
    while (random() % 6 > 0) {
      char escape[4];
      std::snprintf(escape, sizeof escape, "%%%02x", static_cast<unsigned>(random() % 255 + 1));
      all += pick({"a", "B", "7", "-_.!~*'()", "&=+$,;", escape, escape});
    }
    return all;
  };
  for (int i = 0; i < 3000; ++i) {
    std::string uri = pick({"", "http:", "FTP:", "x+1.-y:"}) + pick({"//", "\\\\", "///"}) +
                      pick({"", text() + ":" + text() + "@"}) + pick({"h", "1.2.3.4", "a-1.b."}) +
                      pick({"", ":", ":0", ":80", ":65535"});
    while (random() % 4 > 0) {
      uri += pick({"/", "\\", "//"}) + pick({".", "..", text() + ":@", text()});
    }
    uri += pick({"", "?" + text() + "/?:@[]"}) + pick({"", "/#" + text()});
    const Uri record(uri);
    EXPECT_TRUE(record.has_host() && kiv::test::reads_back(record)) << uri;
  }
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

// The examples of RFC 2396, appendix C.
TEST(Uri, ExamplesOfReferences) {
  const std::string folder = "http://a/b/c/", base = folder + "d;p?q";
  const std::string cases[][2] = {
      {"g:h", "g:h"},
      {"g", folder + "g"},
      {"./g", folder + "g"},
      {"g/", folder + "g/"},
      {"/g", "http://a/g"},
      {"g?y", folder + "g?y"},
      {"g#s", folder + "g#s"},
      {"g?y#s", folder + "g?y#s"},
      {";x", folder + ";x"},
      {"g;x", folder + "g;x"},
      {"g;x?y#s", folder + "g;x?y#s"},
      {".", folder},
      {"./", folder},
      {"..", "http://a/b/"},
      {"../", "http://a/b/"},
      {"../g", "http://a/b/g"},
      {"../..", "http://a/"},
      {"../../", "http://a/"},
      {"../../g", "http://a/g"},
      {"g.", folder + "g."},
      {".g", folder + ".g"},
      {"g..", folder + "g.."},
      {"..g", folder + "..g"},
      {"./../g", "http://a/b/g"},
      {"./g/.", folder + "g/"},
      {"g/./h", folder + "g/h"},
      {"g/../h", folder + "h"},
      {"g;x=1/./y", folder + "g;x=1/y"},
      {"g;x=1/../y", folder + "y"},
      {"g?y/./x", folder + "g?y/./x"},
      {"g?y/../x", folder + "g?y/../x"},
      {"g#s/./x", folder + "g#s/./x"},
      {"g#s/../x", folder + "g#s/../x"},
      {"http:g", "http:g"},
      // deliberate: other than there. A host without a path has the path "/": there "http://g".
      {"//g", "http://g/"},
      // Without a path that of the base is kept, and all of it: there "http://a/b/c/?y".
      {"?y", base.substr(0, base.find('?')) + "?y"},
      // There is no current document to refer to, so the base is spelled out.
      {"#s", base + "#s"},
      {"", base},
      // Every path is normal, and ".." never leads above the top: there "http://a/../g",
      // "http://a/../../g", "http://a/./g" and "http://a/../g".
      {"../../../g", "http://a/g"},
      {"../../../../g", "http://a/g"},
      {"/./g", "http://a/g"},
      {"/../g", "http://a/g"},
  };
  for (const auto& [reference, whole] : cases) {
    EXPECT_EQ(taken(kiv_uri_BuildURI(reference.c_str(), base.c_str())), whole) << reference;
  }
}

TEST(Uri, References) {
  const std::string base = "http://u@a:81/b/c/d;p?q#z";
  const std::string cases[][3] = {{"g", base, "http://u@a:81/b/c/g"},
                                  {"?y%20", base, "http://u@a:81/b/c/d;p?y%20"},
                                  {"#s", base, "http://u@a:81/b/c/d;p?q#s"},
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
