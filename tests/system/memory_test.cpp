// Mapped files and shared memory.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "base/owned.h"
#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/support/other_process.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_dir.h"
#if __has_include(<sys/wait.h>)
#include <sys/wait.h>
#include <unistd.h>
#endif

// The thread checker does not know that the lock of a thread that ended passes to the next one, and
// takes it for a lock that the next thread, of the same number, takes twice.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "mutex:lock_shared\n";
}

namespace {

using kiv::base::FreedBy;
using Mapped = std::unique_ptr<zu_file_mapped, FreedBy<zu_file_mapped_close>>;
using Block = std::unique_ptr<zu_shm, FreedBy<zu_shm_close>>;

char* bytes(const Mapped& mapped) {
  return static_cast<char*>(zu_file_mapped_GetAddress(mapped.get()));
}

TEST(FileMapped, GrowsAndShrinksDownToNothing) {
  const kiv::test::TempDir dir;
  const std::string path = dir.file("m");
  EXPECT_EQ(zu_file_mapped_open(path.c_str(), 0), nullptr) << "not there";
  const Mapped mapped(zu_file_mapped_open(path.c_str(), 1));
  ASSERT_TRUE(mapped);
  EXPECT_EQ(bytes(mapped), nullptr);
  EXPECT_EQ(zu_file_mapped_GetSize(mapped.get()) + zu_file_mapped_flush(mapped.get()), 1);
  for (const std::int64_t size : {5, 100000, 70000, 3, 0, 2}) {
    ASSERT_EQ(zu_file_mapped_resize(mapped.get(), size), 1) << size;
    EXPECT_EQ(zu_file_mapped_GetSize(mapped.get()), size);
    if (size == 0) continue;
    EXPECT_EQ(bytes(mapped)[size - 1], size == 70000 || size == 3 ? 'x' : '\0');
    std::memset(bytes(mapped), 'x', static_cast<std::size_t>(size));
  }
  EXPECT_EQ(zu_file_mapped_flush(mapped.get()), 1);
  EXPECT_EQ(dir.content("m"), "xx");
  const Mapped reader(zu_file_mapped_open(path.c_str(), 0));
  bytes(mapped)[1] = 'y';
  EXPECT_EQ(std::string(bytes(reader), 2), "xy");
  EXPECT_EQ(zu_file_mapped_resize(reader.get(), 9) + zu_file_mapped_resize(mapped.get(), -1), 0);
  EXPECT_EQ(zu_file_mapped_resize(mapped.get(), INT64_MAX), 0);
  EXPECT_EQ(dir.content("m"), "xy");
}

// The other process below: tries for the lock, writes a sign of it and dies with it.
TEST(OtherProcess, DISABLED_DiesWithTheBlock) {
  zu_shm* block = zu_shm_open(std::getenv("KIV_LOCKED"));
  const int taken = zu_shm_TryLock(block);
  if (taken) std::strcpy(static_cast<char*>(zu_shm_GetAddress(block)), "sign");
  std::_Exit(block == nullptr ? 1 : 40 + taken);
}

class Shm : public testing::Test {
 protected:
  ~Shm() override { zu_shm_remove(name_.c_str()); }

  const std::string name_ = "kiv_base_test-" + std::to_string(zu_RandomValue());
  Block block_{zu_shm_create(name_.c_str(), 10000)};
};

TEST_F(Shm, IsOneBlockUntilItIsRemoved) {
  Block other(zu_shm_open(name_.c_str()));
  ASSERT_TRUE(block_ && other);
  EXPECT_EQ(zu_shm_create(name_.c_str(), 1), nullptr);
  EXPECT_EQ(zu_shm_GetSize(other.get()), 10000);
  char* written = static_cast<char*>(zu_shm_GetAddress(block_.get()));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(written) % 64, 0u);
  EXPECT_EQ(*written, 0);
  written[9999] = 'x';
  EXPECT_EQ(static_cast<char*>(zu_shm_GetAddress(other.get()))[9999], 'x');
  EXPECT_EQ(zu_shm_remove(name_.c_str()), 1);
  EXPECT_EQ(zu_shm_open(name_.c_str()), nullptr);
  EXPECT_EQ(zu_shm_remove(name_.c_str()), 0);
  block_.reset();
  other.reset();
  block_.reset(zu_shm_create(name_.c_str(), 1));
  EXPECT_TRUE(block_);
}

