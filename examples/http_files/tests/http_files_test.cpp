// The parts of the file server that decide: dates, ranges, paths. What it does on the wire is
// checked by examples/http_files/check.sh.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "byte_range.h"
#include "folder.h"
#include "http_date.h"
#include "listing.h"
#include "text.h"
#include "url_path.h"

namespace fs = std::filesystem;
using namespace http_files;

TEST(HttpDate, ReadsWhatItWritesAndNothingElse) {
  const std::pair<long long, const char*> dates[] = {
      {0, "Thu, 01 Jan 1970 00:00:00 GMT"},         {784111777, "Sun, 06 Nov 1994 08:49:37 GMT"},
      {951827696, "Tue, 29 Feb 2000 12:34:56 GMT"}, {2147483648, "Tue, 19 Jan 2038 03:14:08 GMT"},
      {-1, "Wed, 31 Dec 1969 23:59:59 GMT"},
  };
  for (const auto& [seconds, text] : dates) {
    const std::chrono::sys_seconds time{std::chrono::seconds{seconds}};
    std::string written;
    append_http_date(written, time);
    EXPECT_EQ(written, text);
    EXPECT_EQ(parse_http_date(text), time);
  }
  for (const char* text : {"", "Sun, 06 Nov 1994 08:49:37", "Mon, 06 Nov 1994 08:49:37 GMT",
                           "Sun, 06 Nov 1994 24:00:00 GMT", "Thu, 29 Feb 1900 00:00:00 GMT",
                           "Sun, 06 ovD 1994 08:49:37 GMT", "Sun, 00 Nov 1994 08:49:37 GMT",
                           "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994",
                           "Sun, -6 Nov 1994 08:49:37 GMT"}) {
    EXPECT_FALSE(parse_http_date(text)) << text;
  }
}

TEST(ByteRange, FollowsTheField) {
  using Kind = ByteRange::Kind;
  const struct {
    const char* field;
    std::uint64_t size;
    Kind kind;
    std::uint64_t first, length;
  } cases[] = {
      {"bytes=0-0", 10, Kind::part, 0, 1},
      {"bytes=3-", 10, Kind::part, 3, 7},
      {"Bytes=-3", 10, Kind::part, 7, 3},
      {"bytes=-30", 10, Kind::part, 0, 10},
      {"bytes=5-99", 10, Kind::part, 5, 5},
      {"bytes=4294967296-4294967297", 5000000000, Kind::part, 4294967296, 2},
      {"bytes=0-99999999999999999999", 10, Kind::part, 0, 10},
      {"bytes=10-", 10, Kind::unsatisfiable, 0, 0},
      {"bytes=99999999999999999999-", 10, Kind::unsatisfiable, 0, 0},
      {"bytes=0-", 0, Kind::unsatisfiable, 0, 0},
      {"bytes=-0", 10, Kind::unsatisfiable, 0, 0},
      {"", 10, Kind::whole, 0, 10},
      {"bytes=", 10, Kind::whole, 0, 10},
      {"bytes=-", 10, Kind::whole, 0, 10},
      {"bytes=5-4", 10, Kind::whole, 0, 10},
      {"bytes=1-2,4-5", 10, Kind::whole, 0, 10},
      {"bytes=+1-2", 10, Kind::whole, 0, 10},
      {"items=1-2", 10, Kind::whole, 0, 10},
  };
  for (const auto& c : cases) {
    const ByteRange range = parse_range(c.field, c.size);
    EXPECT_EQ(range.kind, c.kind) << c.field;
    EXPECT_EQ(range.first, c.first) << c.field;
    EXPECT_EQ(range.length, c.length) << c.field;
  }
}

