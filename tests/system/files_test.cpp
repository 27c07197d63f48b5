// Files by path and by handle, and directories, under names that are no ASCII.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/owned.h"
#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/support/other_process.h"
#include "tests/support/temp_dir.h"
#if __has_include(<sys/resource.h>)
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

using kiv::base::FreedBy;
using File = std::unique_ptr<zu_file2, FreedBy<zu_file2_close>>;
using Text = std::unique_ptr<char, FreedBy<_zu_free>>;

constexpr char kName[] = "/\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";  // two, three and four bytes

std::string content(const std::string& path) {
  std::int64_t length = -1;
  const Text text(zu_file1_Read(path.c_str(), &length));
  return text ? std::string(text.get(), static_cast<std::size_t>(length)) : "(missing)";
}

std::map<std::string, std::pair<int, std::int64_t>> walk(const std::string& path, int deep = 1) {
  std::map<std::string, std::pair<int, std::int64_t>> found;
  const auto note = [](void* to, const char* name, int kind, std::int64_t size) {
    static_cast<decltype(found)*>(to)->emplace(name, std::pair(kind, size));
    return 1;
  };
  EXPECT_EQ(zu_dir1_walk(path.c_str(), deep, note, &found), 1);
  return found;
}

class Files : public testing::Test {
 protected:
  ~Files() override { EXPECT_TRUE(zu_dir1_RemoveAll(dir_.c_str())); }

  // Of a directory that only UTF-8 can name.
  std::string file(const std::string& name) const { return dir_ + "/" + name; }

  kiv::test::TempDir temp_;
  std::string dir_ = [this] {
    const std::string made = temp_.path() + kName;
    EXPECT_EQ(zu_dir1_make(made.c_str()), 1);
    return made;
  }();
};