TEST_F(Shm, ItsLockIsOneAndOutlivesNoOwner) {
  const Block other(zu_shm_open(name_.c_str()));
  constexpr char kOther[] = "OtherProcess.DISABLED_DiesWithTheBlock";
  EXPECT_EQ(zu_shm_lock(block_.get()), 1);
  EXPECT_EQ(zu_shm_lock(block_.get()) + zu_shm_lock(other.get()) + zu_shm_TryLock(other.get()), 0);
  EXPECT_EQ(zu_shm_unlock(other.get()), 0);
  std::thread([&] {
    EXPECT_EQ(zu_shm_TryLock(block_.get()) + zu_shm_TryLock(other.get()), 0);
    EXPECT_EQ(zu_shm_unlock(block_.get()), 0) << "another thread's";
  }).join();
  EXPECT_EQ(kiv::test::in_other_process(kOther, name_), 40);
  EXPECT_EQ(zu_shm_unlock(block_.get()), 1);
  EXPECT_EQ(kiv::test::in_other_process(kOther, name_), 41);
  EXPECT_STREQ(static_cast<char*>(zu_shm_GetAddress(block_.get())), "sign");
  EXPECT_EQ(zu_shm_lock(other.get()) + zu_shm_unlock(other.get()), 2);
  for (zu_shm* next : {block_.get(), other.get()}) {
    std::thread([&] { EXPECT_EQ(zu_shm_lock(block_.get()), 1); }).join();
    EXPECT_EQ(zu_shm_lock(next) + zu_shm_unlock(next), 2) << "its thread ended";
  }

  // Two threads through one handle, two through another. Each addition is a load and a store.
  auto* count = new (zu_shm_GetAddress(block_.get())) std::atomic<int>(0);
  const auto add = [&](zu_shm* block) {
    return std::thread([=] {
      for (int i = 0; i < 2000; ++i) {
        while (i % 2 == 0 ? !zu_shm_lock(block) : !zu_shm_TryLock(block)) std::this_thread::yield();
        *count = *count + 1;
        zu_shm_unlock(block);
      }
    });
  };
  std::thread threads[] = {add(block_.get()), add(block_.get()), add(other.get()),
                           add(other.get())};
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(*count, 8000);
}

#ifndef _WIN32
TEST_F(Shm, AForkedProcessIsExcludedByItsParentAndLeavesTheLock) {
  auto* tried = new (zu_shm_GetAddress(block_.get())) std::atomic<int>(0);
  ASSERT_EQ(zu_shm_lock(block_.get()), 1);
  const pid_t child = fork();
  if (child == 0) {
    *tried = 1 + zu_shm_TryLock(block_.get()) + zu_shm_unlock(block_.get());
    _exit(zu_shm_lock(block_.get()));
  }
  while (*tried == 0) std::this_thread::yield();
  EXPECT_EQ(*tried, 1);
  EXPECT_EQ(zu_shm_unlock(block_.get()), 1);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_EQ(zu_shm_lock(block_.get()) + zu_shm_unlock(block_.get()), 2) << "its process died";
}
#endif

TEST_F(Shm, HostileNamesAndSizesAreRejected) {
  const std::string printed = kiv::test::printed_by([] {
    for (const char* name : {"", "a/b", "..\\a", "\xc3\xa9", "Global\\x"}) {
      EXPECT_TRUE(!zu_shm_create(name, 1) && !zu_shm_open(name) && !zu_shm_remove(name)) << name;
    }
    EXPECT_EQ(zu_shm_create(std::string(101, 'n').c_str(), 1), nullptr);
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}, INT64_MAX}) {
      EXPECT_EQ(zu_shm_create("n", size), nullptr);
    }
  });
  EXPECT_NE(printed.find("error: name(a/b) error in zu_shm_open()!\n"), std::string::npos);
  EXPECT_EQ(zu_shm_open(std::string(100, 'n').c_str()), nullptr);
}

}  // namespace
