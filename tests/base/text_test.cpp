#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "kiv_base/base.h"

namespace {

int sign(int value) {
  return (value > 0) - (value < 0);
}

// A text from the library, freed; "(null)" for none.
std::string taken(void* text) {
  const std::string copy = text == nullptr ? "(null)" : static_cast<char*>(text);
  _zu_free(text);
  return copy;
}

TEST(Text, CopiesUpToOneByteMoreThanTheLimit) {
  const struct {
    const char* source;
    int n;
    const char* expected;
  } cases[] = {{"abcdef", 3, "abc\0####"}, {"abcdef", 6, "abcdef\0#"}, {"ab", 7, "ab\0#####"},
               {"abc", 0, "\0#######"},    {"abc", -4, "\0#######"},   {nullptr, 3, "\0#######"}};
  for (const auto& c : cases) {
    char out[] = "########";
    zu_strncpy(out, c.source, c.n);
    EXPECT_EQ(0, std::memcmp(out, c.expected, 8)) << c.n;
  }
  zu_strncpy(nullptr, "abc", 3);
}

TEST(Text, ComparesBytesAndSortsNullFirst) {
  const struct {
    const char *a, *b;
    int n, exact, folded, first, first_folded;
  } cases[] = {{nullptr, nullptr, 3, 0, 0, 0, 0}, {nullptr, "", 3, -1, -1, -1, -1},
               {"", "", 3, 0, 0, 0, 0},           {"abc", "ABC", 3, 1, 0, 1, 0},
               {"abcd", "abcE", 3, 1, -1, 0, 0},  {"ab", "abc", 3, -1, -1, -1, -1},
               {"a\xe4", "az", 2, 1, 1, 1, 1},    {"\xc4", "\xe4", 1, -1, -1, -1, -1},
               {"_", "A", 1, 1, -1, 1, -1},       {"a", "b", 0, -1, -1, 0, 0},
               {"[x", "{x", 2, -1, -1, -1, -1},   {"b", "a", -1, 1, 1, 0, 0}};
  for (const auto& c : cases) {
    for (int turn : {1, -1}) {
      const char* a = turn == 1 ? c.a : c.b;
      const char* b = turn == 1 ? c.b : c.a;
      EXPECT_EQ(turn * c.exact, zu_strcmp(a, b));
      EXPECT_EQ(turn * c.folded, sign(zu_stricmp(a, b))) << (a ? a : "NULL");
      EXPECT_EQ(turn * c.first, sign(zu_strncmp(a, b, c.n)));
      EXPECT_EQ(turn * c.first_folded, sign(zu_strnicmp(a, b, c.n)));
    }
  }
}

TEST(Text, FindsCharactersAndTexts) {
  const char* text = "One tWo two";
  auto at = [&](const char* found) {
    return found == nullptr ? -1 : static_cast<int>(found - text);
  };
  EXPECT_EQ(8, at(zu_strchr(text, 't') + 4));
  const struct {
    const char* needle;
    int exact, folded, key;
  } cases[] = {{"two", 8, 4, 8},      {"", 0, 0, -1}, {"One", 0, 0, 0}, {"two ", -1, 4, -1},
               {nullptr, -1, -1, -1}, {"O", 0, 0, 0}, {"WO", -1, 5, -1}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.exact, at(zu_strstr(text, c.needle)));
    EXPECT_EQ(c.folded, at(zu_stristr(text, c.needle)));
    EXPECT_EQ(c.key, zu_FindKey(c.needle, text));
    EXPECT_EQ(nullptr, zu_strstr(nullptr, c.needle));
    EXPECT_EQ(nullptr, zu_stristr(nullptr, c.needle));
    EXPECT_EQ(-1, zu_FindKey(c.needle, nullptr));
  }
  EXPECT_EQ(nullptr, zu_stristr("", "a"));
  EXPECT_EQ(-1, zu_FindKey("a", ""));
  for (auto find : {zu_strchr, zu_strichr}) {
    EXPECT_EQ(0, at(find(text, 'O')));
    for (const char* none : {static_cast<const char*>(nullptr), "", "x"}) {
      EXPECT_EQ(nullptr, find(none, 'a'));
      EXPECT_EQ(nullptr, find(none, 0));
    }
  }
  EXPECT_EQ(nullptr, zu_strchr(text, 'T'));
  EXPECT_EQ(4, at(zu_strichr(text, 'T')));
  EXPECT_EQ(11u, zu_strlen(text));
  EXPECT_EQ(0u, zu_strlen(nullptr) + zu_strlen("") + static_cast<unsigned>(zu_isGB2312(text)));
}

