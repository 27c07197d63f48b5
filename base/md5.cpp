#include "base/md5.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace kiv::base {
namespace {

constexpr std::size_t kBlockBytes = 64, kBlockWords = 16;

// A number as its bytes in memory, the lowest first, and back.
std::uint32_t le(std::uint32_t word) noexcept {
  return std::endian::native == std::endian::big ? __builtin_bswap32(word) : word;
}
std::uint64_t le(std::uint64_t word) noexcept {
  return std::endian::native == std::endian::big ? __builtin_bswap64(word) : word;
}

std::uint32_t load(const unsigned char* bytes) noexcept {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return le(word);
}

// The four auxiliary functions. G is a sum of two terms with no bit in common instead of an "or":
// the one without the newest word is then ready before that word is.
struct F {
  static std::uint32_t mix(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept {
    return z ^ (x & (y ^ z));
  }
};
struct G {
  static std::uint32_t mix(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept {
    return (x & z) + (y & ~z);
  }
};
struct H {
  static std::uint32_t mix(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept {
    return x ^ (y ^ z);  // the newest word last: the rest is ready before it
  }
};
struct I {
  static std::uint32_t mix(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept {
    return y ^ (x | ~z);
  }
};

struct Digest {
  std::uint32_t a = 0x67452301, b = 0xefcdab89, c = 0x98badcfe, d = 0x10325476;

  // a = b + rotl(a + mix(b, c, d) + word + constant, shift)
  template <typename Function>
  static void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d,
                   std::uint32_t word, int shift, std::uint32_t constant) noexcept {
    a = b + std::rotl(a + word + constant + Function::mix(b, c, d), shift);
  }

  void add_block(const std::uint32_t (&x)[kBlockWords]) noexcept;
};

void Digest::add_block(const std::uint32_t (&x)[kBlockWords]) noexcept {
  Digest s = *this;
  // Four steps, each with the words turned by one place.
  auto four = [&s, &x]<typename Function>(Function, int w0, int w1, int w2, int w3,
                                          const int(&r)[4], const std::uint32_t(&k)[4]) {
    step<Function>(s.a, s.b, s.c, s.d, x[w0], r[0], k[0]);
    step<Function>(s.d, s.a, s.b, s.c, x[w1], r[1], k[1]);
    step<Function>(s.c, s.d, s.a, s.b, x[w2], r[2], k[2]);
    step<Function>(s.b, s.c, s.d, s.a, x[w3], r[3], k[3]);
  };
  constexpr int f[4] = {7, 12, 17, 22}, g[4] = {5, 9, 14, 20};
  constexpr int h[4] = {4, 11, 16, 23}, i[4] = {6, 10, 15, 21};
  four(F(), 0, 1, 2, 3, f, {0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee});
  four(F(), 4, 5, 6, 7, f, {0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501});
  four(F(), 8, 9, 10, 11, f, {0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be});
  four(F(), 12, 13, 14, 15, f, {0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821});
  four(G(), 1, 6, 11, 0, g, {0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa});
  four(G(), 5, 10, 15, 4, g, {0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8});
  four(G(), 9, 14, 3, 8, g, {0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed});
  four(G(), 13, 2, 7, 12, g, {0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a});
  four(H(), 5, 8, 11, 14, h, {0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c});
  four(H(), 1, 4, 7, 10, h, {0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70});
  four(H(), 13, 0, 3, 6, h, {0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05});
  four(H(), 9, 12, 15, 2, h, {0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665});
  four(I(), 0, 7, 14, 5, i, {0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039});
  four(I(), 12, 3, 10, 1, i, {0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1});
  four(I(), 8, 15, 6, 13, i, {0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1});
  four(I(), 4, 11, 2, 9, i, {0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391});
  a += s.a;
  b += s.b;
  c += s.c;
  d += s.d;
}

// The bytes after the last whole block, the mark, zeros and the length in bits. They are put
// together in words: to read one of which a byte has just been written would take longer.
void add_tail(Digest& digest, const unsigned char* bytes, std::uint64_t total) noexcept {
  const auto rest = static_cast<std::size_t>(total % kBlockBytes);
  std::uint32_t block[kBlockWords] = {};
  std::size_t word = 0;
  for (; word < rest / 4; ++word) block[word] = load(bytes + word * 4);
  std::uint32_t last = 0x80;
  for (std::size_t i = rest; i > word * 4; --i) last = last << 8 | bytes[i - 1];
  block[word] = last;
  if (word >= kBlockWords - 2) {
    digest.add_block(block);
    std::memset(block, 0, sizeof block);
  }
  block[kBlockWords - 2] = static_cast<std::uint32_t>(total << 3);
  block[kBlockWords - 1] = static_cast<std::uint32_t>(total >> 29);
  digest.add_block(block);
}

// The eight digits of a word's bytes, the first byte of the result first: all at once, without a
// look-up for each.
std::uint64_t hex_digits(std::uint32_t word) noexcept {
  std::uint64_t x = word;
  x = (x | x << 16) & 0x0000ffff0000ffff;
  x = (x | x << 8) & 0x00ff00ff00ff00ff;
  x = (x >> 4 & 0x000f000f000f000f) | (x & 0x000f000f000f000f) << 8;
  const std::uint64_t letters = (x + 0x0606060606060606) >> 4 & 0x0101010101010101;
  return x + 0x3030303030303030 + letters * ('a' - '0' - 10);
}

void write_hex(const Digest& digest, char* out) noexcept {
  for (std::uint32_t word : {digest.a, digest.b, digest.c, digest.d}) {
    const std::uint64_t digits = le(hex_digits(word));
    std::memcpy(out, &digits, sizeof digits);
    out += 8;
  }
  *out = '\0';
}

}  // namespace

void md5_hex(char* out33, const char* text, std::size_t length) noexcept {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  Digest digest;
  const unsigned char* const tail = bytes + length / kBlockBytes * kBlockBytes;
  for (std::uint32_t block[kBlockWords]; bytes != tail; bytes += kBlockBytes) {
    for (std::size_t i = 0; i < kBlockWords; ++i) block[i] = load(bytes + i * 4);
    digest.add_block(block);
  }
  add_tail(digest, tail, length);
  write_hex(digest, out33);
}

}  // namespace kiv::base