TEST_F(Files, AreWrittenAtomically) {
  const std::string path = file("a"), old(3000, '\0');
  EXPECT_EQ(zu_file1_Write(path.c_str(), "x", 1) + zu_file1_Write(path.c_str(), old.data(), 3000),
            2);
  EXPECT_EQ(content(path), old);
#if __has_include(<sys/resource.h>)
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{1000, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_EQ(zu_file1_Write(path.c_str(), std::string(2000, 'x').data(), 2000), 0);
  EXPECT_EQ(zu_file1_Copy(path.c_str(), file("b").c_str()), 0);
  // Through a link that leads to nothing yet.
  std::filesystem::create_symlink("gone", file("link"));
  EXPECT_EQ(zu_file1_Write(file("link").c_str(), std::string(2000, 'x').data(), 2000), 0);
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(content(file("gone")), "(missing)");
  EXPECT_EQ(zu_file1_Write(file("link").c_str(), "x", 1), 1);
  EXPECT_EQ(content(file("gone")), "x");
  // Another user's link where all may write, which only root can make here, is a trap.
  std::filesystem::permissions(dir_, std::filesystem::perms(01777));
  const bool trap = lchown(file("link").c_str(), 1, 1) == 0;
  EXPECT_EQ(zu_file1_Write(file("link").c_str(), "y", 1), !trap);
  EXPECT_EQ(content(file("gone")), trap ? "x" : "y");
  EXPECT_EQ(zu_file1_Delete(file("gone").c_str()) + zu_file1_Delete(file("link").c_str()), 2);
  // What has content but no size.
  EXPECT_NE(content("/proc/self/status").find("Name:"), std::string::npos);
#endif
  EXPECT_EQ(zu_file1_Write(dir_.c_str(), "x", 1) + zu_file1_Write(file("no/a").c_str(), "x", 1), 0);
  EXPECT_EQ(zu_file1_Write(path.c_str(), nullptr, 1) + zu_file1_Write(path.c_str(), "x", -1), 0);
  EXPECT_EQ(content(path), old);
  EXPECT_EQ(walk(dir_).size(), 1u) << "nothing is left beside";
  const std::string longest = file(std::string(255, 'n'));
  EXPECT_EQ(zu_file1_Write(longest.c_str(), "x", 1) + zu_file1_Delete(longest.c_str()), 2);
  EXPECT_EQ(zu_file1_Append(path.c_str(), "y", 1), 1);
  EXPECT_EQ(content(path), old + "y");
  EXPECT_EQ(content(dir_), "(missing)");
}

TEST_F(Files, ConcurrentReplacementsAllSucceed) {
  const std::string path = temp_.file("a"), x = "[x]\r\nk=" + std::string(5000, 'x'), y(9, 'y');
  zu_config* const config = zu_config_make1(x.c_str());
  std::atomic<int> replaced{0}, ended{0};
  const auto all_of = [&](auto replace) {
    return std::thread([&, replace] {
      for (int i = 0; i < 300; ++i) replaced += replace();
      ++ended;
    });
  };
  const auto write = [&] { return zu_file1_Write(path.c_str(), y.data(), 9); };
  std::thread writers[] = {all_of([&] { return zu_config_SaveToFile(config, path.c_str()); }),
                           all_of(write), all_of(write)};
#ifndef _WIN32  // a reader there hinders writers
  while (ended < 3) {
    const std::string now = content(path);
    EXPECT_TRUE(now == x || now == y || now == "(missing)") << now.size();
  }
#endif
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(replaced, 900);
  EXPECT_TRUE(content(path) == x || content(path) == y);
  EXPECT_EQ(walk(temp_.path(), 0).size(), 2u) << "nothing is left beside";
  zu_config_free(config);
}

// What would wait, or is none of the disk's bytes.
TEST_F(Files, PipesDevicesAndSocketsAreNotFiles) {
#ifdef _WIN32
  const std::vector<std::string> no_files{"NUL"};
#else
  const std::string pipe = temp_.file("pipe"), socket_path = temp_.file("socket");
  const std::vector<std::string> no_files{pipe, socket_path, "/dev/null", "/dev/tty"};
  alarm(30);  // ends what waits after all
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  sockaddr_un address{AF_UNIX, {}};
  socket_path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
#endif
  zu_config* const config = zu_config_make(nullptr);
  const std::string there = file("there");
  zu_file1_Write(there.c_str(), "x", 1);
  for (const std::string& name : no_files) {
    const char* const path = name.c_str();
    EXPECT_EQ(zu_config_make(path), nullptr) << name;
    EXPECT_EQ(zu_config_SaveToFile(config, path), 0) << name;
    EXPECT_EQ(content(name), "(missing)");
    EXPECT_EQ(zu_file1_Write(path, "x", 1) + zu_file1_Append(path, "x", 1), 0) << name;
    EXPECT_EQ(zu_file1_Copy(path, file("b").c_str()) + zu_file1_Copy(there.c_str(), path), 0);
    EXPECT_EQ(zu_file1_GetSize(path), -1) << name;
    EXPECT_EQ(zu_file_mapped_open(path, 0), nullptr) << name;
    EXPECT_EQ(zu_file_mapped_open(path, 1), nullptr) << name;
  }
  zu_config_free(config);
#ifndef _WIN32
  close(listener);
  EXPECT_EQ(zu_file2_open(socket_path.c_str(), ZU_FILE2_READ), nullptr);
  EXPECT_EQ(zu_file2_open(pipe.c_str(), ZU_FILE2_WRITE), nullptr) << "nobody would read it";
  const File reader(zu_file2_open(pipe.c_str(), ZU_FILE2_READ));
  File writer(zu_file2_open(pipe.c_str(), ZU_FILE2_APPEND));
  ASSERT_TRUE(reader && writer);
  // It is a pipe as usual from then on: more than it holds goes through, and its end is one.
  const std::string much(300000, 'm');
  std::thread other([&] {
    EXPECT_EQ(zu_file2_write(writer.get(), much.data(), 300000), 1);
    writer.reset();
  });
  std::string read(300001, 0);
  EXPECT_EQ(zu_file2_read(reader.get(), read.data(), 300001), 300000);
  other.join();
  EXPECT_EQ(zu_file1_Delete(pipe.c_str()) + zu_file1_Delete(socket_path.c_str()), 2);
  alarm(0);
#endif
}

TEST_F(Files, AreCopiedMovedAndDeleted) {
  const std::string a = file("a"), b = file("b");
  const std::string big(200000, 'b');
  zu_file1_Write(a.c_str(), big.data(), 200000);
  zu_file1_Write(b.c_str(), "old", 3);
  EXPECT_EQ(zu_file1_Copy(a.c_str(), b.c_str()), 1);
  EXPECT_EQ(content(b), big);
  const std::int64_t before_1970 = -999999, late = 2500000000000000;
  std::int64_t modified = 0, accessed = 0;
  EXPECT_EQ(zu_file1_SetTimes(a.c_str(), &before_1970, &late), 1);
  EXPECT_EQ(zu_file1_SetTimes(a.c_str(), nullptr, nullptr), 1);
  EXPECT_EQ(zu_file1_Move(a.c_str(), b.c_str()), 1);
  EXPECT_EQ(zu_file1_GetTimes(b.c_str(), &modified, &accessed), 1);
  EXPECT_EQ(modified, before_1970);
  EXPECT_EQ(accessed, late);
  EXPECT_EQ(zu_file1_SetTimes(a.c_str(), nullptr, nullptr), 0) << "it is gone";
  // One file under two names, and one name under two paths.
  std::filesystem::create_hard_link(std::filesystem::u8path(b), std::filesystem::u8path(a));
  EXPECT_EQ(zu_file1_Move((dir_ + "/./a").c_str(), a.c_str()), 1);
  EXPECT_EQ(zu_file1_GetSize(a.c_str()), 200000);
  EXPECT_EQ(zu_file1_Move(a.c_str(), b.c_str()), 1);
  EXPECT_EQ(zu_file1_IsExist(a.c_str()), 0);
  EXPECT_EQ(walk(dir_).size(), 1u);
#ifndef _WIN32
  // What another user may do, beside a group that may do nothing, stays and is copied.
  const std::string list(
      "\2\0\0\0"
      "\1\0\6\0\377\377\377\377"
      "\2\0\4\0\1\0\0\0"
      "\4\0\0\0\377\377\377\377"
      "\20\0\4\0\377\377\377\377"
      "\40\0\0\0\377\377\377\377",
      44);
  if (setxattr(b.c_str(), "system.posix_acl_access", list.data(), list.size(), 0) == 0) {
    zu_file1_Write(b.c_str(), big.data(), 200000);
    EXPECT_EQ(zu_file1_Copy(b.c_str(), a.c_str()) + zu_file1_Move(a.c_str(), b.c_str()), 2);
    std::string kept(list.size(), 0);
    EXPECT_EQ(getxattr(b.c_str(), "system.posix_acl_access", kept.data(), kept.size()), 44);
    EXPECT_EQ(kept, list);
    EXPECT_EQ(removexattr(b.c_str(), "system.posix_acl_access"), 0);
  }
  zu_file1_SetTimes(b.c_str(), &before_1970, &late);
  // To another file system: rights and times go along, and a link is replaced.
  const std::string other = "/dev/shm" + std::string(kName) + std::to_string(zu_RandomValue());
  std::filesystem::create_symlink(b, other);
  std::filesystem::permissions(b, std::filesystem::perms::owner_read);
  EXPECT_EQ(zu_file1_Move(b.c_str(), other.c_str()), 1);
  EXPECT_EQ(std::filesystem::status(other).permissions(), std::filesystem::perms::owner_read);
  EXPECT_EQ(zu_file1_GetTimes(other.c_str(), &modified, nullptr), 1);
  EXPECT_EQ(modified, before_1970);
  EXPECT_EQ(zu_file1_Move(other.c_str(), b.c_str()), 1);
#endif
  EXPECT_EQ(zu_file1_GetSize(b.c_str()), 200000);
  EXPECT_EQ(zu_file1_IsExist(a.c_str()) + zu_file1_IsExist(dir_.c_str()), 0);
  EXPECT_EQ(zu_file1_Move(dir_.c_str(), a.c_str()) + zu_file1_Delete(dir_.c_str()), 0);
  EXPECT_EQ(zu_file1_GetSize(a.c_str()) + zu_file1_GetSize(dir_.c_str()), -2);
  EXPECT_EQ(zu_file1_Delete(b.c_str()), 1);
  EXPECT_EQ(zu_file1_Delete(b.c_str()) + zu_file1_Delete(nullptr) + zu_file1_Delete(""), 0);
}

TEST_F(Files, HandlesKeepTheirModesAndPositionsBeyond4GiB) {
  constexpr std::int64_t kFar = 5'000'000'000;
  const std::string path = file("a");
  const auto open = [&](int mode) { return File(zu_file2_open(path.c_str(), mode)); };
  EXPECT_EQ(open(ZU_FILE2_READ | ZU_FILE2_CREATE), nullptr);
  EXPECT_EQ(open(ZU_FILE2_WRITE), nullptr) << "not there";
  constexpr int kNew = ZU_FILE2_READ | ZU_FILE2_WRITE | ZU_FILE2_CREATE | ZU_FILE2_EXCLUSIVE;
  const File a = open(kNew), reader = open(ZU_FILE2_READ), end = open(ZU_FILE2_APPEND);
  EXPECT_EQ(open(kNew), nullptr) << "there";
  EXPECT_EQ(zu_file2_open(dir_.c_str(), ZU_FILE2_READ), nullptr);

  ASSERT_TRUE(a && reader && end);
  EXPECT_EQ(zu_file2_truncate(a.get(), kFar) + zu_file2_write(end.get(), "12", 2), 2);
  EXPECT_EQ(zu_file2_tell(a.get()), 0);
  EXPECT_EQ(zu_file2_seek(a.get(), -1, ZU_FILE2_END), kFar + 1);
  EXPECT_EQ(zu_file2_write(a.get(), "34", 2) + zu_file2_write(end.get(), "5", 1), 2);
  EXPECT_EQ(zu_file2_seek(reader.get(), kFar - 1, ZU_FILE2_BEGIN), kFar - 1);
  char read[10] = "";
  EXPECT_EQ(zu_file2_read(reader.get(), read, 10), 5);
  EXPECT_EQ(std::string(read, 5), std::string("\0"
                                              "1345",
                                              5));
  EXPECT_EQ(zu_file2_read(reader.get(), read, 10), 0) << "the end";
  EXPECT_EQ(zu_file2_seek(reader.get(), -kFar * 2, ZU_FILE2_CURRENT), -1);
  EXPECT_EQ(zu_file2_tell(reader.get()), kFar + 4);
  EXPECT_EQ(zu_file2_write(reader.get(), "x", 1) + zu_file2_truncate(reader.get(), 0), 0);
  EXPECT_EQ(zu_file2_read(end.get(), read, 1) + zu_file2_read(a.get(), read, -1), -2);
  EXPECT_EQ(zu_file2_flush(a.get()), 1);
  EXPECT_EQ(zu_file2_GetSize(reader.get()), kFar + 4);
  EXPECT_NE(open(ZU_FILE2_WRITE | ZU_FILE2_TRUNCATE), nullptr);
  EXPECT_EQ(zu_file2_GetSize(reader.get()), 0);
}

// The other process of the test below: tries for the lock, dies with it and tells of it.
TEST(OtherProcess, DISABLED_DiesWithTheLock) {
  std::_Exit(40 + zu_file2_TryLock(zu_file2_open(std::getenv("KIV_LOCKED"), ZU_FILE2_READ)));
}

TEST_F(Files, ALockIsOneForAllHandlesAndDiesWithItsProcess) {
  const std::string path = temp_.file("lock");  // the environment of Windows is no UTF-8
  zu_file1_Write(path.c_str(), "abc", 3);
  const File a(zu_file2_open(path.c_str(), ZU_FILE2_READ));
  File b(zu_file2_open(path.c_str(), ZU_FILE2_APPEND));
  EXPECT_EQ(zu_file2_lock(a.get()), 1);
  EXPECT_EQ(zu_file2_lock(a.get()) + zu_file2_TryLock(a.get()) + zu_file2_TryLock(b.get()), 0);
  EXPECT_EQ(zu_file2_unlock(b.get()), 0);
  EXPECT_EQ(zu_file2_write(b.get(), "d", 1), 1) << "it hinders nobody";
  EXPECT_EQ(kiv::test::in_other_process("OtherProcess.DISABLED_DiesWithTheLock", path), 40);
#ifndef _WIN32
  const pid_t child = fork();
  if (child == 0) _exit(zu_file2_unlock(a.get()));
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status + zu_file2_TryLock(b.get()), 0) << "a forked process leaves its parent's lock";
#endif
  EXPECT_EQ(zu_file2_unlock(a.get()), 1);
  EXPECT_EQ(kiv::test::in_other_process("OtherProcess.DISABLED_DiesWithTheLock", path), 41);
  EXPECT_EQ(zu_file2_lock(b.get()), 1);
  b.reset();
  EXPECT_EQ(zu_file2_TryLock(a.get()), 1);
}