TEST(UrlPath, AcceptsPathsAndRejectsEscapesFromTheRoot) {
  const struct {
    std::string target;
    int status;
    const char* url;  // as it is written again
  } cases[] = {
      {"/", 200, "/"},
      {"/a/b.txt?x=/../..", 200, "/a/b.txt"},
      {"/a/./b/", 200, "/a/b/"},
      {"/a/%2e", 200, "/a/"},
      {"//host//x", 200, "/host/x"},
      {"http://host/a%20b", 200, "/a%20b"},
      {"HTTP://host", 200, "/"},
      {"http://host?a/b", 200, "/"},
      {"/%C3%A4%26'", 200, "/%C3%A4%26%27"},
      {"", 400, "/"},
      {"*", 400, "/"},
      {"etc/passwd", 400, "/"},
      {"file:///etc/passwd", 400, "/"},
      {"/a%2", 400, "/"},
      {"/a%zz", 400, "/"},
      {"/a%00.txt", 400, "/"},
      {"/a%0d%0a", 400, "/"},
      {"/..", 403, "/"},
      {"/a/../../b", 403, "/"},
      {"/%2e%2E/b", 403, "/"},
      {"/..%2fb", 403, "/"},
      {"/a%5cb", 403, "/"},
      {"/..\\b", 403, "/"},
  };
  for (const auto& c : cases) {
    const UrlPath path = parse_target(c.target);
    EXPECT_EQ(path.status, c.status) << c.target;
    EXPECT_EQ(path.url(), c.url) << c.target;
  }
  const bool has_drives = fs::path::preferred_separator == '\\';
  for (const char* target : {"/C:/x", "/a.txt::$DATA", "/nul.txt", "/COM1", "/a.txt.", "/a%20"}) {
    EXPECT_EQ(parse_target(target).status, has_drives ? 403 : 200) << target;
  }
}

// A folder beside a secret, with links where the system has them.
class FolderTest : public testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(base_);
    fs::create_directories(base_ / "served" / "sub");
    for (const char* name : {"secret.txt", "served/page.html", "served/sub/<b>&.txt"}) {
      if (name[12] == '<' && fs::path::preferred_separator == '\\') continue;
      std::ofstream(base_ / name) << name;
    }
  }
  void TearDown() override { fs::remove_all(base_); }

  static int status(const Folder& folder, const char* target) {
    return folder.find(parse_target(target)).status;
  }
  bool link(const fs::path& to, const char* name) {
    std::error_code error;
    fs::create_symlink(to, base_ / "served" / name, error);
    return !error;
  }

  const fs::path base_ = fs::temp_directory_path() / "http_files_test";
};

TEST_F(FolderTest, FindsOnlyWhatIsInside) {
  EXPECT_FALSE(Folder::open(base_ / "missing"));
  EXPECT_FALSE(Folder::open(base_ / "secret.txt"));
  const auto folder = Folder::open(base_ / "served");
  ASSERT_TRUE(folder);
  EXPECT_EQ(status(*folder, "/page.html"), 200);
  EXPECT_TRUE(folder->find(parse_target("/sub")).is_directory);
  for (const char* target : {"/none", "/page.html/", "/page.html/x", "/secret.txt"}) {
    EXPECT_EQ(status(*folder, target), 404) << target;
  }
  if (!link(base_ / "secret.txt", "out.txt")) GTEST_SKIP() << "no links here";
  EXPECT_TRUE(link("..", "up") && link("sub", "in") && link("loop", "loop"));
  EXPECT_EQ(status(*folder, "/out.txt"), 403);
  EXPECT_EQ(status(*folder, "/up/secret.txt"), 403);
  EXPECT_EQ(status(*folder, "/in"), 200);
  EXPECT_EQ(status(*folder, "/loop"), 404);
}

TEST_F(FolderTest, PageEscapesNames) {
  if (fs::path::preferred_separator == '\\') GTEST_SKIP() << "such names cannot be";
  const std::string page = directory_page(base_ / "served" / "sub", parse_target("/sub/"));
  EXPECT_NE(page.find("<a href=\"/sub/%3Cb%3E%26.txt\">&lt;b&gt;&amp;.txt</a>"), page.npos);
}

TEST(Text, HtmlIsEscapedAndAlwaysUtf8) {
  const std::pair<const char*, const char*> cases[] = {
      {"a<'\"&>", "a&lt;&#39;&quot;&amp;&gt;"},
      {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"\xC3", "\xEF\xBF\xBD"},
      {"\xE4x", "\xEF\xBF\xBDx"},
      {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& [text, html] : cases) {
    std::string out;
    append_html(out, text);
    EXPECT_EQ(out, html);
  }
}