TEST(Text, MakesNewTexts) {
  EXPECT_EQ("abc", taken(zu_strdup("abc")));
  EXPECT_EQ("abc", taken(zu_strndup("abc", 9)));
  EXPECT_EQ("ab", taken(zu_strndup("abc", 2)));
  EXPECT_EQ("", taken(zu_strndup("abc", 0)));
  EXPECT_EQ("ab", taken(zu_strdup2("a", "b")));
  EXPECT_EQ("xyz", taken(zu_strdup3("x", "y", "z")));
  auto* copy = static_cast<char*>(zu_memdup("a\0b", 3));
  EXPECT_EQ(0, std::memcmp(copy, "a\0b", 4));
  _zu_free(copy);
  EXPECT_EQ("cba", taken(zu_strreverse("abcdef", 3)));
  EXPECT_EQ("ba", taken(zu_strreverse("ab", INT_MAX)));
  const char* const paths[][2] = {{"dir/a.txt", "a.txt"}, {"a", "a"},     {"d\\e/f\\g", "g"},
                                  {"dir\\", "(null)"},    {"", "(null)"}, {"/", "(null)"}};
  for (const auto& path : paths) EXPECT_EQ(path[1], taken(zu_GetFilenameFromPath(path[0])));
  for (void* none :
       {static_cast<void*>(zu_strdup(nullptr)), static_cast<void*>(zu_strndup(nullptr, 1)),
        static_cast<void*>(zu_strndup("a", -1)), static_cast<void*>(zu_strndup("a", INT_MAX)),
        static_cast<void*>(zu_strdup2("a", nullptr)), static_cast<void*>(zu_strdup2(nullptr, "a")),
        static_cast<void*>(zu_strdup3("a", nullptr, "b")), zu_memdup(nullptr, 1),
        zu_memdup("a", -1), zu_memdup("a", INT_MAX), static_cast<void*>(zu_strreverse("a", 0)),
        static_cast<void*>(zu_strreverse("", 2)), static_cast<void*>(zu_strreverse(nullptr, 2)),
        static_cast<void*>(zu_GetFilenameFromPath(nullptr))}) {
    EXPECT_EQ(nullptr, none);
  }
}

// Every range of a text, against the standard library's own replacement; outside of it nothing.
TEST(Text, ReplacesInPlaceAsTheStandardStringDoes) {
  const std::string text = "abcde";
  for (const char* with : {static_cast<const char*>(nullptr), "", "X", "XYZ"}) {
    const std::string replacement = with == nullptr ? "" : with;
    const int length = static_cast<int>(replacement.size());
    for (int start = -1; start <= 6; ++start) {
      for (int count = -1; count <= 6; ++count) {
        const bool inside = start >= 0 && count >= 0 && start + count <= 5;
        std::string expected = text;
        if (inside)
          expected.replace(std::string::size_type(start), std::string::size_type(count),
                           replacement);
        char out[16] = "abcde";
        zu_strreplace1(out, start, count, with);
        EXPECT_EQ(expected, out);

        // The binary form clips both ends and moves the byte behind the data only on growth.
        char data[16] = "abcde\0#######";
        const int end = start + count;
        const int result = zu_memreplace(data, 5, start, end, with, length);
        EXPECT_EQ(length > 0 && start >= 0 ? length : 0, result);
        if (result == 0) {
          EXPECT_EQ(0, std::memcmp(data, "abcde\0#", 7));
          continue;
        }
        const int from = std::min(start, 5), to = std::max(from, std::min(end, 5));
        expected = text;
        expected.replace(std::string::size_type(from), std::string::size_type(to - from),
                         replacement);
        EXPECT_EQ(expected, std::string(data, expected.size()));
        EXPECT_TRUE(expected.size() <= 5 || data[expected.size()] == '\0');
      }
    }
  }
  char text_out[] = "ab";
  zu_strreplace(text_out, 0, 1, nullptr, 1);
  zu_strreplace(text_out, INT_MAX, INT_MAX, "x", 1);
  zu_strreplace(text_out, 0, 1, "x", -1);
  zu_strreplace(nullptr, 0, 0, "x", 1);
  EXPECT_STREQ("ab", text_out);
  EXPECT_EQ(0, zu_memreplace(text_out, -1, 0, 0, "x", 1));
  EXPECT_EQ(0, zu_memreplace(text_out, INT_MAX, 0, 0, "x", 1));
}

