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
  zu_log* open() { return zu_log_malloc(dir_.file("a.log").c_str()); }
  std::string content(const char* name = "a.log") { return dir_.content(name); }
  kiv::test::TempDir dir_;
};

TEST_F(Log, AppendsAtOnceAndCutsMessagesAtTheBuffer) {
  std::size_t expected = 0;
  for (std::size_t length : {1u, 102373u, 102374u, 102399u, 102401u, 300000u}) {
    zu_log* log = open();
    const std::string text(length, 'x');
    EXPECT_EQ(1, zu_log_printf(log, "%s", text.c_str()) & zu_log_error(log, "%s", text.c_str()));
    expected += std::min<std::size_t>(length, 102400) + std::min<std::size_t>(length + 27, 102400);
    EXPECT_EQ(expected, content().size()) << "flushed already, length " << length;
    zu_log_free(log);
  }
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
  std::filesystem::path home_;
};

TEST_F(Console, WritesItsOneFileWhateverTheName) {
  EXPECT_EQ(1, zu_console_Setup("other.txt"));
  EXPECT_EQ(1, zu_console_printf("%d,", 1) & zu_console_printf("2"));
  EXPECT_EQ("(missing)", content("other.txt"));
  EXPECT_EQ(1, zu_console_Free());
  EXPECT_EQ(0, zu_console_printf("off"));
  EXPECT_EQ("1,2", content("zu_console.txt"));
  EXPECT_EQ(1, zu_console_Setup(nullptr));
  EXPECT_EQ(1, zu_console_printf("%s", std::string(30000, 'x').c_str()));
  EXPECT_EQ(std::string(20480, 'x'), content("zu_console.txt")) << "emptied when opened, then cut";
  EXPECT_EQ(0, zu_console_Shutdown() | zu_console_Shutdown() | zu_console_printf("off"));

  std::filesystem::remove("zu_console.txt");
  std::filesystem::create_directory("zu_console.txt");
  EXPECT_EQ(1, zu_console_Setup(nullptr) & zu_console_printf("lost"));
}

}  // namespace
