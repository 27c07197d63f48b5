// Wildcard patterns: normalised and classified once, so that most of them match by one comparison.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

#include "base/ascii.h"
#include "base/layout.h"
#include "base/owned.h"
#include "kiv_base/system.h"

using namespace kiv;

namespace {

enum MatchType : std::int32_t { kGeneral, kGeneralFromTail, kHead, kTail, kExact };

KIV_LAYOUT(zu_pattern, 20, text, 16);

// Copies the text with the "?" of every run of wildcards in front and one "*" after them, so that
// "*?" and "?*", which match the same, become the same. Sets the lengths.
void normalise(zu_pattern& pattern, const char* text) {
  char* out = pattern.text;
  std::uint64_t longest = 0;
  bool star_waits = false;
  bool any_star = false;
  for (; *text != '\0'; ++text) {
    if (*text == '*') {
      star_waits = any_star = true;
      continue;
    }
    if (*text != '?' && star_waits) {
      *out++ = '*';
      star_waits = false;
    }
    *out++ = *text;
    ++pattern.min_length;
    // deliberate: four bytes, though a "?" matches one; the field is public and has always counted
    // the longest character of a multi-byte text.
    longest += *text == '?' ? 4 : 1;
  }
  if (star_waits) *out++ = '*';
  *out = '\0';
  pattern.length = static_cast<std::uint32_t>(out - pattern.text);
  pattern.max_length =
      any_star ? UINT32_MAX
               : static_cast<std::uint32_t>(std::min<std::uint64_t>(longest, UINT32_MAX));
}

struct Occurrences {
  std::uint32_t count, first, last;
};

Occurrences find_all(const zu_pattern& pattern, char wildcard) {
  Occurrences found{};
  for (std::uint32_t at = 0; at < pattern.length; ++at) {
    if (pattern.text[at] != wildcard) continue;
    if (found.count++ == 0) found.first = at;
    found.last = at;
  }
  return found;
}

void classify(zu_pattern& pattern) {
  const Occurrences stars = find_all(pattern, '*');
  const Occurrences marks = find_all(pattern, '?');
  if (marks.count == 0 && stars.count == 0) {
    pattern.match_type = kExact;
  } else if (marks.count == 0 && stars.count == 1 && stars.first == 0) {
    pattern.match_type = kTail;
    std::memmove(pattern.text, pattern.text + 1, pattern.length--);
  } else if (marks.count == 0 && stars.count == 1 && stars.last == pattern.length - 1) {
    pattern.match_type = kHead;
    pattern.text[--pattern.length] = '\0';
  } else {
    // Starts at the end that has more plain bytes before the first wildcard.
    const Occurrences& wildcards = stars.count > 0 ? stars : marks;
    const bool from_tail = pattern.length - 1 - wildcards.last > wildcards.first;
    pattern.match_type = from_tail ? kGeneralFromTail : kGeneral;
    if (from_tail) std::reverse(pattern.text, pattern.text + pattern.length);
  }
}

// A text as the matcher reads it: from its start, or backwards from its end.
struct Forward {
  const char* text;
  std::size_t length;

  char operator[](std::size_t at) const { return text[at]; }

  // The first place from `at` on that has the byte; the length when there is none.
  std::size_t find(char byte, std::size_t at) const {
    const void* found = std::memchr(text + at, byte, length - at);
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - text) : length;
  }
};

struct Backward {
  const char* text;
  std::size_t length;

  char operator[](std::size_t at) const { return text[length - 1 - at]; }

  std::size_t find(char byte, std::size_t at) const {
    while (at < length && (*this)[at] != byte) ++at;
    return at;
  }
};

