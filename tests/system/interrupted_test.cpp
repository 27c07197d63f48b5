// Files while signals interrupt the system calls: the two that the C library leaves to its caller
// are played here, instead of its own.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/support/temp_dir.h"

namespace {

std::string interrupted;  // the part of a path whose every second call is
int calls = 0;

bool is_interrupted() {
  if (interrupted.empty() || ++calls % 2 == 0) return false;
  errno = EINTR;
  return true;
}

}  // namespace

extern "C" int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const int mode = va_arg(rest, int);
  va_end(rest);
  const bool ours = std::string(path).find(interrupted) != std::string::npos;
  if (ours && is_interrupted()) return -1;
  return static_cast<int>(syscall(SYS_open, path, flags, mode));
}

extern "C" int ftruncate(int fd, off_t size) noexcept {
  return is_interrupted() ? -1 : static_cast<int>(syscall(SYS_ftruncate, fd, size));
}

namespace {

TEST(Interrupted, FilesAreStillWrittenAndLocked) {
  const kiv::test::TempDir dir;
  const std::string path = dir.file("file"), pid_path = dir.file("pid");
  interrupted = dir.path();
  calls = 0;
  EXPECT_EQ(zu_file1_Write(path.c_str(), "new", 3), 1);
  zu_pidfile* file = zu_pidfile_make(pid_path.c_str());
  EXPECT_EQ(zu_pidfile_read(pid_path.c_str()), zu_GetProcessId());
  EXPECT_EQ(zu_pidfile_free(file), 1);
  const std::string deep = dir.file("deep/er");
  EXPECT_EQ(zu_dir1_make(deep.c_str()) + zu_dir1_RemoveAll(dir.file("deep").c_str()), 2);
  EXPECT_GT(calls, 9) << "the calls are played here";
  interrupted.clear();
  EXPECT_EQ(dir.content("file"), "new");
}

}  // namespace
