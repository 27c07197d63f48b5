#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_base/protocol.h"

namespace kiv::test {
namespace {

std::string reduced(std::string text, std::size_t most) {
  text.resize(std::min(text.size(), most));
  std::erase_if(text, [](char c) {
    return std::string_view(" \r\n-=_/|*&~+,.;\"':@[]{}%^$!()\\<>?`").find(c) != std::string::npos;
  });
  return text;
}

// Few letters, so that many keywords start alike. The shortest keyword of a round decides how far
// the search may jump.
TEST(KeywordFilter, FindsTheFirstInserted) {
  std::mt19937 dice(5);
  const auto random_text = [&](std::size_t length) {
    std::string made(length, ' ');
    for (char& c : made) {
      c = dice() % 3 != 0 ? "aaabbcA#\xe4"[dice() % 9] : static_cast<char>(1 + dice() % 255);
    }
    return made;
  };
  for (int round = 0; round < 60; ++round) {
    kiv_filter* filter = kiv_filter_malloc();
    std::vector<std::string> keywords;
    for (int i = 0; i < round; ++i) {
      const auto shortest = static_cast<std::size_t>(round % 16);
      const std::string keyword = random_text(shortest + dice() % 90);
      const std::string text(static_cast<std::size_t>(i) + 60, 't');
      EXPECT_EQ(kivx_filter_insert(filter, keyword.c_str(), text.c_str(), i), 1);
      keywords.push_back(reduced(keyword, 64));
      std::string probe = random_text(dice() % 300);
      if (i % 2 == 0) probe.insert(dice() % (probe.size() + 1), keywords[dice() % keywords.size()]);
      const std::string plain = reduced(probe, 10240);
      std::size_t expected = 0;
      while (expected < keywords.size() &&
             (keywords[expected].empty() || plain.find(keywords[expected]) == std::string::npos)) {
        ++expected;
      }
      const char *hit = nullptr, *hit_text = nullptr;
      int32_t tag = static_cast<int32_t>(keywords.size());
      EXPECT_EQ(kivx_filter_IsHit(filter, probe.c_str(), &hit, &hit_text, &tag),
                expected < keywords.size());
      ASSERT_EQ(static_cast<std::size_t>(tag), expected) << probe;
      if (hit == nullptr) continue;
      EXPECT_EQ(hit, keywords[expected]);
      EXPECT_EQ(std::string(hit_text).size(), std::min<std::size_t>(expected + 60, 100));
    }
    kiv_filter_free(filter);
  }
}

TEST(KeywordFilter, CountsTheCharactersItLooksAt) {
  kiv_filter* filter = kiv_filter_malloc();
  EXPECT_EQ(kiv_filter_insert(filter, nullptr, nullptr), 1);
  EXPECT_EQ(kiv_filter_insert(filter, ".-!", ""), 1);
  EXPECT_EQ(kiv_filter_IsHit(filter, "anything"), 0);
  const std::string dots(62, '.');
  kiv_filter_insert(filter, (dots + "bad").c_str(), "");  // its 64 characters keep "ba"
  EXPECT_EQ(kiv_filter_IsHit(filter, "b"), 0);
  EXPECT_EQ(kiv_filter_IsHit(filter, "B.A b-a"), 1);
  EXPECT_EQ(kiv_filter_IsHit(filter, (std::string(10238, ' ') + "ba").c_str()), 1);
  EXPECT_EQ(kiv_filter_IsHit(filter, (std::string(10239, ' ') + "ba").c_str()), 0);
  EXPECT_EQ(kiv_filter_IsHit(filter, nullptr) + kiv_filter_IsHit(nullptr, "ba"), 0);
  kiv_filter_free(filter);
}

}  // namespace
}  // namespace kiv::test
