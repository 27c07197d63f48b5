// URL escaping, base64 and MD5.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

using Url = char*(KIV_CALL*)(const char*, std::int32_t)KIV_NOEXCEPT;

std::string url(Url code, const std::string& text, std::int32_t length = 0) {
  char* out = code(text.c_str(), length);
  std::string result = out == nullptr ? "(null)" : out;
  zu_url_escape_free(out);
  return result;
}

std::string base64(const std::string& bytes) {
  char* out = nullptr;
  const int n = zu_base64_encode00(&out, bytes.data(), static_cast<int>(bytes.size()));
  std::string text(static_cast<std::size_t>(n) + 1, '#');
  EXPECT_EQ(zu_base64_encode(text.data(), bytes.data(), static_cast<int>(bytes.size())), n);
  EXPECT_STREQ(out, text.c_str());
  std::free(out);  // deliberate: from malloc, not from _zu_malloc
  return text.c_str();
}

std::string unbase64(const std::string& text, std::size_t capacity) {
  std::string out(capacity, '#');
  const int n = zu_base64_decode(out.data(), text.c_str(), static_cast<int>(capacity));
  return out.substr(0, static_cast<std::size_t>(n));
}

// Every byte but zero, somewhere.
std::string bytes_of(std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * 31 % 255 + 1);
  return bytes;
}

TEST(UrlEscape, KeepsLettersDigitsAndStarOnly) {
  EXPECT_EQ(url(zu_url_escape_malloc, "a b-c.d"), "a+b%2Dc%2Ed");
  EXPECT_EQ(url(zu_url_escape_malloc, "Az09*_~/\x80\xff"), "Az09*%5F%7E%2F%80%FF");
  EXPECT_EQ(url(zu_url_escape_malloc, "abcdef", 2), "ab");
  EXPECT_EQ(url(zu_url_escape_malloc, std::string("a\0b", 3), 3), "a%00b");
  const std::string bytes = bytes_of(300);
  EXPECT_EQ(url(zu_url_unescape_malloc, url(zu_url_escape_malloc, bytes)), bytes);
}

TEST(UrlUnescape, TakesOneOrTwoDigitsAndSkipsTwoCharacters) {
  EXPECT_EQ(url(zu_url_unescape_malloc, "a+b%2Dc%2e"), "a b-c.");
  EXPECT_EQ(url(zu_url_unescape_malloc, "%zz|%g4|% 4|%+4|%-4|%"), "%zz|%g4|% 4|% 4|%-4|%");
  EXPECT_EQ(url(zu_url_unescape_malloc, "%4gx%4"), "\x04x\x04");
  EXPECT_EQ(url(zu_url_unescape_malloc, "x%41y", 3), "x\x04");  // the length cuts the digits off
  EXPECT_EQ(url(zu_url_unescape_malloc, "a", -1), "(null)");
}

TEST(Base64, MatchesPublishedVectors) {
  const char* const texts[] = {"Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (std::size_t i = 0; i < std::size(texts); ++i) {
    EXPECT_EQ(base64(std::string("foobar", i + 1)), texts[i]);
  }
  for (const char* text : {"YW Jj\r\n", "=Y-W_J.j\xff", "YWJjZ"})
    EXPECT_EQ(unbase64(text, 9), "abc");
}

TEST(Base64, SkipsForeignCharactersAndDropsWhatDoesNotFit) {
  for (std::size_t size = 1; size < 300; ++size) {
    const std::string bytes = bytes_of(size);
    std::string text = base64(bytes);
    for (std::size_t at = size % 9; at < text.size(); at += 70) text.insert(at, "\n");
    EXPECT_EQ(unbase64(text, size + 2), bytes);
    EXPECT_EQ(unbase64(text, size / 2 + 1), bytes.substr(0, size / 2 + 1));
  }
  char buffer[8];
  for (int length : {0, -1, INT32_MAX}) EXPECT_EQ(zu_base64_encode(buffer, "a", length), -1);
  EXPECT_EQ(zu_base64_encode(nullptr, "a", 1) + zu_base64_encode00(nullptr, "a", 1), -2);
  EXPECT_EQ(zu_base64_decode(nullptr, "YQ", 1) + zu_base64_decode(buffer, "YQ", 0), -2);
}

TEST(Md5, MatchesPublishedVectors) {
  const std::string vectors[][2] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      // The lengths around which the padding takes another block.
      {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
      {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
      {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
      {std::string(200, 'x'), "30a83621ce5422fbdfdd539777458c78"}};
  char out[33];
  for (const auto& [text, digest] : vectors) {
    EXPECT_EQ(zu_md5_encode(out, text.c_str()), 1);
    EXPECT_EQ(out, digest);
  }
}

}  // namespace