TEST_F(Files, TreesAreWalkedAndRemovedWithoutFollowingLinks) {
  const std::string deep = file("t/u/v"), outside = file("outside");
  EXPECT_EQ(zu_dir1_make(deep.c_str()) + zu_dir1_make(deep.c_str()), 2);
  zu_dir1_make(outside.c_str());
  zu_file1_Write((outside + "/kept").c_str(), "k", 1);
  zu_file1_Write((deep + kName).c_str(), "123", 3);
  EXPECT_EQ(zu_dir1_make((deep + kName).c_str()) + zu_dir1_make((deep + kName + "/x").c_str()), 0);
  std::error_code no_links;
  std::filesystem::create_directory_symlink(outside, file("t/out"), no_links);

  std::map<std::string, std::pair<int, std::int64_t>> tree{
      {"u", {ZU_DIR1_DIRECTORY, 0}},
      {"u/v", {ZU_DIR1_DIRECTORY, 0}},
      {"u/v" + std::string(kName), {ZU_DIR1_FILE, 3}}};
  if (!no_links) tree["out"] = {ZU_DIR1_LINK, 0};
  EXPECT_EQ(walk(file("t")), tree);
  EXPECT_EQ(walk(file("t"), 0).size(), no_links ? 1u : 2u);
  const auto stop = [](void* calls, const char*, int, std::int64_t) {
    return static_cast<int>(++*static_cast<int*>(calls) < 2);
  };
  int calls = 0;
  EXPECT_EQ(zu_dir1_walk(dir_.c_str(), 1, stop, &calls), 0);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(zu_dir1_walk(file("no").c_str(), 1, stop, &calls), -1);

  EXPECT_EQ(zu_dir1_remove(file("t").c_str()), 0) << "not empty";
  EXPECT_EQ(zu_dir1_RemoveAll(file("t/out/").c_str()), 0) << "a link";
  EXPECT_EQ(zu_dir1_RemoveAll(file("t/..").c_str()) + zu_dir1_RemoveAll("/"), 0);
  EXPECT_EQ(zu_dir1_RemoveAll(file("t/").c_str()), 1);
  EXPECT_EQ(zu_dir1_RemoveAll(file("t").c_str()) + zu_dir1_IsExist(file("t").c_str()), 0);
  EXPECT_EQ(content(outside + "/kept"), "k");
}

