#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/system.h"

namespace {

// What another thread gets.
template <typename Call>
auto elsewhere(Call&& call) {
  decltype(call()) result{};
  std::thread([&] { result = call(); }).join();
  return result;
}

TEST(Sem, WorksOnlyWhileInitialised) {
  zu_sem sem;
  const auto handle = reinterpret_cast<uintptr_t>(&sem);
  for (auto init : {zu_sem_init, zu_sem_init_ex}) {
    init(&sem);
    EXPECT_EQ(1, sem.state);
    EXPECT_EQ(1, zu_sem_lock(handle) & zu_sem_lock(handle));
    EXPECT_EQ(1, zu_sem_unlock(handle) & zu_sem_unlock(handle));
    EXPECT_EQ(1, elsewhere([&] { return zu_sem_lock(handle) & zu_sem_unlock(handle); }));
    EXPECT_EQ(1, zu_sem_destroy(&sem));
    EXPECT_EQ(-1, sem.state);
    EXPECT_EQ(0, zu_sem_lock(handle) | zu_sem_unlock(handle) | zu_sem_destroy(&sem));
  }
  EXPECT_EQ(0, zu_sem_lock(0) | zu_sem_unlock(0) | zu_sem_destroy(nullptr));
  zu_sem_init(nullptr);
  zu_sem_free(0);
}

TEST(Sem, KeepsThreadsApart) {
  const uintptr_t sem = zu_sem_malloc();
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        zu_sem_lock(sem);
        ++count;
        zu_sem_unlock(sem);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(8000, count);
  zu_sem_free(sem);
}

class Registry : public testing::Test {
 protected:
  void SetUp() override { kiv_sem_Shutdown(); }
  void TearDown() override { kiv_sem_Shutdown(); }
  // Can another thread take and release the lock of a registered object?
  bool is_free_for_others() {
    return elsewhere([&] { return __kiv_sem_insert(&other_); }) == 1;
  }
  char object_, other_;
};

TEST_F(Registry, KnowsLiveObjectsOnly) {
  EXPECT_EQ(0, __kiv_sem_unlock()) << "nothing to unlock before the first use";
  EXPECT_EQ(0, __kiv_sem_check(&object_));
  EXPECT_EQ(0, __kiv_sem_lock(&object_));
  EXPECT_TRUE(is_free_for_others());
  EXPECT_EQ(1, kiv_sem_Setup() & kiv_sem_Setup());
  EXPECT_EQ(1, __kiv_sem_insert(&object_) & __kiv_sem_insert(&object_));
  EXPECT_EQ(1, __kiv_sem_lock(&object_) & __kiv_sem_lock(&object_));
  EXPECT_EQ(0, elsewhere(__kiv_sem_unlock)) << "not the holder";
  EXPECT_EQ(1, __kiv_sem_unlock() & __kiv_sem_unlock());
  EXPECT_EQ(0, __kiv_sem_unlock() | __kiv_sem_insert(nullptr) | __kiv_sem_lock(nullptr));
  EXPECT_TRUE(is_free_for_others());
  __kiv_sem_remove(&object_);
  __kiv_sem_remove(&object_);
  EXPECT_EQ(0, __kiv_sem_check(&object_) | __kiv_sem_lock(&object_));
  EXPECT_EQ(1, __kiv_sem_check(&other_));
}

// Addresses that agree in their low 32 bits, and in their bucket, are different objects.
TEST_F(Registry, TellsAddressesApartAtFullWidth) {
  const uintptr_t low = 0x12345670;
  const uintptr_t high = sizeof(void*) > 4 ? low + (uintptr_t{1} << (sizeof(void*) * 4)) : ~low;
  __kiv_sem_insert(reinterpret_cast<void*>(low));
  for (uintptr_t wrong : {high, low + 10240, uintptr_t{0} - low, low + 1}) {
    EXPECT_EQ(0, __kiv_sem_check(reinterpret_cast<void*>(wrong)));
  }
  EXPECT_EQ(1, __kiv_sem_check(reinterpret_cast<void*>(low)));
}

TEST_F(Registry, StartsAfreshAfterAShutdown) {
  __kiv_sem_insert(&object_);
  EXPECT_EQ(1, __kiv_sem_lock(&object_) & __kiv_sem_lock(&object_));
  kiv_sem_Shutdown();
  EXPECT_EQ(0, __kiv_sem_unlock()) << "the shut-down has released the lock";
  EXPECT_TRUE(is_free_for_others());
  EXPECT_EQ(0, __kiv_sem_check(&object_));
  EXPECT_EQ(1, __kiv_sem_insert(&object_) & __kiv_sem_lock(&object_) & __kiv_sem_unlock());
}

// Objects come and go on some threads while others use them; the lock covers each object's content.
TEST_F(Registry, SerialisesOperationsOfAllThreads) {
  struct Object {
    int uses;
  };
  std::atomic<Object*> slots[4] = {};
  std::atomic<long> used{0};
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  for (auto& slot : slots) {
    threads.emplace_back([&] {
      for (int i = 0; i < 300; ++i) {
        auto* object = static_cast<Object*>(_zu_malloc(sizeof(Object)));
        object->uses = 0;
        __kiv_sem_insert(object);
        slot = object;
        ASSERT_EQ(1, __kiv_sem_lock(object));
        used += object->uses;
        _zu_free(object);
        __kiv_sem_remove(object);
        __kiv_sem_unlock();
      }
    });
  }
  std::thread user([&] {
    for (unsigned i = 0; !over; ++i) {
      Object* object = slots[i % 4];
      if (__kiv_sem_lock(object) == 0) continue;
      ++object->uses;
      __kiv_sem_unlock();
    }
  });
  for (auto& thread : threads) thread.join();
  over = true;
  user.join();
  for (auto& slot : slots) EXPECT_EQ(0, __kiv_sem_check(slot));
}

TEST(Process, GivesRandomValuesAndThreadIds) {
  std::set<int32_t> values;
  int32_t all_bits = 0;
  for (int i = 0; i < 1000; ++i) {
    const int32_t value = zu_RandomValue();
    EXPECT_GE(value, 0);
    all_bits |= value;
    values.insert(value);
  }
  EXPECT_EQ(INT32_MAX, all_bits);
  EXPECT_GT(values.size(), 990u);
  EXPECT_GT(zu_GetPid(), 0);
  EXPECT_EQ(zu_GetPid(), zu_GetPid());
  EXPECT_NE(zu_GetPid(), elsewhere(zu_GetPid));
}

TEST(Time, FollowsTheSystemClock) {
  using namespace std::chrono;
  const auto us = [] {
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
  };
  const int64_t before = us() - 100000, now = zu_timenow();
  EXPECT_LE(before, now);
  EXPECT_LE(now, us() + 100000);
  zu_timeval pair;
  EXPECT_EQ(zu_gettimeofday(&pair), pair.microseconds);
  EXPECT_LE(now, pair.seconds * int64_t{1000000} + pair.microseconds);
  EXPECT_LT(pair.microseconds, 1000000);
  EXPECT_EQ(0, zu_gettimeofday(nullptr));
  const auto start = steady_clock::now();
  zu_sleep(20);
  EXPECT_GE(steady_clock::now() - start, milliseconds(15));
}

}  // namespace
