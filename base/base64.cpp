#include "base/base64.h"

#include <array>
#include <cstring>

namespace kiv::base {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two characters of every 12-bit value: two look-ups for three bytes.
struct Pair {
  char text[2];
};
constexpr std::array<Pair, 4096> make_pairs() {
  std::array<Pair, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = Pair{{kAlphabet[i >> 6], kAlphabet[i & 63]}};
  }
  return pairs;
}
constexpr std::array<Pair, 4096> kPairs = make_pairs();

// Each character's six bits, shifted to its place in a group of four. Characters outside the
// alphabet have a bit above the 24, so that one test covers a whole group.
constexpr std::uint32_t kForeign = 1U << 24;
using Sextets = std::array<std::uint32_t, 256>;
constexpr std::array<Sextets, 4> make_sextets() {
  std::array<Sextets, 4> places{};
  for (std::size_t place = 0; place < 4; ++place) {
    places[place].fill(kForeign);
    for (std::uint32_t value = 0; value < 64; ++value) {
      places[place][static_cast<unsigned char>(kAlphabet[value])] = value << (6 * (3 - place));
    }
  }
  return places;
}
constexpr std::array<Sextets, 4> kSextets = make_sextets();

// Writes what fits and counts what was written.
struct Output {
  unsigned char* to;
  std::int32_t room;
  std::int32_t written = 0;

  void put(std::uint32_t group, int count) noexcept {
    for (int i = 0; i < count && room > 0; ++i, --room) {
      to[written++] = static_cast<unsigned char>(group >> (16 - 8 * i));
    }
  }
};

}  // namespace

void base64_encode(char* out, const void* from, std::int32_t length) noexcept {
  const auto* bytes = static_cast<const unsigned char*>(from);
  for (; length > 3; length -= 3, bytes += 3, out += 4) {
    const unsigned group = static_cast<unsigned>(bytes[0] << 16 | bytes[1] << 8 | bytes[2]);
    std::memcpy(out, kPairs[group >> 12].text, 2);
    std::memcpy(out + 2, kPairs[group & 4095].text, 2);
  }
  const unsigned second = length > 1 ? bytes[1] : 0U;
  const unsigned third = length > 2 ? bytes[2] : 0U;
  out[0] = kAlphabet[bytes[0] >> 2];
  out[1] = kAlphabet[(bytes[0] & 3U) << 4 | second >> 4];
  out[2] = length > 1 ? kAlphabet[(second & 15U) << 2 | third >> 6] : '=';
  out[3] = length > 2 ? kAlphabet[third & 63U] : '=';
  out[4] = '\0';
}

std::int32_t base64_decode(void* to, const char* text, std::int32_t capacity) noexcept {
  const auto* from = reinterpret_cast<const unsigned char*>(text);
  const auto* const end = from + std::strlen(text);
  Output out{static_cast<unsigned char*>(to), capacity};
  while (from != end && out.room > 0) {
    for (; end - from >= 4 && out.room >= 3; from += 4) {
      const std::uint32_t group =
          kSextets[0][from[0]] | kSextets[1][from[1]] | kSextets[2][from[2]] | kSextets[3][from[3]];
      if (group >= kForeign) break;
      out.put(group, 3);
    }
    // One group that has foreign characters among its four, or is the last.
    std::uint32_t group = 0;
    std::size_t held = 0;
    for (; from != end && held < 4; ++from) {
      const std::uint32_t sextet = kSextets[held][*from];
      if (sextet == kForeign) continue;
      group |= sextet;
      ++held;
    }
    if (held > 1) out.put(group, static_cast<int>(held) - 1);
  }
  return out.written;
}

}  // namespace kiv::base
