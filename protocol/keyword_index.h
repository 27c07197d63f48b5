// Finds the first inserted of many keywords in one pass over a text, after Wu and Manber, "A fast
// algorithm for multi-pattern searching", 1994. A window as long as the shortest keyword slides
// over the text; a table says by its last two bytes how far it may move without missing a keyword.
// Where it may not, the keywords that can start there are found by a hash of their first bytes.
#pragma once

#include <cstdint>

#include "base/owned.h"

namespace kiv::protocol {

inline constexpr std::int32_t kMaxKeyword = 64;
inline constexpr std::int32_t kMaxKeywordText = 100;

struct Keyword {
  char keyword[kMaxKeyword + 1];  // what is compared, zero-terminated
  char text[kMaxKeywordText + 1];
  std::int32_t tag;
  std::int32_t length;  // of `keyword`; 0 never hits
  Keyword* next;        // in the order of insertion
};

// Built when it is first asked.
class KeywordIndex {
 public:
  // Returns the first of the keywords that occurs in the zero-terminated text, or null. Builds the
  // index if there is none; if out of memory, searches for one keyword after the other.
  const Keyword* find_first(const Keyword* keywords, const char* text, std::int32_t length);

  // Frees the index, because the keywords have changed.
  void clear();

 private:
  struct Entry {
    std::uint64_t prefix;  // the bytes that are hashed
    const Keyword* keyword;
    std::int32_t next;  // in its bucket, ascending; -1: last
  };

  bool build(const Keyword* keywords);
  void add_shifts(const Keyword& keyword);
  std::int32_t bucket(std::uint64_t prefix, std::int32_t size) const;
  const Entry* search(const char* text, std::int32_t length) const;
  const Entry* best_at(const char* text, const char* end, const Entry* best) const;
  template <std::int32_t Size>
  const Entry* best_of_size(const char* text, const char* end, const Entry* best) const;

  base::RawStorage<Entry> entries_;  // in the order of insertion
  base::RawStorage<std::int32_t> buckets_;
  base::RawStorage<std::uint8_t> shifts_;  // for each pair of bytes
  std::int32_t bucket_bits_;
  std::int32_t window_;
  std::uint32_t prefix_sizes_;  // bit n: there are keywords that are hashed by n bytes
};

}  // namespace kiv::protocol
