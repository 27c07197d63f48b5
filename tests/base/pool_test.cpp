#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "tests/support/stdout_capture.h"

namespace {

using Bytes = std::vector<unsigned char>;

// The pool as a list of blocks: what fits where, without headers or links.
class Model {
 public:
  explicit Model(std::uint32_t region) : length_(region - 24), blocks_{{0, length_ - 9, false}} {}

  // Offset of the payload, or -1.
  long allocate(std::uint32_t count) {
    const std::uint32_t start = cursor_;
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < blocks_.size(); ++i) order.push_back(i);
    std::stable_partition(order.begin(), order.end(),
                          [&](std::size_t i) { return blocks_[i].at >= start; });
    for (std::size_t i : order) {
      Block& block = blocks_[i];
      if (count == 0 || block.used || block.size < count) continue;
      block.used = true;
      cursor_ = block.at;
      if (block.size > count + 9) {
        const Block rest{block.at + 9 + count, block.size - 9 - count, false};
        block.size = count;
        blocks_.insert(blocks_.begin() + static_cast<long>(i) + 1, rest);
      }
      return static_cast<long>(cursor_) + 9;
    }
    if (count != 0 && count <= length_ - 9) cursor_ = 0;
    return -1;
  }

  void release(std::size_t i) {
    blocks_[i].used = false;
    if (i + 1 < blocks_.size() && !blocks_[i + 1].used) join(i);
    if (i > 0 && !blocks_[i - 1].used) join(i - 1);
  }

  // Index of the used block with this payload offset, or -1.
  long find(long payload) const {
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
      if (blocks_[i].used && static_cast<long>(blocks_[i].at) + 9 == payload)
        return static_cast<long>(i);
    }
    return -1;
  }
  std::uint32_t size(long i) const { return blocks_[static_cast<std::size_t>(i)].size; }

  std::string print() const {
    std::ostringstream text;
    auto line = [&](const char* title, std::uint32_t value) {
      text << "|" << title << " = " << std::left << std::setw(10) << value << "|\n";
    };
    auto border = [&](std::size_t width, char c) { text << '|' << std::string(width, c) << "|\n"; };
    text << "zu_mem_print:\nsize         = " << length_ << "\npos          = " << cursor_
         << "\nmemory block list:\n";
    std::uint32_t largest[2] = {}, count[2] = {};
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
      const Block& block = blocks_[i];
      text << "*" << i << (block.used ? "* - malloc\n" : "* - free\n");
      border(30, block.used ? '+' : '-');
      line("mem_pos          ", block.at);
      line("mem_size         ", block.size);
      border(30, block.used ? '+' : '-');
      text << "\n";
      largest[block.used] = std::max(largest[block.used], block.size);
      ++count[block.used];
    }
    text << "ALL:\n";
    border(32, '!');
    line("max_free_block_size", largest[0]);
    line("max_used_block_size", largest[1]);
    line("free_block_count   ", count[0]);
    line("used_block_count   ", count[1]);
    border(32, '!');
    text << "\n";
    return text.str();
  }

 private:
  struct Block {
    std::uint32_t at, size;
    bool used;
  };
  void join(std::size_t i) {
    if (cursor_ == blocks_[i + 1].at) cursor_ = blocks_[i].at;
    blocks_[i].size += 9 + blocks_[i + 1].size;
    blocks_.erase(blocks_.begin() + static_cast<long>(i) + 1);
  }

  std::uint32_t length_, cursor_ = 0;
  std::vector<Block> blocks_;
};

// A pool beside its model; every step is checked, the print telling all of the pool's state.
class CheckedPool {
 public:
  // One byte off an even address: nothing in a pool is aligned.
  explicit CheckedPool(std::uint32_t size)
      : model_(size), storage_(size + 1), pool_(zu_mem_init(storage_.data() + 1, size)) {}

  long allocate(std::uint32_t count) {
    const long expected = model_.allocate(count);
    auto* payload = static_cast<unsigned char*>(zu_mem_malloc(pool_, count));
    EXPECT_EQ(expected, payload == nullptr ? -1 : payload - area());
    if (payload != nullptr) std::memset(payload, 0xa5, model_.size(model_.find(expected)));
    return expected;
  }

  // Any offset: only that of a used block may change anything.
  void release(long payload) {
    const long block = model_.find(payload);
    std::uint32_t size = 0;
    EXPECT_EQ(block >= 0, zu_mem_is_valid_ext_(pool_, area() + payload, &size)) << payload;
    if (block >= 0) {
      EXPECT_EQ(model_.size(block), size);
      EXPECT_EQ(size, std::count(area() + payload, area() + payload + size, 0xa5));
      model_.release(static_cast<std::size_t>(block));
    }
    zu_mem_free(pool_, area() + payload);
  }

