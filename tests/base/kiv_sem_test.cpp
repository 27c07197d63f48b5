#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
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

class Registry : public testing::Test {
 protected:
  Registry() { kiv_sem_Shutdown(); }
  // Can another thread take and release the lock of a registered object?
  bool is_free_for_others() {
    return elsewhere([&] { return __kiv_sem_insert(&other_); }) == 1;
  }
  char object_, other_;
};

TEST_F(Registry, KnowsLiveObjectsOnly) {
  EXPECT_EQ(0, __kiv_sem_unlock()) << "nothing to unlock before the first use";
  EXPECT_EQ(0, __kiv_sem_check(&object_) | __kiv_sem_lock(&object_));
  EXPECT_TRUE(is_free_for_others());
  EXPECT_EQ(1, kiv_sem_Setup());
  EXPECT_EQ(1, __kiv_sem_insert(&object_) & __kiv_sem_insert(&object_));
  EXPECT_EQ(1, __kiv_sem_lock(&object_) & __kiv_sem_lock(&object_));
  EXPECT_EQ(0, elsewhere(__kiv_sem_unlock)) << "not the holder";
  EXPECT_EQ(1, __kiv_sem_unlock() & __kiv_sem_unlock());
  EXPECT_EQ(0, __kiv_sem_unlock() | __kiv_sem_insert(nullptr) | __kiv_sem_lock(nullptr));
  EXPECT_TRUE(is_free_for_others());
  __kiv_sem_remove(&object_);
  __kiv_sem_remove(&object_);
  EXPECT_EQ(0, __kiv_sem_check(&object_) | __kiv_sem_lock(&object_));
  EXPECT_EQ(1, __kiv_sem_check(&other_) & __kiv_sem_lock(&other_) & __kiv_sem_lock(&other_));
  kiv_sem_Shutdown();
  EXPECT_EQ(0, __kiv_sem_unlock() | __kiv_sem_check(&other_)) << "released and forgotten";
  EXPECT_TRUE(is_free_for_others());
}

// Addresses that agree in their low 32 bits, and in their bucket, are different objects.
TEST_F(Registry, DistinguishesAddressesAtFullWidth) {
  const uintptr_t low = 0x12345670;
  const uintptr_t high = sizeof(void*) > 4 ? low + (uintptr_t{1} << (sizeof(void*) * 4)) : ~low;
  __kiv_sem_insert(reinterpret_cast<void*>(low));
  for (uintptr_t wrong : {high, low + 10240, uintptr_t{0} - low, low + 1}) {
    EXPECT_EQ(0, __kiv_sem_check(reinterpret_cast<void*>(wrong)));
  }
  EXPECT_EQ(1, __kiv_sem_check(reinterpret_cast<void*>(low)));
}

// Objects come and go on some threads while another uses them under the lock.
TEST_F(Registry, SerialisesOperationsOfAllThreads) {
  std::atomic<int*> slots[4] = {};
  std::atomic<bool> over{false};
  std::thread user([&] {
    for (unsigned i = 0; !over; ++i) {
      int* object = slots[i % 4];
      if (__kiv_sem_lock(object) == 0) continue;
      ++*object;
      __kiv_sem_unlock();
    }
  });
  std::vector<std::thread> threads;
  for (auto& slot : slots) {
    threads.emplace_back([&] {
      for (int i = 0; i < 300; ++i) {
        slot = static_cast<int*>(zu_memdup("\0\0\0", 4));
        EXPECT_EQ(1, __kiv_sem_insert(slot));
        ASSERT_EQ(1, __kiv_sem_lock(slot));
        _zu_free(slot);
        __kiv_sem_remove(slot);
        __kiv_sem_unlock();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  over = true;
  user.join();
}

TEST(Process, RandomStringsFavourSomeCapitalsAndLackTheLowerCaseZ) {
  std::string text(100002, '?');
  EXPECT_EQ(zu_RandomStr(text.data(), 100000), 1);
  EXPECT_TRUE(text[100000] == '\0' && text[100001] == '?');
  std::map<char, int> counts;
  for (const char c : text.substr(0, 100000)) ++counts[c];
  std::string seen;
  for (const auto& [c, count] : counts) {
    seen += c;
    const bool favoured = (c >= 'I' && c <= 'O') || (c >= 'Q' && c <= 'V');
    EXPECT_NEAR(count, favoured ? 2703 : 1351, 400) << c;
  }
  EXPECT_EQ(seen, "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxy");
  EXPECT_FALSE(zu_RandomStr(nullptr, 1) || zu_RandomStr(text.data(), -1));
}

}  // namespace
