#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>
#include <utility>

#include "kiv_base/base.h"
#include "tests/support/temp_dir.h"

namespace {

int sign(int value) {
  return (value > 0) - (value < 0);
}

TEST(Text, CopiesUpToOneByteMoreThanTheLimit) {
  for (int n : {INT_MIN, 0, 2, 3, 4}) {
    char out[] = "######";
    zu_strncpy(out, "abc", n);
    const auto copied = static_cast<std::size_t>(std::clamp(n, 0, 3));
    EXPECT_EQ(std::string("abc").substr(0, copied) + '\0' + std::string(5 - copied, '#'),
              std::string(out, 6));
    zu_strncpy(out, nullptr, n);
    EXPECT_STREQ("", out);
  }
  zu_strncpy(nullptr, "abc", 3);
}

// Texts in ascending order, compared each with each; the second number ranks them without case.
TEST(Text, ComparesBytesAndSortsNullFirst) {
  const std::pair<const char*, int> sorted[] = {
      {nullptr, 0}, {"", 1},    {"AB", 5},  {"ABC", 6},   {"[x", 2}, {"_", 3},
      {"ab", 5},    {"abc", 6}, {"abd", 7}, {"a\xe4", 8}, {"{x", 9}, {"\xc4", 10}};
  for (const auto& a : sorted) {
    for (const auto& b : sorted) {
      EXPECT_EQ(sign(static_cast<int>(&a - &b)), zu_strcmp(a.first, b.first));
      EXPECT_EQ(sign(static_cast<int>(&a - &b)), sign(zu_strncmp(a.first, b.first, 9)));
      EXPECT_EQ(sign(a.second - b.second), sign(zu_stricmp(a.first, b.first)));
      EXPECT_EQ(sign(a.second - b.second), sign(zu_strnicmp(a.first, b.first, 9)));
    }
  }
  for (int n : {INT_MIN, -1, 0, 1, 2, 3}) {
    EXPECT_EQ(n < 3 ? 0 : -1, sign(zu_strncmp("abc", "abd", n)));
    EXPECT_EQ(n < 3 ? 0 : -1, sign(zu_strnicmp("aBC", "Abd", n)));
  }
}

TEST(Text, FindsCharactersAndStrings) {
  const char* text = "One tWo two";
  auto at = [&](const char* found) { return found ? static_cast<int>(found - text) : -1; };
  const struct {
    const char* needle;
    int exact, folded, key;
  } cases[] = {{"two", 8, 4, 8},      {"", 0, 0, -1}, {"two ", -1, 4, -1},
               {nullptr, -1, -1, -1}, {"O", 0, 0, 0}, {"WO", -1, 5, -1}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.exact, at(zu_strstr(text, c.needle)));
    EXPECT_EQ(c.folded, at(zu_stristr(text, c.needle)));
    EXPECT_EQ(c.key, zu_FindKey(c.needle, text));
    EXPECT_FALSE(zu_strstr(nullptr, c.needle) || zu_stristr(nullptr, c.needle));
    EXPECT_EQ(-1, zu_FindKey(c.needle, nullptr));
  }
  EXPECT_EQ(4, at(zu_strichr(text, 'T')));
  for (auto find : {zu_strchr, zu_strichr}) {
    EXPECT_EQ(5, at(find(text, 'W')));
    EXPECT_FALSE(find(text, 'x') || find(text, 0) || find(nullptr, 'a'));
  }
  EXPECT_EQ(11u, zu_strlen(text) + zu_strlen(nullptr) + unsigned(zu_isGB2312(text)));
}

TEST(Text, AllocatesNewStrings) {
  const std::pair<const char*, void*> made[] = {
      {"abc", zu_strdup("abc")},          {"abc", zu_strndup("abc", 9)},
      {"ab", zu_strndup("abc", 2)},       {"", zu_strndup("abc", 0)},
      {"ab", zu_strdup2("a", "b")},       {"xyz", zu_strdup3("x", "y", "z")},
      {"ab", zu_memdup("abc", 2)},        {"cba", zu_strreverse("abcdef", 3)},
      {"ba", zu_strreverse("ab", 9)},     {"a.txt", zu_GetFilenameFromPath("dir/a.txt")},
      {"a", zu_GetFilenameFromPath("a")}, {"g", zu_GetFilenameFromPath("d\\e/f\\g")}};
  for (const auto& [expected, text] : made) {
    EXPECT_STREQ(expected, static_cast<char*>(text));
    _zu_free(text);
  }
}

