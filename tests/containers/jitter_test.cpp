#include <deque>

#include "tests/containers/support.h"

using namespace kiv::test;
using namespace std::string_literals;

namespace {

TEST(Jitter, RandomCutsMatchADeque) {
  Dice dice;
  for (const auto& [block_size, blocks] : {std::pair{1, 10}, {7, 10}, {64, 1}, {1000, 10}}) {
    zu_jitter* jitter = zu_jitter_mallocx(block_size, blocks, nullptr);
    // Only whole blocks are freed: the read part of the oldest one stays taken unless it is also
    // the newest, whose ring is used again.
    const int sure_room = blocks == 1 ? block_size : (blocks - 1) * block_size + 1;
    std::deque<char> twin;
    for (int step = 0; step < 4000; ++step) {
      const int count = dice.below(block_size * (dice.below(4) ? 2 : 12));
      const int length = static_cast<int>(twin.size()), offset = dice.below(length + 1);
      std::string piece(static_cast<size_t>(count), '\0');
      if (dice.below(2)) {
        for (char& byte : piece) byte = static_cast<char>(dice.below(256));
        const int stored = zu_jitter_SetData(jitter, piece.data(), count);
        ASSERT_TRUE(stored == count || (stored < count && length + stored >= sure_room));
        twin.insert(twin.end(), piece.begin(), piece.begin() + stored);
      } else {
        const int ahead = std::min(count, length - offset), taken = std::min(count, length);
        ASSERT_EQ(zu_jitter_PeekDatax(jitter, piece.data(), offset, count), ahead);
        ASSERT_TRUE(std::equal(piece.begin(), piece.begin() + ahead, twin.begin() + offset));
        ASSERT_EQ(zu_jitter_PeekData(jitter, piece.data(), count), taken);
        ASSERT_EQ(zu_jitter_GetData(jitter, step % 4 ? piece.data() : nullptr, count), taken);
        ASSERT_TRUE(std::equal(piece.begin(), piece.begin() + taken, twin.begin()));
        twin.erase(twin.begin(), twin.begin() + taken);
      }
      ASSERT_EQ(zu_jitter_GetLen(jitter), static_cast<int>(twin.size()));
      ASSERT_EQ(zu_jitter_GetAvailableLen(jitter) + zu_jitter_GetLen(jitter), blocks * block_size);
      ASSERT_EQ(jitter->block_count, static_cast<int>(zu_list_length(jitter->blocks)));
      ASSERT_LE(jitter->block_count, std::min(blocks, zu_jitter_GetLen(jitter) / block_size + 2));
      ASSERT_EQ(jitter->last, zu_list_last(jitter->blocks));
    }
    zu_jitter_free(jitter);
  }
}

// A block over whose ring's end the bytes go that are written after `turned` others.
struct Block {
  explicit Block(int32_t capacity, int32_t turned = 0) : block(_zu_jitter_block_new(capacity)) {
    write(std::string(static_cast<size_t>(turned), '.'));
    _zu_jitter_block_GetData(block, nullptr, turned);
  }
  ~Block() { _zu_jitter_block_free(block); }
  int write(const std::string& text) {
    return _zu_jitter_block_SetData(block, text.data(), static_cast<int32_t>(text.size()));
  }
  std::string range(int32_t start, int32_t end) {
    std::string text(16, '?');
    const int32_t count = _zu_jitter_block_PeekData_ext(block, text.data(), start, end);
    return text.substr(0, static_cast<size_t>(count));
  }
  zu_jitter_block* block;
};

TEST(JitterBlock, StoresAllOrNothingAndLimitsARangeToTheLengthAlone) {
  Block b(6, 4), fresh(6);
  EXPECT_EQ(b.range(0, 1), "");
  EXPECT_TRUE(b.write("") && b.write("abcd") && !b.write("efg"));
  EXPECT_EQ(_zu_jitter_block_SetData(b.block, "x", INT32_MAX), 0);
  EXPECT_EQ(_zu_jitter_block_GetAvailableLen(b.block), 2);
  EXPECT_EQ(b.range(1, 3), "bc");
  EXPECT_EQ(b.range(0, INT32_MAX), "abcd");
  EXPECT_EQ(b.range(3, 9), "d..a");  // goes on round the ring
  for (auto [start, end] : {std::pair{2, 2}, {3, 1}, {-1, 2}, {4, 6}, {INT32_MIN, INT32_MAX}}) {
    EXPECT_EQ(b.range(start, end), "");
  }
  fresh.write("xy");
  EXPECT_EQ(fresh.range(1, 5), "y\0"s);
  _zu_jitter_block_reset(b.block);
  EXPECT_EQ(_zu_jitter_block_GetData(b.block, nullptr, 1), 0);
}

TEST(JitterBlock, APacketEndsWithItsWholeRunOfZeros) {
  const struct {
    std::string stored;
    int32_t packet, terminator;
  } cases[] = {{"", -1, -1},        {"abc", -1, -1},    {"\0"s, 1, 1},       {"AB\0\0C"s, 4, 2},
               {"AB\0\0\0"s, 5, 3}, {"\0\0A\0"s, 2, 2}, {"abcdefg\0"s, 8, 1}};
  for (const auto& c : cases) {
    for (int32_t turned = 0; turned < 8; ++turned) {
      Block b(8, turned);
      b.write(c.stored);
      int32_t packet = -1, terminator = -1;
      EXPECT_EQ(_zu_jitter_block_CalPacketLen(b.block, &packet, &terminator), c.packet > 0);
      EXPECT_TRUE(packet == c.packet && terminator == c.terminator) << c.stored << turned;
      EXPECT_EQ(_zu_jitter_block_CalPacketLen(b.block, nullptr, nullptr), c.packet > 0);
    }
  }
}

}  // namespace
