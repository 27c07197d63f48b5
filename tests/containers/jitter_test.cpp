#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <string>

#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

int32_t length_of(const std::string& text) {
  return static_cast<int32_t>(text.size());
}

// A buffer with verbs over texts.
struct Buffer {
  Buffer(int32_t block_size, int32_t max_blocks)
      : jitter(zu_jitter_mallocx(block_size, max_blocks, nullptr)) {}
  ~Buffer() { zu_jitter_free(jitter); }
  int32_t write(const std::string& text) {
    return zu_jitter_SetData(jitter, text.data(), length_of(text));
  }
  std::string read(int32_t count) {
    std::string text(64, '?');
    text.resize(static_cast<std::size_t>(zu_jitter_GetData(jitter, text.data(), count)));
    return text;
  }
  zu_jitter* jitter;
};

struct Block {
  explicit Block(int32_t capacity) : block(_zu_jitter_block_new(capacity)) {}
  ~Block() { _zu_jitter_block_free(block); }
  // Moves both positions on, so that what follows wraps round the end.
  void turn(int32_t count) {
    _zu_jitter_block_SetData(block, std::string(static_cast<std::size_t>(count), '.').data(),
                             count);
    _zu_jitter_block_GetData(block, nullptr, count);
  }
  int write(const std::string& text) {
    return _zu_jitter_block_SetData(block, text.data(), length_of(text));
  }
  std::string range(int32_t start, int32_t end) {
    std::string text(16, '?');
    const int32_t count = _zu_jitter_block_PeekData_ext(block, text.data(), start, end);
    text.resize(static_cast<std::size_t>(count));
    return text;
  }
  zu_jitter_block* block;
};

}  // namespace

TEST(Jitter, RandomCutsMatchADeque) {
  Dice dice(5);
  for (int block_size : {1, 7, 64, 1000}) {
    Buffer buffer(block_size, 10);
    zu_jitter* jitter = buffer.jitter;
    std::deque<uint8_t> twin;
    std::vector<uint8_t> piece(static_cast<std::size_t>(block_size) * 12);
    for (int step = 0; step < 4000; ++step) {
      const int count = dice.below(block_size * (dice.below(4) ? 2 : 12));
      if (dice.below(2)) {
        for (int i = 0; i < count; ++i)
          piece[static_cast<std::size_t>(i)] = static_cast<uint8_t>(dice.below(256));
        const int32_t available = zu_jitter_GetAvailableLen(jitter);
        const int32_t stored = zu_jitter_SetData(jitter, piece.data(), count);
        ASSERT_LE(stored, std::min(count, available));
        // What is missing is the read part of the oldest block, at most.
        if (stored < count) ASSERT_LT(zu_jitter_GetAvailableLen(jitter), block_size);
        twin.insert(twin.end(), piece.begin(), piece.begin() + stored);
      } else {
        const int32_t offset = dice.below(static_cast<int>(twin.size()) + 1);
        const auto stored = static_cast<int32_t>(twin.size());
        ASSERT_EQ(zu_jitter_PeekDatax(jitter, piece.data(), offset, count),
                  std::min(count, stored - offset));
        ASSERT_TRUE(std::equal(piece.begin(), piece.begin() + std::min(count, stored - offset),
                               twin.begin() + offset));
        const bool discard = dice.below(4) == 0;
        ASSERT_EQ(zu_jitter_PeekData(jitter, piece.data(), count), std::min(count, stored));
        const int32_t taken = zu_jitter_GetData(jitter, discard ? nullptr : piece.data(), count);
        ASSERT_EQ(taken, std::min(count, stored));
        ASSERT_TRUE(std::equal(piece.begin(), piece.begin() + taken, twin.begin()));
        twin.erase(twin.begin(), twin.begin() + taken);
      }
      ASSERT_EQ(zu_jitter_GetLen(jitter), static_cast<int32_t>(twin.size()));
      ASSERT_EQ(jitter->block_count, static_cast<int32_t>(zu_list_length(jitter->blocks)));
      ASSERT_EQ(jitter->last, zu_list_last(jitter->blocks));
      ASSERT_LE(jitter->block_count,
                std::min<int32_t>(10, zu_jitter_GetLen(jitter) / block_size + 2));
    }
  }
}