TEST(Text, ReadsFilesButNotDirectories) {
  const kiv::test::TempDir dir;
  const std::string file = dir.file("a"), missing = dir.file("no"), folder = dir.path();
  EXPECT_EQ(1, zu_AppendFile(file.c_str(), "abc", 3) & zu_AppendFile(file.c_str(), "d", 1));
  char text[8] = "";
  EXPECT_EQ(4, zu_GetFileContent(file.c_str(), text, 8));
  EXPECT_EQ(1, zu_GetTextFileContent(file.c_str(), text, 4));
  EXPECT_STREQ("abc", text);
  EXPECT_EQ(0, zu_GetFileContent(file.c_str(), text, 0));
  for (const std::string& none : {missing, folder}) {
    for (int size : {0, 1, 8}) {
      EXPECT_EQ(0, zu_GetTextFileContent(none.c_str(), text, size)) << none;
      EXPECT_EQ(-1, zu_GetFileContent(none.c_str(), text, size)) << none;
    }
  }
  EXPECT_EQ(0, zu_AppendFile(folder.c_str(), "a", 1));
  EXPECT_EQ(0, zu_DeleteFile(file.c_str()));
}

// Every range of a text, against the standard string's replacement; outside of it nothing. The
// binary form clips both ends instead, and moves the byte after the data only on growth.
TEST(Text, ReplacesInPlaceAsTheStandardStringDoes) {
  for (const char* with : {static_cast<const char*>(nullptr), "", "X", "XYZ"}) {
    const std::string replacement = with == nullptr ? "" : with;
    const int length = static_cast<int>(replacement.size());
    auto replaced = [&](int from, int to) {
      return std::string("abcde").replace(unsigned(from), unsigned(to - from), replacement);
    };
    for (int start : {INT_MIN, -1, 0, 1, 4, 5, 6, INT_MAX}) {
      for (int count : {INT_MIN, -1, 0, 1, 2, 5, 6, INT_MAX}) {
        const bool inside = start >= 0 && count >= 0 && start <= 5 && count <= 5 - start;
        char text[16] = "abcde";
        zu_strreplace1(text, start, count, with);
        EXPECT_EQ(inside ? replaced(start, start + count) : "abcde", text);

        char data[16] = "abcde!######";
        const bool changes = length > 0 && start >= 0;
        EXPECT_EQ(changes ? length : 0, zu_memreplace(data, 5, start, count, with, length));
        const int from = std::min(start, 5), to = std::clamp(count, from, std::max(from, 5));
        const std::string expected = changes ? replaced(from, to) : "abcde";
        EXPECT_EQ(expected, std::string(data, expected.size()));
        EXPECT_TRUE(expected.size() < 6 || data[expected.size()] == '!');
      }
    }
  }
}

TEST(Number, ReadsDottedQuadsLeniently) {
  const std::pair<const char*, uint32_t> good[] = {
      {"192.168.1.2", 0xc0a80102}, {"255.255.255.255", 0xffffffff}, {"1.2.3.255x", 0x010203ff},
      {"0255.1.1.1", 0xff050101},  {"1..2.3", 0x01000203},          {"1.2.3.4.5", 0x01020304}};
  uint32_t value = 7;
  for (const auto& [text, expected] : good) {
    EXPECT_TRUE(zu_IP_to_32bits(&value, text) == 1 && value == expected) << text;
  }
  for (const char* bad : {"256.1.1.1", "1.2.3", "1.2.3.", "1a.2.3.4", "1.2.3.4x", "1.2.3.2555", "",
                          "1.2.3.99999999999", " 1.2.3.4"}) {
    EXPECT_EQ(0, zu_IP_to_32bits(&value, bad)) << bad;
  }
}

}  // namespace
