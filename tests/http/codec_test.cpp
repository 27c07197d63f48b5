// URL escaping, base64 and MD5.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

std::string escaped(const std::string& text, std::int32_t length = 0) {
  char* out = zu_url_escape_malloc(text.c_str(), length);
  std::string result = out == nullptr ? "(null)" : out;
  zu_url_escape_free(out);
  return result;
}

std::string unescaped(const std::string& text, std::int32_t length = 0) {
  char* out = zu_url_unescape_malloc(text.c_str(), length);
  std::string result = out == nullptr ? "(null)" : out;
  zu_url_unescape_free(out);
  return result;
}

std::string encoded(const std::string& bytes) {
  std::string out(bytes.size() / 3 * 4 + 5, '#');
  const std::int32_t n =
      zu_base64_encode(out.data(), bytes.data(), static_cast<std::int32_t>(bytes.size()));
  EXPECT_EQ(out[static_cast<std::size_t>(n)], '\0');
  return out.substr(0, static_cast<std::size_t>(n));
}

std::string decoded(const std::string& text, std::size_t capacity) {
  std::string out(capacity, '#');
  const std::int32_t n =
      zu_base64_decode(out.data(), text.c_str(), static_cast<std::int32_t>(capacity));
  return out.substr(0, static_cast<std::size_t>(n));
}

std::string md5(const std::string& text) {
  char out[33];
  EXPECT_EQ(zu_md5_encode(out, text.c_str()), 1);
  return out;
}

std::string random_bytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random() % 255 + 1);
  return bytes;
}

TEST(UrlEscape, KeepsLettersDigitsAndStarOnly) {
  EXPECT_EQ(escaped("a b-c.d"), "a+b%2Dc%2Ed");
  EXPECT_EQ(escaped("Az09*_~/\x80\xff"), "Az09*%5F%7E%2F%80%FF");
  EXPECT_EQ(escaped("abcdef", 2), "ab");
  EXPECT_EQ(escaped(std::string("a\0b", 3), 3), "a%00b");
  EXPECT_EQ(zu_url_escape_malloc(nullptr, 0), nullptr);
  EXPECT_EQ(zu_url_escape_malloc("a", -1), nullptr);
  std::mt19937 random(7);
  for (std::size_t size = 0; size < 300; ++size) {
    const std::string bytes = random_bytes(random, size);
    EXPECT_EQ(unescaped(escaped(bytes)), bytes);
  }
}

TEST(UrlUnescape, TakesOneOrTwoDigitsAndSkipsTwoCharacters) {
  EXPECT_EQ(unescaped("a+b%2Dc%2e"), "a b-c.");
  EXPECT_EQ(unescaped("%zz|%|%g4|% 4|%+4|%-4|%"), "%zz|%|%g4|% 4|% 4|%-4|%");
  EXPECT_EQ(unescaped("%4gx"), "\x04x");
  EXPECT_EQ(unescaped("x%4"), "x\x04");
  EXPECT_EQ(unescaped("x%41y", 3), "x\x04");  // the length cuts the digits off
  EXPECT_EQ(unescaped("abc%zz", 2), "ab");
  EXPECT_EQ(zu_url_unescape_malloc(nullptr, 0), nullptr);
  EXPECT_EQ(zu_url_unescape_malloc("a", -1), nullptr);
}

TEST(Base64, MatchesPublishedVectors) {
  const char* const vectors[][2] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                    {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                    {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
  for (const auto& [plain, text] : vectors) {
    EXPECT_EQ(encoded(plain), text);
    EXPECT_EQ(decoded(text, 6), plain);
    char* made = nullptr;
    EXPECT_EQ(zu_base64_encode00(&made, plain, static_cast<std::int32_t>(std::strlen(plain))),
              static_cast<std::int32_t>(std::strlen(text)));
    EXPECT_STREQ(made, text);
    std::free(made);  // deliberate: from malloc, not from _zu_malloc
  }
}

TEST(Base64, SkipsForeignCharactersAndDropsWhatDoesNotFit) {
  EXPECT_EQ(decoded("YW Jj\r\n", 9), "abc");
  EXPECT_EQ(decoded("=Y-W_J.j\xff", 9), "abc");
  EXPECT_EQ(decoded("", 9), "");
  EXPECT_EQ(decoded("Z", 9), "");
  EXPECT_EQ(decoded("Zm9vYmFy", 4), "foob");
  std::mt19937 random(11);
  for (std::size_t size = 1; size < 200; ++size) {
    const std::string bytes = random_bytes(random, size);
    std::string text = encoded(bytes);
    for (std::size_t at = random() % 9; at < text.size(); at += 1 + random() % 70) {
      text.insert(at, "\n");
    }
    EXPECT_EQ(decoded(text, size + 2), bytes);
    EXPECT_EQ(decoded(text, size / 2 + 1), bytes.substr(0, size / 2 + 1));
  }
}

TEST(Base64, RefusesBadArguments) {
  char buffer[8];
  char* made = buffer;
  EXPECT_EQ(zu_base64_encode(nullptr, "a", 1), -1);
  EXPECT_EQ(zu_base64_encode(buffer, nullptr, 1), -1);
  EXPECT_EQ(zu_base64_encode(buffer, "a", 0), -1);
  EXPECT_EQ(zu_base64_encode(buffer, "a", INT32_MAX), -1);
  EXPECT_EQ(zu_base64_encode00(nullptr, "a", 1), -1);
  EXPECT_EQ(zu_base64_encode00(&made, "a", -1), -1);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(zu_base64_decode(nullptr, "YQ==", 1), -1);
  EXPECT_EQ(zu_base64_decode(buffer, nullptr, 1), -1);
  EXPECT_EQ(zu_base64_decode(buffer, "YQ==", 0), -1);
}

TEST(Md5, MatchesPublishedVectors) {
  const char* const vectors[][2] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& [text, digest] : vectors) EXPECT_EQ(md5(text), digest);
  // The lengths around which the padding takes another block.
  EXPECT_EQ(md5(std::string(55, 'x')), "04364420e25c512fd958a70738aa8f72");
  EXPECT_EQ(md5(std::string(56, 'x')), "668a72d5ba17f08e62dabcafad6db14b");
  EXPECT_EQ(md5(std::string(64, 'x')), "c1bb4f81d892b2d57947682aeb252456");
  char out[33];
  EXPECT_EQ(zu_md5_encode(nullptr, "a"), 0);
  EXPECT_EQ(zu_md5_encode(out, nullptr), 0);
}

}  // namespace
