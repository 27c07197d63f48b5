#include "protocol/xtea.h"

#include <bit>
#include <cstring>
#include <type_traits>

// A block is one chain of dependent steps, but blocks are independent: groups of them go through
// the cycles side by side. Processors of 64 bits take four blocks to a vector, which the compiler
// has to be told so: with plain arrays it reaches a third of the speed. The 32-bit build goes
// without vector registers, so that no caller's stack is aligned badly for it, and arrays are what
// is fast there.
namespace kiv::protocol {
namespace {

// Passed by reference alone: without vector registers the ABI does not define how to pass it by
// value.
using Quad = std::uint32_t __attribute__((vector_size(16)));
using Wide = std::conditional_t<sizeof(void*) == 8, Quad, std::uint32_t>;

template <typename Word>
void swap_if_big_endian(Word& word) {
  if constexpr (std::endian::native == std::endian::big) {
    word = (word << 24) | ((word & 0xff00) << 8) | ((word >> 8) & 0xff00) | (word >> 24);
  }
}

// The first and second words of one block, or of four.
void load_words(const std::uint8_t* in, std::uint32_t& first, std::uint32_t& second) {
  std::memcpy(&first, in, sizeof first);
  std::memcpy(&second, in + sizeof first, sizeof second);
}

[[maybe_unused]] void load_words(const std::uint8_t* in, Quad& first, Quad& second) {
  Quad low, high;
  std::memcpy(&low, in, sizeof low);
  std::memcpy(&high, in + sizeof low, sizeof high);
  first = __builtin_shufflevector(low, high, 0, 2, 4, 6);
  second = __builtin_shufflevector(low, high, 1, 3, 5, 7);
}

void store_words(std::uint8_t* out, const std::uint32_t& first, const std::uint32_t& second) {
  std::memcpy(out, &first, sizeof first);
  std::memcpy(out + sizeof first, &second, sizeof second);
}

[[maybe_unused]] void store_words(std::uint8_t* out, const Quad& first, const Quad& second) {
  const Quad low = __builtin_shufflevector(first, second, 0, 4, 1, 5);
  const Quad high = __builtin_shufflevector(first, second, 2, 6, 3, 7);
  std::memcpy(out, &low, sizeof low);
  std::memcpy(out + sizeof low, &high, sizeof high);
}

enum class Direction { encrypt, decrypt };

template <Direction direction, typename Word, std::size_t Count>
void half_cycle(Word (&to)[Count], const Word (&from)[Count], std::uint32_t key) {
  for (std::size_t i = 0; i < Count; ++i) {
    const Word mixed = (((from[i] << 4) ^ (from[i] >> 5)) + from[i]) ^ key;
    if constexpr (direction == Direction::encrypt) {
      to[i] += mixed;
    } else {
      to[i] -= mixed;
    }
  }
}

template <Direction direction, typename Word, std::size_t Count>
void mix_words(Word (&first)[Count], Word (&second)[Count], const std::uint32_t (&keys)[64]) {
  for (int i = 0; i < 64; i += 2) {
    if constexpr (direction == Direction::encrypt) {
      half_cycle<direction>(first, second, keys[i]);
      half_cycle<direction>(second, first, keys[i + 1]);
    } else {
      half_cycle<direction>(second, first, keys[63 - i]);
      half_cycle<direction>(first, second, keys[62 - i]);
    }
  }
}

struct Blocks {
  std::uint8_t* out;
  const std::uint8_t* in;
  std::size_t count;
};

// Takes groups of `Count` Words of blocks from the front as long as whole ones are left.
template <Direction direction, typename Word, std::size_t Count>
void process_groups(Blocks& blocks, const std::uint32_t (&keys)[64]) {
  constexpr std::size_t kBytes = 2 * sizeof(Word), kGroup = kBytes * Count;
  for (; blocks.count >= kGroup / kXteaBlock; blocks.count -= kGroup / kXteaBlock) {
    Word first[Count], second[Count];
    for (std::size_t i = 0; i < Count; ++i) {
      load_words(blocks.in + kBytes * i, first[i], second[i]);
      swap_if_big_endian(first[i]);
      swap_if_big_endian(second[i]);
    }
    mix_words<direction>(first, second, keys);
    for (std::size_t i = 0; i < Count; ++i) {
      swap_if_big_endian(first[i]);
      swap_if_big_endian(second[i]);
      store_words(blocks.out + kBytes * i, first[i], second[i]);
    }
    blocks.in += kGroup;
    blocks.out += kGroup;
  }
}

template <Direction direction>
void process_blocks(Blocks blocks, const std::uint32_t (&keys)[64]) {
  process_groups<direction, Wide, 4>(blocks, keys);
  process_groups<direction, Wide, 2>(blocks, keys);
  process_groups<direction, Wide, 1>(blocks, keys);
  process_groups<direction, std::uint32_t, 1>(blocks, keys);
}

}  // namespace

Xtea::Xtea(const std::uint8_t (&key)[kXteaKey]) {
  std::uint32_t words[4], sum = 0;
  std::memcpy(words, key, sizeof words);
  for (std::uint32_t& word : words) swap_if_big_endian(word);
  for (int i = 0; i < 64; i += 2) {
    keys_[i] = sum + words[sum & 3];
    sum += 0x9e3779b9;
    keys_[i + 1] = sum + words[sum >> 11 & 3];
  }
}

void Xtea::encrypt(std::uint8_t* out, const std::uint8_t* in, std::size_t blocks) const {
  process_blocks<Direction::encrypt>({out, in, blocks}, keys_);
}

void Xtea::decrypt(std::uint8_t* out, const std::uint8_t* in, std::size_t blocks) const {
  process_blocks<Direction::decrypt>({out, in, blocks}, keys_);
}

}  // namespace kiv::protocol