TEST(Jitter, BlocksComeAndGoWithTheBytes) {
  zu_jitter* jitter = zu_jitter_malloc();
  const std::string data(16384, 'x');
  EXPECT_EQ(zu_jitter_GetAvailableLen(jitter), 1638400000);
  EXPECT_EQ(zu_jitter_SetData(jitter, data.data(), 16384), 16384);
  EXPECT_EQ(jitter->block_count, 1);
  EXPECT_EQ(zu_jitter_SetData(jitter, data.data(), 1), 1);
  EXPECT_EQ(jitter->block_count, 2);
  EXPECT_EQ(zu_jitter_GetData(jitter, nullptr, 16384), 16384);
  EXPECT_EQ(jitter->block_count, 1);
  EXPECT_EQ(zu_jitter_GetData(jitter, nullptr, 9), 1);
  EXPECT_TRUE(jitter->block_count == 0 && !jitter->blocks && !jitter->last);
  EXPECT_EQ(zu_jitter_SetData(jitter, data.data(), 20000), 16384);
  zu_jitter_empty(jitter);
  EXPECT_TRUE(zu_jitter_GetLen(jitter) == 0 && !jitter->blocks && !jitter->last);
  zu_jitter_free(jitter);
}

TEST(Jitter, TheNewestBlockReusesItsRing) {
  Buffer buffer(10, 1);
  EXPECT_EQ(buffer.write("0123456789abcde"), 10);
  EXPECT_EQ(zu_jitter_GetAvailableLen(buffer.jitter), 0);
  EXPECT_EQ(buffer.read(4), "0123");
  EXPECT_EQ(buffer.write("ABCD"), 4);
  EXPECT_EQ(buffer.jitter->block_count, 1);
  EXPECT_EQ(buffer.read(20), "456789ABCD");

  // The block limit counts half-read blocks whole.
  Buffer two(4, 2);
  EXPECT_EQ(two.write("01234567"), 8);
  EXPECT_EQ(two.read(3), "012");
  EXPECT_EQ(zu_jitter_GetAvailableLen(two.jitter), 3);
  EXPECT_EQ(two.write("89"), 0);
}

TEST(Jitter, RefusesSizesAndArguments) {
  zu_jitter jitter;
  for (int32_t bad : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zu_jitter_init(&jitter, bad, 1, nullptr), 0);
    EXPECT_EQ(zu_jitter_init(&jitter, 1, bad, nullptr), 0);
    EXPECT_EQ(zu_jitter_mallocx(bad, 1, nullptr), nullptr);
    EXPECT_EQ(_zu_jitter_block_new(bad), nullptr);
  }
  EXPECT_EQ(zu_jitter_init(nullptr, 1, 1, nullptr), 0);
  EXPECT_EQ(_zu_jitter_block_new(INT32_MAX), nullptr);
  ASSERT_EQ(zu_jitter_init(&jitter, INT32_MAX, INT32_MAX, value_of(5)), 1);
  EXPECT_EQ(zu_jitter_GetAvailableLen(&jitter), INT32_MAX);
  EXPECT_EQ(zu_jitter_SetUserData(&jitter, value_of(6)), &jitter);
  EXPECT_EQ(zu_jitter_GetUserData(&jitter), value_of(6));

  ASSERT_EQ(zu_jitter_init(&jitter, 8, 2, nullptr), 1);
  char out[8];
  EXPECT_EQ(zu_jitter_SetData(&jitter, "abcdef", 6), 6);
  EXPECT_EQ(zu_jitter_SetData(&jitter, nullptr, 1) + zu_jitter_SetData(&jitter, "a", -1), 0);
  EXPECT_EQ(zu_jitter_GetData(&jitter, out, -1) + zu_jitter_PeekData(&jitter, out, 0), 0);
  EXPECT_EQ(zu_jitter_PeekData(&jitter, nullptr, 1), 0);
  for (int32_t offset : {-1, INT32_MIN, 6, INT32_MAX}) {
    EXPECT_EQ(zu_jitter_PeekDatax(&jitter, out, offset, INT32_MAX), 0);
  }
  zu_jitter_destroy(&jitter);
  EXPECT_EQ(zu_jitter_SetData(nullptr, "a", 1) + zu_jitter_GetLen(nullptr), 0);
  EXPECT_EQ(zu_jitter_GetData(nullptr, out, 1) + zu_jitter_GetAvailableLen(nullptr), 0);
  zu_jitter_free(nullptr);
}

