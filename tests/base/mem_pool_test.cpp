#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "tests/support/stdout_capture.h"

namespace {

// The pool as a list of blocks by offset: what fits where, without headers or links.
struct Model {
  struct Block {
    unsigned size;
    bool used;
  };
  unsigned length, cursor = 0;
  std::map<unsigned, Block> blocks;

  explicit Model(unsigned region) : length(region - 24), blocks{{0, {length - 9, false}}} {}

  // Offset of the new block, or -1.
  long allocate(unsigned count) {
    if (count == 0 || count > length - 9) return -1;
    auto fits = [&](const auto& entry) { return !entry.second.used && entry.second.size >= count; };
    const auto start = blocks.find(cursor);
    auto found = std::find_if(start, blocks.end(), fits);
    if (found == blocks.end()) found = std::find_if(blocks.begin(), start, fits);
    const bool fit = found != blocks.end() && fits(*found);
    cursor = fit ? found->first : 0;
    if (!fit) return -1;
    const unsigned size = found->second.size;
    found->second = {size > count + 9 ? count : size, true};
    if (size > count + 9) blocks[cursor + 9 + count] = {size - 9 - count, false};
    return static_cast<long>(cursor);
  }

  void release(unsigned at) {
    auto block = blocks.find(at);
    block->second.used = false;
    join(block);
    if (block != blocks.begin()) join(std::prev(block));
  }

  void join(std::map<unsigned, Block>::iterator block) {
    const auto behind = std::next(block);
    if (block->second.used || behind == blocks.end() || behind->second.used) return;
    if (cursor == behind->first) cursor = block->first;
    block->second.size += 9 + behind->second.size;
    blocks.erase(behind);
  }

  bool is_used(unsigned at) const { return blocks.count(at) == 1 && blocks.at(at).used; }

  // What zu_mem_print tells.
  std::string print() const {
    std::ostringstream out;
    const auto line = [&](const char* name, unsigned value) {
      out << "|" << name << " = " << std::left << std::setw(10) << value << "|\n";
    };
    out << "zu_mem_print:\nsize         = " << length << "\npos          = " << cursor
        << "\nmemory block list:\n";
    unsigned largest[2] = {}, count[2] = {};
    for (const auto& [at, block] : blocks) {
      const std::string border = "|" + std::string(30, block.used ? '+' : '-') + "|\n";
      out << "*" << count[0] + count[1] << "* - " << (block.used ? "malloc\n" : "free\n") << border;
      line("mem_pos          ", at);
      line("mem_size         ", block.size);
      out << border << "\n";
      largest[block.used] = std::max(largest[block.used], block.size);
      ++count[block.used];
    }
    const std::string border = "|" + std::string(32, '!') + "|\n";
    out << "ALL:\n" << border;
    line("max_free_block_size", largest[0]);
    line("max_used_block_size", largest[1]);
    line("free_block_count   ", count[0]);
    line("used_block_count   ", count[1]);
    out << border << "\n";
    return out.str();
  }
};

// A pool beside its model; every step is checked, the print telling all of the pool's state.
struct CheckedPool {
  // One byte off an even address: nothing in a pool is aligned.
  explicit CheckedPool(unsigned size)
      : model(size), storage(size + 1), pool(zu_mem_init(storage.data() + 1, size)) {}

  unsigned char* payload(long at) { return storage.data() + 1 + 24 + 9 + at; }

  long allocate(unsigned count) {
    const long at = model.allocate(count);
    void* block = zu_mem_malloc(pool, count);
    EXPECT_EQ(at < 0 ? nullptr : payload(at), block);
    if (block != nullptr) std::memset(block, 0xa5, model.blocks[unsigned(at)].size);
    check();
    return at;
  }

  // Any offset: only that of a used block may change anything.
  void release(long at) {
    const bool used = at >= 0 && model.is_used(unsigned(at));
    std::uint32_t size = 0;
    EXPECT_EQ(used, zu_mem_is_valid_ext_(pool, payload(at), &size)) << at;
    EXPECT_EQ(size, std::count(payload(at), payload(at) + size, 0xa5));
    if (used) {
      EXPECT_EQ(model.blocks[unsigned(at)].size, size);
      model.release(unsigned(at));
    }
    zu_mem_free(pool, payload(at));
    check();
  }

  void check() {
    EXPECT_EQ(model.print(), kiv::test::printed_by([&] { zu_mem_print(pool); }));
  }

  Model model;
  std::vector<unsigned char> storage;
  void* pool;
};

TEST(Pool, FollowsTheModelOverRandomUse) {
  std::mt19937 random(20090307);
  auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  for (unsigned region : {34u, 43u, 44u, 90u, 400u, 2000u}) {
    CheckedPool pool(region);
    std::vector<long> blocks{0};
    for (int step = 0; step < 250 && !HasFailure(); ++step) {
      if (below(5) < 3) {
        blocks.push_back(pool.allocate(below(9) ? below(region / 6) : 0 - below(region)));
      } else {
        // Mostly live ones, else freed ones or any place.
        pool.release(below(4) ? blocks[below(unsigned(blocks.size()))] : long(below(region - 33)));
      }
    }
  }
}

TEST(Pool, IgnoresInvalidBlocks) {
  CheckedPool pool(200);
  const long first = pool.allocate(60);
  unsigned char* payload = pool.payload(first);
  const std::uint32_t values[] = {0, 1, 20, 51, 60, 0x7fffffff, 0xffffffff - 8, 0xffffffff};
  for (std::uint32_t size : values) {
    for (std::uint32_t prev : values) {
      std::memcpy(payload + 10, &size, 4);
      payload[14] = 1;
      std::memcpy(payload + 15, &prev, 4);
      pool.release(first + 19);
    }
  }
  zu_mem_free(pool.pool, &pool);
  EXPECT_EQ(0, zu_mem_is_valid(pool.pool, &pool) | zu_mem_is_valid(pool.pool, nullptr));
  pool.check();
}

}  // namespace
