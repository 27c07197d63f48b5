#include "protocol/keyword_index.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace kiv::protocol {
namespace {

// Fewer keywords are found faster one by one.
constexpr std::int32_t kFewKeywords = 6;
constexpr std::size_t kPairs = 65536;
// Each move waits for a look-up by what the last one reached, so several windows slide side by
// side, each over its own part of the text.
constexpr std::int32_t kWindows = 8;

std::int32_t prefix_size(std::int32_t length) {
  return length >= 8 ? 8 : length >= 4 ? 4 : length;
}

std::uint64_t load_prefix(const char* bytes, std::int32_t size) {
  std::uint64_t prefix = 0;
  std::memcpy(&prefix, bytes, static_cast<std::size_t>(size));
  return prefix;
}

std::uint16_t load_pair(const char* bytes) {
  std::uint16_t pair;
  std::memcpy(&pair, bytes, sizeof pair);
  return pair;
}

const Keyword* find_one_by_one(const Keyword* keywords, const char* text) {
  for (const Keyword* keyword = keywords; keyword; keyword = keyword->next) {
    if (keyword->length > 0 && std::strstr(text, keyword->keyword)) return keyword;
  }
  return nullptr;
}

}  // namespace

std::int32_t KeywordIndex::bucket(std::uint64_t prefix, std::int32_t size) const {
  const std::uint64_t mixed = (prefix + static_cast<std::uint64_t>(size)) * 0x9E3779B97F4A7C15u;
  return static_cast<std::int32_t>(mixed >> (64 - bucket_bits_));
}

bool KeywordIndex::build(const Keyword* keywords) {
  std::int32_t count = 0;
  std::int32_t shortest = kMaxKeyword;
  for (const Keyword* keyword = keywords; keyword; keyword = keyword->next) {
    if (keyword->length < 1) continue;
    shortest = std::min(shortest, keyword->length);
    ++count;
  }
  if (count < kFewKeywords) return false;
  const int bits = static_cast<int>(std::bit_width(static_cast<std::uint32_t>(count))) + 1;
  const std::size_t bucket_count = std::size_t{1} << bits;
  entries_ = base::RawStorage<Entry>::allocate(static_cast<std::size_t>(count));
  buckets_ = base::RawStorage<std::int32_t>::allocate(bucket_count);
  shifts_ = base::RawStorage<std::uint8_t>::allocate(kPairs);
  if (!entries_ || !buckets_ || !shifts_) {
    clear();
    return false;
  }
  bucket_bits_ = bits;
  window_ = std::max(shortest, 2);
  prefix_sizes_ = 0;
  std::memset(buckets_.get(), -1, bucket_count * sizeof(std::int32_t));
  std::memset(shifts_.get(), window_ - 1, kPairs);
  std::int32_t i = 0;
  for (const Keyword* keyword = keywords; keyword; keyword = keyword->next) {
    if (keyword->length > 0) entries_[i++].keyword = keyword;
  }
  // From the last to the first, so that each bucket is in their order.
  while (--i >= 0) {
    const Keyword& keyword = *entries_[i].keyword;
    const std::int32_t size = prefix_size(keyword.length);
    const std::uint64_t prefix = load_prefix(keyword.keyword, size);
    std::int32_t& first = buckets_[bucket(prefix, size)];
    entries_[i] = {prefix, &keyword, first};
    first = i;
    prefix_sizes_ |= 1u << size;
    add_shifts(keyword);
  }
  return true;
}

void KeywordIndex::add_shifts(const Keyword& keyword) {
  for (std::int32_t at = 0; at + 2 <= std::min(window_, keyword.length); ++at) {
    std::uint8_t& shift = shifts_[load_pair(keyword.keyword + at)];
    shift = static_cast<std::uint8_t>(std::min<std::int32_t>(shift, window_ - 2 - at));
  }
  if (keyword.length > 1) return;
  // A keyword of one byte begins in every pair that does; the window is one pair then.
  for (int second = 0; second < 256; ++second) {
    const char pair[] = {keyword.keyword[0], static_cast<char>(second)};
    shifts_[load_pair(pair)] = 0;
  }
}

void KeywordIndex::clear() {
  entries_.reset();
  buckets_.reset();
  shifts_.reset();
}

// Returns the better of `best` and the first keyword of its prefix size that starts the text.
template <std::int32_t Size>
const KeywordIndex::Entry* KeywordIndex::best_of_size(const char* text, const char* end,
                                                      const Entry* best) const {
  if ((prefix_sizes_ >> Size & 1) == 0 || Size > end - text) return best;
  const std::uint64_t prefix = load_prefix(text, Size);
  for (std::int32_t at = buckets_[bucket(prefix, Size)]; at >= 0; at = entries_[at].next) {
    const Entry& entry = entries_[at];
    if (best && &entry > best) break;
    if (entry.prefix != prefix) continue;
    const Keyword& keyword = *entry.keyword;
    if (keyword.length <= end - text &&
        std::memcmp(keyword.keyword, text, static_cast<std::size_t>(keyword.length)) == 0) {
      return &entry;
    }
  }
  return best;
}

const KeywordIndex::Entry* KeywordIndex::best_at(const char* text, const char* end,
                                                 const Entry* best) const {
  best = best_of_size<8>(text, end, best);
  best = best_of_size<4>(text, end, best);
  best = best_of_size<3>(text, end, best);
  best = best_of_size<2>(text, end, best);
  return best_of_size<1>(text, end, best);
}

const KeywordIndex::Entry* KeywordIndex::search(const char* text, std::int32_t length) const {
  const Entry* best = nullptr;
  const char* const text_end = text + length;
  const std::ptrdiff_t tail = window_ - 2;  // the offset of a window's last pair
  const auto move = [&, shifts = shifts_.get()](const char*& at) {
    const std::uint8_t shift = shifts[load_pair(at + tail)];
    at += shift;
    if (shift > 0) return;
    best = best_at(at, text_end, best);
    ++at;
  };

  // The second byte of the last pair is the zero that ends the text.
  const std::int32_t starts = std::max(length - static_cast<std::int32_t>(tail), 0);
  const char* at[kWindows];
  const char* end[kWindows];
  for (std::int32_t i = 0; i < kWindows; ++i) {
    at[i] = text + starts * i / kWindows;
    end[i] = text + starts * (i + 1) / kWindows;
  }
  const auto moves_of_all = [&] {
    std::ptrdiff_t least = end[0] - at[0];
    for (std::int32_t i = 1; i < kWindows; ++i) least = std::min(least, end[i] - at[i]);
    return least / (window_ - 1);
  };
  for (std::ptrdiff_t moves; (moves = moves_of_all()) > 0;) {
    for (; moves > 0; --moves) {
      for (const char*& one : at) move(one);
    }
  }
  for (std::int32_t i = 0; i < kWindows; ++i) {
    while (at[i] < end[i]) move(at[i]);
  }
  return best;
}

const Keyword* KeywordIndex::find_first(const Keyword* keywords, const char* text,
                                        std::int32_t length) {
  if (!entries_ && !build(keywords)) return find_one_by_one(keywords, text);
  const Entry* best = search(text, length);
  return best ? best->keyword : nullptr;
}

}  // namespace kiv::protocol
