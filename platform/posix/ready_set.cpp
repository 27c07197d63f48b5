#include "platform/posix/ready_set.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "platform/heap.h"

namespace kiv::platform {
namespace {

constexpr std::uint32_t kBits = 64;

constexpr std::uint32_t words_for(std::uint32_t bits) {
  return (bits + kBits - 1) / kBits;
}
constexpr std::uint64_t bit_of(std::uint32_t index) {
  return std::uint64_t{1} << index % kBits;
}
constexpr std::uint32_t highest_bit(std::uint64_t word) {
  return kBits - 1 - static_cast<std::uint32_t>(std::countl_zero(word));
}

}  // namespace

ReadySet::~ReadySet() {
  heap_free(summary_);
}

bool ReadySet::reserve(std::int32_t id) noexcept {
  const std::uint32_t needed = static_cast<std::uint32_t>(id) / kBits + 1;
  if (needed <= word_count_) return true;
  const std::uint32_t words = std::max(needed, word_count_ * 2);
  const std::uint32_t summaries = words_for(words);
  const std::size_t bytes = (std::size_t{summaries} + words) * sizeof(std::uint64_t);
  auto* const fresh = static_cast<std::uint64_t*>(heap_alloc(bytes));
  if (fresh == nullptr) return false;
  std::memset(fresh, 0, bytes);
  if (word_count_ > 0) {
    std::copy_n(summary_, words_for(word_count_), fresh);
    std::copy_n(words_, word_count_, fresh + summaries);
  }
  heap_free(summary_);
  summary_ = fresh;
  words_ = fresh + summaries;
  word_count_ = words;
  return true;
}

void ReadySet::insert(std::int32_t id) noexcept {
  const auto bit = static_cast<std::uint32_t>(id);
  std::uint64_t& word = words_[bit / kBits];
  if ((word & bit_of(bit)) != 0) return;
  word |= bit_of(bit);
  summary_[bit / kBits / kBits] |= bit_of(bit / kBits);
  ++count_;
}

void ReadySet::erase(std::int32_t id) noexcept {
  const auto bit = static_cast<std::uint32_t>(id);
  std::uint64_t& word = words_[bit / kBits];
  if ((word & bit_of(bit)) == 0) return;
  word &= ~bit_of(bit);
  if (word == 0) summary_[bit / kBits / kBits] &= ~bit_of(bit / kBits);
  --count_;
}

bool ReadySet::contains(std::int32_t id) const noexcept {
  const auto bit = static_cast<std::uint32_t>(id);
  return bit / kBits < word_count_ && (words_[bit / kBits] & bit_of(bit)) != 0;
}

void ReadySet::clear() noexcept {
  for (std::int32_t id = highest(INT32_MAX); id >= 0; id = highest(id)) erase(id);
}

std::int32_t ReadySet::highest(std::int32_t below) const noexcept {
  if (count_ == 0 || below <= 0) return -1;
  const std::uint32_t last = std::min(static_cast<std::uint32_t>(below), word_count_ * kBits) - 1;
  std::uint32_t word = last / kBits;
  const std::uint64_t bits = words_[word] & (~std::uint64_t{0} >> (kBits - 1 - last % kBits));
  if (bits != 0) return static_cast<std::int32_t>(word * kBits + highest_bit(bits));
  std::uint32_t summary = word / kBits;
  std::uint64_t lower = summary_[summary] & (bit_of(word) - 1);
  while (lower == 0) {
    if (summary == 0) return -1;
    lower = summary_[--summary];
  }
  word = summary * kBits + highest_bit(lower);
  return static_cast<std::int32_t>(word * kBits + highest_bit(words_[word]));
}

}  // namespace kiv::platform
