#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "kiv_base/base.h"
#include "tests/support/temp_dir.h"

namespace {

class Log : public testing::Test {
 protected:
  zu_log* open(const char* name = "a.log") { return zu_log_malloc(dir_.file(name).c_str()); }
  std::string content(const char* name = "a.log") { return dir_.content(name); }
  kiv::test::TempDir dir_;
};

TEST_F(Log, AppendsRawTextAndStampedLines) {
  for (std::size_t before : {4u, 99u}) {
    zu_log* log = open();
    ASSERT_NE(nullptr, log);
    EXPECT_EQ(1, zu_log_printf(log, "abc%s%lld", "", 5LL));
    EXPECT_EQ(before, content().size()) << "flushed at once";
    EXPECT_EQ(1, zu_log_notice(log, "one\n") & zu_log_warn(log, "%s\n", "two"));
    EXPECT_EQ(1, zu_log_error(log, "%c\n", 'e'));
    zu_log_free(log);
  }
  std::string text = content();
  for (char& c : text) c = c >= '0' && c <= '9' ? '9' : c;
  const std::string stamp = "9999-99-99 99:99:99 ";
  const std::string round =
      "abc9" + stamp + "notice: one\n" + stamp + "warn: two\n" + stamp + "error: e\n";
  EXPECT_EQ(round + round, text);
}

TEST_F(Log, CutsMessagesAtTheBuffer) {
  std::size_t expected = 0;
  zu_log* log = open();
  for (std::size_t length : {102373u, 102374u, 102399u, 102401u, 300000u}) {
    const std::string text(length, 'x');
    zu_log_printf(log, "%s", text.c_str());
    zu_log_error(log, "%s", text.c_str());
    expected += std::min<std::size_t>(length, 102400) + std::min<std::size_t>(length + 27, 102400);
    EXPECT_EQ(expected, content().size()) << length;
  }
  zu_log_free(log);
}

TEST_F(Log, RefusesWhatItCannotOpenOrUse) {
  for (void* none : {open("missing/a.log"), zu_log_malloc(nullptr), zu_log_malloc("")}) {
    EXPECT_EQ(nullptr, none);
  }
  zu_log_free(nullptr);
  zu_log log;
  EXPECT_EQ(0, zu_log_init(nullptr, "a") |
                   zu_log_init(&log, ("missing/" + std::string(300, 'x')).c_str()));
  EXPECT_EQ(260u, zu_strlen(log.path));
  zu_log_destroy(&log);
  ASSERT_EQ(1, zu_log_init(&log, dir_.file("b.log").c_str()));
  int(KIV_CALL * print)(zu_log*, const char*, ...) = zu_log_printf;  // past the format checks
  EXPECT_EQ(0, print(&log, nullptr));
  zu_log_destroy(&log);
  zu_log_destroy(&log);
  EXPECT_EQ(0, zu_log_notice(&log, "gone") | zu_log_notice(nullptr, "gone"));
  EXPECT_EQ("", content("b.log"));
}

TEST_F(Log, KeepsTheLinesOfThreadsApart) {
  zu_log* log = open();
  auto write = [log](char name) {
    for (int i = 0; i < 50; ++i) zu_log_printf(log, "%s\n", std::string(200, name).c_str());
  };
  std::thread other(write, 'b');
  write('a');
  other.join();
  zu_log_free(log);
  std::istringstream written(content());
  std::set<std::string> lines;
  for (std::string line; std::getline(written, line);) lines.insert(line);
  EXPECT_EQ((std::set<std::string>{std::string(200, 'a'), std::string(200, 'b')}), lines);
}

// Within a directory of its own, as the trace has a fixed name in the current one.
class Console : public Log {
 protected:
  Console() : home_(std::filesystem::current_path()) { std::filesystem::current_path(dir_.path()); }
  ~Console() override {
    zu_console_Shutdown();
    zu_console_Setup(nullptr);
    std::filesystem::current_path(home_);
  }
  std::string trace() { return content("zu_console.txt"); }
  std::filesystem::path home_;
};

TEST_F(Console, WritesItsOneFileWhateverTheName) {
  EXPECT_EQ(1, zu_console_Setup("other.txt"));
  EXPECT_EQ(1, zu_console_printf("%d,", 1) & zu_console_printf("2"));
  EXPECT_EQ("(missing)", content("other.txt"));
  EXPECT_EQ(1, zu_console_Free());
  EXPECT_EQ(0, zu_console_printf("off"));
  EXPECT_EQ("1,2", trace());
  EXPECT_EQ(1, zu_console_Setup(nullptr));
  EXPECT_EQ(1, zu_console_printf("%s", std::string(30000, 'x').c_str()));
  EXPECT_EQ(std::string(20480, 'x'), trace()) << "emptied when opened again, then cut";
  EXPECT_EQ(0, zu_console_Shutdown() | zu_console_Shutdown() | zu_console_printf("off"));

  std::filesystem::remove("zu_console.txt");
  std::filesystem::create_directory("zu_console.txt");
  EXPECT_EQ(1, zu_console_Setup(nullptr) & zu_console_printf("lost"));
  int(KIV_CALL * print)(const char*, ...) = zu_console_printf;
  EXPECT_EQ(0, print(nullptr));
}

TEST_F(Log, HelpersReadAndAppendWholeFiles) {
  const std::string path = dir_.file("f"), missing = dir_.file("no/f");
  EXPECT_EQ(1, zu_AppendFile(path.c_str(), "a\r\n\x1a\0b", 6));
  EXPECT_EQ(1, zu_AppendFile(path.c_str(), nullptr, 5) & zu_AppendFile(path.c_str(), "z", -1));
  EXPECT_EQ(0, zu_AppendFile(missing.c_str(), "z", 1));
  const std::string all = content("f");
  EXPECT_EQ(std::string("a\r\n\x1a\0b", 6), all);
  for (int size : {-1, 0, 1, 3, 6, 7, 9}) {
    char raw[] = "#########", text[] = "#########";
    const int got = std::clamp(size, 0, 6);
    EXPECT_EQ(got, zu_GetFileContent(path.c_str(), raw, size));
    EXPECT_EQ(all.substr(0, unsigned(got)) + std::string(unsigned(9 - got), '#'),
              std::string(raw, 9));
    EXPECT_EQ(size > 0, zu_GetTextFileContent(path.c_str(), text, size));
    EXPECT_TRUE(size < 1 || text[std::min(size - 1, 6)] == '\0');
    EXPECT_EQ('#', text[std::clamp(size, 0, 7)]);
  }
  char out[] = "#";
  for (const char* none : {static_cast<const char*>(nullptr), missing.c_str()}) {
    EXPECT_EQ(-1, zu_GetFileContent(none, out, 1));
    EXPECT_EQ(0, zu_GetTextFileContent(none, out, 1));
    EXPECT_NE(0, zu_DeleteFile(none));
  }
  EXPECT_EQ(0, zu_GetTextFileContent(path.c_str(), nullptr, 9) | zu_DeleteFile(path.c_str()));
  EXPECT_EQ("(missing)", content("f"));
}

}  // namespace
