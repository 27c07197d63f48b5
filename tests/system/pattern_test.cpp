#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#if __has_include(<fnmatch.h>)
#include <fnmatch.h>
#endif

namespace {

using Pattern = std::unique_ptr<zu_pattern, decltype([](zu_pattern* p) { zu_pattern_free(p); })>;

bool expected_match(const char* p, const char* s) {
#if __has_include(<fnmatch.h>)
  return fnmatch(p, s, 0) == 0;
#else
  if (*p == '*') return expected_match(p + 1, s) || (*s && expected_match(p, s + 1));
  return *p ? *s && (*p == '?' || *p == *s) && expected_match(p + 1, s + 1) : !*s;
#endif
}

TEST(Pattern, StoresTheNormalShape) {
  const struct {
    const char *text, *stored;
    int type;
    uint32_t shortest, longest;
  } cases[] = {{"a**b", "a*b", 0, 2, UINT32_MAX},
               {"*?x", "?*x", 0, 2, UINT32_MAX},
               {"?*x", "?*x", 0, 2, UINT32_MAX},
               {"a*?*?", "a??*", 0, 3, UINT32_MAX},
               {"??", "??", 0, 2, 8},
               {"a?bc", "cb?a", 1, 4, 7},
               {"abc*", "abc", 2, 3, UINT32_MAX},
               {"**abc", "abc", 3, 3, UINT32_MAX},
               {"***", "", 3, 0, UINT32_MAX},
               {"", "", 4, 0, 0},
               {"a*b*cd", "dc*b*a", 1, 4, UINT32_MAX}};
  for (const auto& c : cases) {
    const Pattern p(zu_pattern_make(c.text));
    EXPECT_EQ(std::string(c.stored), std::string(p->text, p->length + 1).c_str()) << c.text;
    EXPECT_EQ(c.type, p->match_type) << c.text;
    EXPECT_TRUE(c.shortest == p->min_length && c.longest == p->max_length) << c.text;
  }
  EXPECT_EQ(nullptr, zu_pattern_make(nullptr));
}

TEST(Pattern, MatchesAsExpectedWithCaseAndWithout) {
  std::mt19937 random(62);
  const auto text_from = [&](const std::string& letters, std::size_t longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& c : text) c = letters[random() % letters.size()];
    return text;
  };
  const auto folded = [](std::string text) {
    for (char& c : text) c = c == 'A' ? 'a' : c;
    return text;
  };
  Pattern last(zu_pattern_make(""));
  std::string last_text;
  for (int round = 0; round < 200000; ++round) {
    const std::string text = text_from("aAb", 9), wild = text_from(round % 2 ? "aAb*?" : "ab**", 7);
    Pattern p(zu_pattern_make(wild.c_str()));
    const bool expected = expected_match(wild.c_str(), text.c_str());
    const bool loose = expected_match(folded(wild).c_str(), folded(text).c_str());
    const std::string backwards(text.rbegin(), text.rend());
    const auto length = static_cast<uint32_t>(text.size());
    ASSERT_EQ(expected, zu_pattern_match_string(p.get(), text.c_str())) << wild << " " << text;
    ASSERT_EQ(expected, zu_pattern_match_simple(wild.c_str(), text.c_str()));
    ASSERT_EQ(expected, zu_pattern_match(p.get(), length, text.c_str(), backwards.c_str(), 1));
    // Case always counts in the general shapes.
    ASSERT_EQ(p->match_type < 2 ? expected : loose,
              zu_pattern_match_istring(p.get(), text.c_str()));
    ASSERT_EQ(p->match_type < 2 ? expected : loose,
              zu_pattern_match_isimple(wild.c_str(), text.c_str()));
    ASSERT_EQ(wild == last_text || zu_pattern_equal(p.get(), last.get()),
              p->match_type == last->match_type && std::string(p->text) == last->text);
    last = std::move(p), last_text = wild;
  }
  zu_pattern_match(last.get(), 0, "", nullptr, 1);  // reads no reversed text of no length
}

// Would not end in a lifetime if every "*" were tried everywhere.
TEST(Pattern, ManyStarsTakeNoLongerThanBothLengthsMultiplied) {
  std::string wild = "a", text(100000, 'a');
  for (int i = 0; i < 100; ++i) wild += "*a?";
  for (const std::string& end : {wild + "*b", "b*" + wild, wild + "*bb*a"}) {
    EXPECT_EQ(0, zu_pattern_match_simple(end.c_str(), text.c_str()));
  }
  EXPECT_EQ(1, zu_pattern_match_simple(wild.c_str(), text.c_str()));
}

}  // namespace