TEST_F(Files, ADirectoryIsCurrentOrTemporary) {
  const Text before(zu_dir1_GetCurrent());
  zu_file1_Write(file("here").c_str(), "h", 1);
  EXPECT_EQ(zu_dir1_SetCurrent(dir_.c_str()), 1);
  EXPECT_EQ(content("here"), "h");
  EXPECT_EQ(zu_dir1_SetCurrent("no"), 0);
  const Text here(zu_dir1_GetCurrent());
  EXPECT_EQ(zu_dir1_SetCurrent(before.get()), 1);
  EXPECT_EQ(content(std::string(here.get()) + "/here"), "h");

  const Text one(zu_dir1_MakeTemp(kName + 1)), two(zu_dir1_MakeTemp(kName + 1));
  EXPECT_EQ(zu_dir1_remove(one.get()) + zu_dir1_remove(two.get()), 2);
  EXPECT_EQ(zu_dir1_MakeTemp("a/b"), nullptr);
#ifdef _WIN32
  EXPECT_EQ(zu_file1_Write(file("\xff").c_str(), "", 0), 0);
  const std::string level = "/" + std::string(200, 'd');
  const std::string long_path = dir_ + level + level + level;
  EXPECT_EQ(zu_dir1_make(long_path.c_str()), 1);
  EXPECT_EQ(zu_file1_Write((long_path + kName).c_str(), "long", 4), 1);
  EXPECT_EQ(content(long_path + kName), "long");
#endif
}

}  // namespace