// The matcher for any pattern. Going back to the last "*" is enough: what stands before it has
// matched as early as it can, which leaves the most to the rest. So it never takes more steps than
// the product of both lengths.
template <typename Text>
bool matches(const zu_pattern& pattern, Text text) {
  const char* const end = pattern.text + pattern.length;
  const char* at = pattern.text;
  const char* after_star = nullptr;
  std::size_t star_end = 0;  // the rest is tried from here on
  const auto seek = [&](std::size_t from) { return *at == '?' ? from : text.find(*at, from); };
  for (std::size_t i = 0; i < text.length;) {
    if (at != end && *at == '*') {
      after_star = ++at;
      if (at == end) return true;
      i = star_end = seek(i);
    } else if (at != end && (*at == '?' || *at == text[i])) {
      ++at;
      ++i;
    } else if (after_star == nullptr) {
      return false;
    } else {
      at = after_star;
      i = star_end = seek(star_end + 1);
    }
  }
  while (at != end && *at == '*') ++at;
  return at == end;
}

bool same(const char* a, const char* b, std::size_t length, bool match_case) {
  return match_case ? std::memcmp(a, b, length) == 0 : base::equal_ignoring_case(a, b, length);
}

// One block: the text follows the record. Empty for null, for 2 GiB and if out of memory.
base::RawStorage<zu_pattern> make_pattern(const char* text) {
  const std::size_t length = text == nullptr ? 0 : std::strlen(text);
  if (text == nullptr || length > INT32_MAX) return {};
  auto block = base::RawStorage<char>::allocate(sizeof(zu_pattern) + length + 1);
  if (!block) return {};
  auto* pattern = new (block.get()) zu_pattern{};
  pattern->text = block.release() + sizeof(zu_pattern);
  normalise(*pattern, text);
  classify(*pattern);
  return base::RawStorage<zu_pattern>(pattern);
}

// `reversed` may be null.
bool matches_whole(const zu_pattern& pattern, std::string_view text, const char* reversed,
                   bool match_case) {
  if (text.size() < pattern.min_length || text.size() > pattern.max_length) return false;
  switch (pattern.match_type) {
    case kExact:
    case kHead:
      return same(text.data(), pattern.text, pattern.length, match_case);
    case kTail:
      return same(text.data() + text.size() - pattern.length, pattern.text, pattern.length,
                  match_case);
    // deliberate: case always counts in the general shapes; rules in use are written for that.
    case kGeneralFromTail:
      return reversed ? matches(pattern, Forward{reversed, text.size()})
                      : matches(pattern, Backward{text.data(), text.size()});
    default:
      return matches(pattern, Forward{text.data(), text.size()});
  }
}

bool matches_string(const zu_pattern* pattern, const char* text, bool match_case) {
  if (pattern == nullptr || text == nullptr) return false;
  const std::string_view whole(text);
  return whole.size() <= INT32_MAX && matches_whole(*pattern, whole, nullptr, match_case);
}

}  // namespace

zu_pattern* KIV_CALL zu_pattern_make(const char* text) KIV_NOEXCEPT {
  return make_pattern(text).release();
}

void KIV_CALL zu_pattern_free(zu_pattern* pattern) KIV_NOEXCEPT {
  base::deallocate(pattern);
}

int KIV_CALL zu_pattern_equal(const zu_pattern* a, const zu_pattern* b) KIV_NOEXCEPT {
  if (a == nullptr || b == nullptr) return 0;
  return a->match_type == b->match_type && a->length == b->length &&
         std::memcmp(a->text, b->text, a->length) == 0;
}

int KIV_CALL zu_pattern_match(const zu_pattern* pattern, uint32_t length, const char* text,
                              const char* reversed, int match_case) KIV_NOEXCEPT {
  if (pattern == nullptr || text == nullptr) return 0;
  return matches_whole(*pattern, {text, length}, reversed, match_case != 0);
}

int KIV_CALL zu_pattern_match_string(const zu_pattern* pattern, const char* text) KIV_NOEXCEPT {
  return matches_string(pattern, text, true);
}

int KIV_CALL zu_pattern_match_istring(const zu_pattern* pattern, const char* text) KIV_NOEXCEPT {
  return matches_string(pattern, text, false);
}

int KIV_CALL zu_pattern_match_simple(const char* pattern, const char* text) KIV_NOEXCEPT {
  return matches_string(make_pattern(pattern).get(), text, true);
}

int KIV_CALL zu_pattern_match_isimple(const char* pattern, const char* text) KIV_NOEXCEPT {
  return matches_string(make_pattern(pattern).get(), text, false);
}