TEST(JitterBlock, StoresAllOrNothing) {
  Block b(5);
  EXPECT_EQ(b.write(""), 1);
  EXPECT_EQ(b.write("abcdef"), 0);
  EXPECT_EQ(b.write("abc"), 1);
  EXPECT_EQ(_zu_jitter_block_SetData(b.block, "x", INT32_MAX), 0);
  EXPECT_EQ(b.write("xyz"), 0);
  EXPECT_EQ(_zu_jitter_block_GetLen(b.block), 3);
  EXPECT_EQ(_zu_jitter_block_GetAvailableLen(b.block), 2);
  char out[8] = {};
  EXPECT_EQ(_zu_jitter_block_PeekData(b.block, out, 9), 3);
  EXPECT_EQ(_zu_jitter_block_GetData(b.block, nullptr, 2), 2);
  EXPECT_EQ(b.write("defg"), 1);
  EXPECT_EQ(_zu_jitter_block_GetData(b.block, out, 9), 5);
  EXPECT_EQ(std::string(out), "cdefg");
  b.write("hi");
  _zu_jitter_block_reset(b.block);
  EXPECT_EQ(_zu_jitter_block_GetData(b.block, out, 1), 0);
  EXPECT_EQ(b.block->write_pos + b.block->read_pos, 0);
}

TEST(JitterBlock, ARangeIsLimitedToTheLengthAlone) {
  Block b(6);
  EXPECT_EQ(b.range(0, 1), "");
  b.turn(4);
  b.write("abcd");  // on both sides of the ring's end
  EXPECT_EQ(b.range(1, 3), "bc");
  EXPECT_EQ(b.range(0, INT32_MAX), "abcd");
  EXPECT_EQ(b.range(3, 9), "d..a");  // runs on round the ring
  for (auto [start, end] : {std::pair{2, 2}, {3, 1}, {-1, 2}, {4, 6}, {INT32_MIN, INT32_MAX}}) {
    EXPECT_EQ(b.range(start, end), "");
  }
  EXPECT_EQ(_zu_jitter_block_PeekData_ext(b.block, nullptr, 0, 1), 0);
  Block fresh(6);
  fresh.write("xy");
  EXPECT_EQ(fresh.range(1, 5), std::string("y\0", 2));
}

TEST(JitterBlock, APacketEndsWithItsWholeRunOfZeros) {
  using namespace std::string_literals;
  const struct {
    std::string stored;
    int result, packet, terminator;
  } cases[] = {{"", 0, -1, -1},        {"abc", 0, -1, -1},     {"\0"s, 1, 1, 1},
               {"AB\0\0C"s, 1, 4, 2},  {"AB\0\0\0"s, 1, 5, 3}, {"\0\0A\0"s, 1, 2, 2},
               {"abcdefg\0"s, 1, 8, 1}};
  for (const auto& c : cases) {
    for (int32_t turned = 0; turned < 8; ++turned) {
      Block b(8);
      b.turn(turned);
      b.write(c.stored);
      int32_t packet = -1, terminator = -1;
      EXPECT_EQ(_zu_jitter_block_CalPacketLen(b.block, &packet, &terminator), c.result);
      EXPECT_TRUE(packet == c.packet && terminator == c.terminator) << c.stored << turned;
      EXPECT_EQ(_zu_jitter_block_CalPacketLen(b.block, nullptr, nullptr), c.result);
    }
  }
  EXPECT_EQ(_zu_jitter_block_CalPacketLen(nullptr, nullptr, nullptr), 0);
}
