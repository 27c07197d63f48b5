// The packet cipher: published vectors, and buffers and streams against blocks done one by one.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "kiv_base/protocol.h"

namespace kiv::test {
namespace {

using namespace std::string_literals;

int32_t size_of(const std::string& text) {
  return static_cast<int32_t>(text.size());
}

struct Cipher {
  explicit Cipher(int mode, const std::string& key = "")
      : handle(kiv_cipher_malloc(mode, key.data(), size_of(key))) {}
  ~Cipher() { kiv_cipher_free(handle); }

  std::string encipher(const std::string& clear, int32_t capacity) {
    std::string out(static_cast<std::size_t>(capacity) + 1, '#');
    int32_t written = -1;
    EXPECT_EQ(kiv_encipher(handle, out.data(), capacity, &written, clear.data(), size_of(clear)),
              1);
    EXPECT_EQ(out[static_cast<std::size_t>(written)], '#') << "nothing behind";
    return out.substr(0, static_cast<std::size_t>(written));
  }
  int input(const std::string& bytes) {
    return kiv_cipher_input(handle, bytes.data(), size_of(bytes));
  }
  // "none" for a result of 0.
  std::string get(int32_t capacity) {
    std::string out(static_cast<std::size_t>(capacity), '#');
    int32_t written = -1;
    if (!kiv_cipher_get(handle, out.data(), capacity, &written)) return written ? "?" : "none";
    return out.substr(0, static_cast<std::size_t>(written));
  }

  kiv_cipher* handle;
};

// Bytes of hexadecimal digits in which words are written with their high byte first.
std::string words(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 8) {
    const unsigned long word = std::stoul(digits.substr(i, 8), nullptr, 16);
    for (int bit = 0; bit < 32; bit += 8) bytes += static_cast<char>(word >> bit & 0xff);
  }
  return bytes;
}

TEST(Cipher, PublishedXteaVectors) {
  const std::string key = words("000102030405060708090a0b0c0d0e0f");
  const std::string vectors[][3] = {{key, "4142434445464748", "497df3d072612cb5"},
                                    {key, "5a5b6e278948d77f", "4141414141414141"},
                                    {"", "4141414141414141", "ed23375a821a8c2d"}};
  for (const auto& [with, clear, enciphered] : vectors) {
    Cipher cipher(KIV_CIPHER_XTEA, with);
    EXPECT_EQ(cipher.encipher(words(clear), 8), words(enciphered));
    EXPECT_EQ(cipher.input(words(enciphered)), 1);
    EXPECT_EQ(cipher.get(8), words(clear));
  }
}

// The result of encryption, by single blocks or bytes.
std::string by_units(Cipher& cipher, const std::string& clear, std::size_t unit) {
  std::string all;
  for (std::size_t at = 0; at < clear.size(); at += unit) {
    all += cipher.encipher(clear.substr(at, unit), static_cast<int32_t>(unit));
  }
  return all;
}

TEST(Cipher, BuffersAndRandomlyCutStreamsInEveryMode) {
  std::mt19937 dice(5);
  for (int round = 0; round < 900; ++round) {
    const int mode = 1 + round % 3;
    const std::size_t unit = mode == KIV_CIPHER_XTEA ? 8 : 1;
    Cipher cipher(mode, "a key of more than sixteen bytes");
    std::string clear(dice() % (round % 9 ? 300 : 9000), ' '), got;
    for (char& c : clear) c = static_cast<char>(dice());
    const std::string all = by_units(cipher, clear, unit);
    std::string place = clear + "1234567";
    kiv_encipher(cipher.handle, place.data(), size_of(place), nullptr, place.data(),
                 size_of(clear));
    EXPECT_EQ(place.substr(0, all.size()), all) << "in place";
    const auto capacity = static_cast<int32_t>(dice() % (all.size() + 10));
    EXPECT_EQ(cipher.encipher(clear, capacity),
              all.substr(0, static_cast<std::size_t>(capacity) / unit * unit));

    for (std::size_t at = 0, piece = 0; at < all.size(); at += piece) {
      piece = std::min<std::size_t>(all.size() - at, dice() % 700);
      EXPECT_EQ(cipher.input(all.substr(at, piece)), 1);
      const std::size_t held = at + piece - got.size(), room = dice() % 800;
      const std::string taken = cipher.get(static_cast<int32_t>(room));
      EXPECT_EQ(taken == "none", held < unit);
      if (held < unit) continue;
      EXPECT_EQ(taken.size(), std::min(held, room) / unit * unit);
      got += taken;
    }
    clear.resize(all.size());
    if (got.size() < all.size()) got += cipher.get(size_of(all));
    EXPECT_EQ(got, clear);
  }
}

TEST(Cipher, HoldsItsLimitAndNoByteMore) {
  Cipher cipher(KIV_CIPHER_NONE);
  std::string stream(20496, ' '), got;
  for (std::size_t i = 0; i < stream.size(); ++i) stream[i] = static_cast<char>(i * i >> 5);
  EXPECT_EQ(cipher.input(stream), 1);
  EXPECT_EQ(cipher.input("x") + kiv_cipher_input(cipher.handle, "", INT32_MAX), 0);
  got = cipher.get(1000);
  EXPECT_EQ(cipher.input(std::string(1001, 'x')), 0);
  EXPECT_EQ(cipher.input(std::string(1000, 'x')), 1) << "the rest moves down";
  EXPECT_EQ(got + cipher.get(30000), stream + std::string(1000, 'x'));

  cipher.input(stream);
  EXPECT_EQ(kiv_cipher_reset(cipher.handle, 4, "k", 1), 0);
  EXPECT_EQ(cipher.get(1), stream.substr(0, 1)) << "as it was";
  EXPECT_EQ(kiv_cipher_reset(cipher.handle, KIV_CIPHER_XTEA, "short", 5), 1);
  EXPECT_EQ(cipher.get(9), "none");
  EXPECT_EQ(cipher.encipher("ninebytes", 16),
            Cipher(KIV_CIPHER_XTEA, "short"s + std::string(11, '\0')).encipher("ninebytes", 16));
  EXPECT_EQ(Cipher(KIV_CIPHER_ROTATION).encipher("\x81", 1), "\x06");
}

TEST(Cipher, KeysAreDigestsOfTwoStrings) {
  std::string key(20, '#');
  EXPECT_EQ(kiv_cipher_key(key.data(), 19, "ab", "c"), 1);
  EXPECT_EQ(key, "900150983cd24fb0" + "\0\0\0#"s);
  const std::string longer(65, 'a');
  EXPECT_EQ(kiv_cipher_key(key.data(), 3, longer.c_str(), longer.c_str()), 1);
  EXPECT_EQ(key.substr(0, 4), "e511") << "three characters of 128 times a";
}

}  // namespace
}  // namespace kiv::test