TEST(SortFind, FindsWhatIsThere) {
  const zu_sort_compare_fn compare = [](const void* element, const void* key) {
    return sign(*static_cast<const short*>(element) - *static_cast<const short*>(key));
  };
  const short odd[] = {1, 3, 5, 7, 9, 11, 13, 15, 17};
  for (int count = -1; count <= 9; ++count) {
    for (short key = 0; key <= 18; ++key) {
      int32_t index = -1;
      const bool there = key % 2 == 1 && key / 2 < count;
      EXPECT_EQ(there, zu_SortFind(odd, sizeof(short), count, &key, compare, &index));
      EXPECT_EQ(there ? key / 2 : -1, index);
      EXPECT_EQ(there, zu_SortFind(odd, sizeof(short), count, &key, compare, nullptr));
    }
  }
  EXPECT_EQ(0, zu_SortFind(nullptr, 2, 3, odd, compare, nullptr));
  EXPECT_EQ(0, zu_SortFind(odd, 2, 3, odd, nullptr, nullptr));
}

TEST(Number, ReadsDottedQuadsLeniently) {
  const struct {
    const char* text;
    int result;
    uint32_t value;
  } cases[] = {{"192.168.1.2", 1, 0xc0a80102},
               {"255.255.255.255", 1, 0xffffffff},
               {"1.2.3.255x", 1, 0x010203ff},
               {"0255.1.1.1", 1, 0xff050101},
               {"1..2.3", 1, 0x01000203},
               {"1.2.3.4.5", 1, 0x01020304},
               {"256.1.1.1", 0, 0},
               {"1.2.3", 0, 0x01020300},
               {"1a.2.3.4", 0, 0},
               {"1.2.3.4x", 0, 0x01020300},
               {"1.2.3.2555", 0, 0x01020300},
               {"", 0, 0},
               {"1.2.3.99999999999", 0, 0x01020300},
               {" 1.2.3.4", 0, 0},
               {nullptr, 0, 0}};
  for (const auto& c : cases) {
    uint32_t value = 7;
    EXPECT_EQ(c.result, zu_IP_to_32bits(&value, c.text)) << (c.text ? c.text : "NULL");
    EXPECT_EQ(c.value, value) << (c.text ? c.text : "NULL");
  }
  EXPECT_EQ(0, zu_IP_to_32bits(nullptr, "1.2.3.4"));
}

TEST(Number, ConvertsLongLongs) {
  const struct {
    const char* text;
    int64_t value;
  } cases[] = {{"0", 0},
               {" \t\r\n-42x", -42},
               {"+7", 7},
               {"9223372036854775807", INT64_MAX},
               {"-9223372036854775808", INT64_MIN},
               {"9223372036854775808", INT64_MAX},
               {"-99999999999999999999", INT64_MIN},
               {"- 1", 0},
               {"x", 0},
               {"", 0},
               {nullptr, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.value, zu_str_to_longlong(c.text)) << (c.text ? c.text : "NULL");
    char out[21];
    EXPECT_EQ(out, zu_longlong_to_str(c.value, out));
    EXPECT_EQ(std::to_string(c.value), out);
  }
  EXPECT_EQ(nullptr, zu_longlong_to_str(1, nullptr));
}

}  // namespace
