// Modules, the process and its pid file.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_dir.h"
#if __has_include(<sys/wait.h>)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using kiv::test::printed_by;
using kiv::test::TempDir;
using PidFile = std::unique_ptr<zu_pidfile, decltype([](zu_pidfile* f) { zu_pidfile_free(f); })>;

std::string taken(char* text) {
  const std::string copy = text == nullptr ? "(null)" : text;
  _zu_free(text);
  return copy;
}

#ifdef _WIN32
constexpr const char* kModule = "kernel32.dll";
constexpr const char* kSymbol = "GetTickCount";
#else
constexpr const char* kModule = "libc.so.6";
constexpr const char* kSymbol = "getpid";
#endif

TEST(Module, NamesAreFoundAndFailuresAreReportedPerThread) {
  zu_module* module = zu_module_load(kModule);
  ASSERT_NE(module, nullptr);
  EXPECT_NE(zu_module_GetSymbol(module, kSymbol), nullptr);
  EXPECT_EQ(taken(zu_module_GetError()), "");
  EXPECT_EQ(zu_module_GetSymbol(module, "no such name"), nullptr);
  EXPECT_NE(taken(zu_module_GetError()), "");
  std::thread([] { EXPECT_EQ(taken(zu_module_GetError()), ""); }).join();
  EXPECT_EQ(zu_module_unload(module), 1);
  EXPECT_EQ(zu_module_load(TempDir().file("k\xc3\xbchn").c_str()), nullptr);
  EXPECT_EQ(zu_module_load(""), nullptr);
  EXPECT_EQ(zu_module_unload(nullptr), 0);
}

TEST(Process, VariablesAreStringsOfAnyLengthAndLanguage) {
  for (const std::string& value : {std::string(), std::string("h\xc3\xa9 = %PATH%"),
                                   std::string(255, 'x'), std::string(20000, 'y')}) {
    EXPECT_EQ(zu_SetEnv("KIV_\xc3\x84", value.c_str()), 1);
    EXPECT_EQ(taken(zu_GetEnv("KIV_\xc3\x84")), value);
  }
  EXPECT_EQ(zu_UnsetEnv("KIV_\xc3\x84"), 1);
  EXPECT_EQ(zu_UnsetEnv("KIV_\xc3\x84"), 1);
  EXPECT_EQ(zu_GetEnv("KIV_\xc3\x84"), nullptr);
  for (const char* name : {static_cast<const char*>(nullptr), "", "a=b"}) {
    EXPECT_EQ(zu_SetEnv(name, "x"), 0);
    EXPECT_EQ(zu_UnsetEnv(name), 0);
  }
  EXPECT_NE(taken(zu_GetExecutablePath()).find("system_tests"), std::string::npos);
  unsigned char bytes[1000] = {};
  ASSERT_EQ(zu_RandomBytes(bytes, 999), 1);
  EXPECT_NE(std::string(bytes + 900, bytes + 999), std::string(99, '\0'));
  EXPECT_EQ(bytes[999], 0);
}

TEST(PidFile, OneHolderAtATimeAndADeadOneIsReplaced) {
  const TempDir dir;
  const std::string path = dir.file("h\xc3\xb6st.pid");
  EXPECT_EQ(zu_pidfile_read(path.c_str()), -1);
  PidFile file(zu_pidfile_make(path.c_str()));
  ASSERT_NE(file, nullptr);
  const std::string own = std::to_string(zu_GetProcessId());
  EXPECT_EQ(zu_pidfile_read(path.c_str()), zu_GetProcessId());
  EXPECT_EQ(
      printed_by([&] { EXPECT_EQ(zu_pidfile_make(path.c_str()), nullptr); }),
      std::string("error: '") + path + "': process " + own + " holds it in zu_pidfile_make()!\n");
  EXPECT_EQ(zu_pidfile_free(file.release()), 1);
  EXPECT_EQ(zu_pidfile_read(path.c_str()), -1);

  // A number alone, even a living process's, is what a crash leaves behind.
  std::ofstream(dir.file("old")) << own << "1234\n";
  file.reset(zu_pidfile_make(dir.file("old").c_str()));
  EXPECT_EQ(dir.content("old"), own + "\n");
  file.reset();
  EXPECT_EQ(dir.content("old"), "(missing)");

  std::ofstream(dir.file("precious")) << "root:x:0:0\n";
  for (const std::string& no : {dir.file("precious"), dir.path(), dir.file("no/folder")}) {
    EXPECT_NE(printed_by([&] { EXPECT_EQ(zu_pidfile_make(no.c_str()), nullptr); }), "");
  }
  EXPECT_EQ(dir.content("precious").substr(0, 10), "root:x:0:0");
}

#ifndef _WIN32
// What a forked process, which tells it by its exit, and this one draw next.
std::pair<int, int> drawn_here_and_forked() {
  const pid_t child = fork();
  if (child == 0) _exit(zu_RandomValue() & 0xff);
  int status = -1;
  waitpid(child, &status, 0);
  return {zu_RandomValue() & 0xff, WEXITSTATUS(status)};
}

TEST(Process, AForkedOneDrawsNumbersOfItsOwn) {
  zu_RandomValue();
  int same = 0;
  for (int i = 0; i < 8; ++i) {
    const auto [here, there] = drawn_here_and_forked();
    same += here == there;
  }
  EXPECT_LT(same, 5);
}

TEST(PidFile, AForkedProcessDoesNotHoldItForADeadOne) {
  const TempDir dir;
  const std::string path = dir.file("pid");
  int ready[2], over[2];
  ASSERT_EQ(pipe(ready) + pipe(over), 0);
  const pid_t holder = fork();
  if (holder == 0) {
    const bool held = zu_pidfile_make(path.c_str()) != nullptr;
    char byte = 0;
    if (fork() == 0) {
      (void)!write(ready[1], "", 1);
      close(over[1]);
      _exit(static_cast<int>(read(over[0], &byte, 1)));  // until the test is over
    }
    _exit(held && read(ready[0], &byte, 1) == 1 ? 1 : 0);
  }
  int status = -1;
  waitpid(holder, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_EQ(dir.content("pid"), std::to_string(holder) + "\n");
  EXPECT_EQ(zu_pidfile_read(path.c_str()), 0);
  EXPECT_NE(PidFile(zu_pidfile_make(path.c_str())), nullptr);
  for (int end : {ready[0], ready[1], over[0], over[1]}) close(end);
}

TEST(PidFile, AnothersIsNeverRemoved) {
  const TempDir dir;
  const std::string path = dir.file("pid");
  zu_pidfile* file = zu_pidfile_make(path.c_str());
  const pid_t child = fork();
  if (child == 0) _exit(zu_pidfile_free(file));
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(zu_pidfile_read(path.c_str()), zu_GetProcessId());
  unlink(path.c_str());
  std::ofstream(path) << "77\n";
  EXPECT_EQ(zu_pidfile_free(file), 0);
  EXPECT_EQ(dir.content("pid"), "77\n");
  ASSERT_EQ(symlink(path.c_str(), dir.file("link").c_str()), 0);
  EXPECT_NE(printed_by([&] { EXPECT_EQ(zu_pidfile_make(dir.file("link").c_str()), nullptr); }), "");
}
#endif

}  // namespace