  void check() {
    ASSERT_EQ(model_.print(), kiv::test::printed_by([&] { zu_mem_print(pool_); }));
  }

  unsigned char* area() { return storage_.data() + 25; }
  void* pool() { return pool_; }

 private:
  Model model_;
  Bytes storage_;
  void* pool_;
};

TEST(Pool, FollowsTheModelOverRandomUse) {
  std::mt19937 random(20090307);
  for (std::uint32_t region : {34u, 43u, 44u, 90u, 400u, 2000u}) {
    SCOPED_TRACE(region);
    CheckedPool pool(region);
    std::vector<long> payloads{0, 9};
    for (int step = 0; step < 250 && !testing::Test::HasFailure(); ++step) {
      if (random() % 5 < 3) {
        payloads.push_back(pool.allocate(static_cast<std::uint32_t>(random() % (region / 6))));
      } else {
        // Mostly live ones, else freed ones or any address of the area.
        const long any = static_cast<long>(random() % (region - 24));
        pool.release(random() % 4 ? payloads[random() % payloads.size()] : any);
      }
      pool.check();
    }
  }
}

TEST(Pool, SplitsOnlyWhenTheRestHoldsABlock) {
  EXPECT_EQ(nullptr, zu_mem_init(nullptr, 100));
  char small[33];
  EXPECT_EQ(nullptr, zu_mem_init(small, sizeof small));
  for (std::uint32_t spare : {0u, 1u, 9u, 10u}) {
    CheckedPool pool(24 + 9 + 5 + spare);
    pool.allocate(5 + spare + 1);
    pool.allocate(0xffffffff);
    const long payload = pool.allocate(5);
    pool.check();
    std::uint32_t size = 0;
    EXPECT_EQ(1, zu_mem_is_valid_ext_(pool.pool(), pool.area() + payload, &size));
    EXPECT_EQ(spare == 10 ? 5 : 5 + spare, size);
  }
}

TEST(Pool, IgnoresForgedHeaders) {
  CheckedPool pool(200);
  const long first = pool.allocate(60), second = pool.allocate(20);
  unsigned char* payload = pool.area() + first;
  const std::uint32_t values[] = {0, 1, 20, 51, 60, 0x7fffffff, 0xffffffff - 8, 0xffffffff};
  for (std::uint32_t size : values) {
    for (std::uint32_t prev : values) {
      std::memcpy(payload + 10, &size, 4);
      payload[14] = 1;
      std::memcpy(payload + 15, &prev, 4);
      EXPECT_EQ(0, zu_mem_is_valid(pool.pool(), payload + 19));
      zu_mem_free(pool.pool(), payload + 19);
      pool.check();
    }
  }
  std::memset(payload, 0xa5, 60);
  for (long gone : {first, first, second, second}) pool.release(gone);
  for (void* foreign : {static_cast<void*>(nullptr), static_cast<void*>(&pool)}) {
    zu_mem_free(pool.pool(), foreign);
    EXPECT_EQ(0, zu_mem_is_valid(pool.pool(), foreign));
  }
  pool.check();
}

TEST(Pool, IsNothingOnceDestroyed) {
  CheckedPool pool(200);
  const long payload = pool.allocate(7);
  zu_mem_destroy(pool.pool());
  zu_mem_destroy(nullptr);
  for (void* gone : {pool.pool(), static_cast<void*>(nullptr)}) {
    std::uint32_t out[4] = {1, 1, 1, 1};
    zu_mem_info(gone, &out[0], &out[1], &out[2], &out[3]);
    zu_mem_info(gone, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(0u, out[0] + out[1] + out[2] + out[3]);
    EXPECT_EQ(nullptr, zu_mem_malloc(gone, 1));
    EXPECT_EQ(0, zu_mem_is_valid(gone, pool.area() + payload));
    zu_mem_free(gone, pool.area() + payload);
    EXPECT_EQ("", kiv::test::printed_by([&] { zu_mem_print(gone); }));
  }
}

TEST(Memory, TreatsNothingAsNull) {
  _zu_minfo();
  for (std::int32_t count : {0, -1, INT32_MIN}) EXPECT_EQ(nullptr, _zu_malloc(count));
  EXPECT_EQ(nullptr, _zu_realloc(nullptr, 0));
  _zu_free(nullptr);
  auto* block = static_cast<char*>(_zu_realloc(nullptr, 3));
  std::memcpy(block, "ab", 3);
  block = static_cast<char*>(_zu_realloc(block, 3000));
  EXPECT_STREQ("ab", block);
  EXPECT_EQ(nullptr, _zu_realloc(block, 0));
}

}  // namespace
