#include "platform/byte_removal.h"

#if defined(__x86_64__) || defined(__i386__)
#include <tmmintrin.h>
#define KIV_HAS_SSSE3 1
#endif

namespace kiv::platform {
#ifdef KIV_HAS_SSSE3
namespace {

// For each set of kept bytes among eight: which they are, in order, and how many.
struct Packing {
  std::uint8_t order[256][8];
  std::uint8_t count[256];
};
constexpr Packing make_packing() {
  Packing packing{};
  for (int set = 0; set < 256; ++set) {
    for (std::uint8_t i = 0; i < 8; ++i) {
      if ((set >> i & 1) != 0) packing.order[set][packing.count[set]++] = i;
    }
  }
  return packing;
}
constexpr Packing kPacking = make_packing();

#ifdef __i386__
#define KIV_VECTORS __attribute__((target("ssse3"), force_align_arg_pointer))  // for any caller
#else
#define KIV_VECTORS __attribute__((target("ssse3")))
#endif

KIV_VECTORS inline void pack_half(char*& to, __m128i bytes, int kept) {
  const auto order = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kPacking.order[kept]));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, order));
  to += kPacking.count[kept];
}

// Blocks of 16 bytes, without a branch on what is in them. Moves `to` past what it kept and returns
// where it stopped.
KIV_VECTORS const char* copy_blocks(const AsciiSet& removed, char*& to, const char* text,
                                    const char* end) {
  const auto lows = _mm_load_si128(reinterpret_cast<const __m128i*>(removed.low));
  const auto highs = _mm_load_si128(reinterpret_cast<const __m128i*>(removed.high));
  char* at = to;
  for (; end - text >= 16; text += 16) {
    const auto bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    // The shuffle makes 0 of bytes above 127, so these stay.
    const auto low = _mm_shuffle_epi8(lows, bytes);
    const auto high =
        _mm_shuffle_epi8(highs, _mm_and_si128(_mm_srli_epi16(bytes, 4), _mm_set1_epi8(15)));
    const int kept =
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(low, high), _mm_setzero_si128()));
    pack_half(at, bytes, kept & 255);
    pack_half(at, _mm_srli_si128(bytes, 8), kept >> 8);
  }
  to = at;
  return text;
}

}  // namespace
#endif

char* copy_without(const AsciiSet& removed, char* to, const char* text, const char* end) {
#ifdef KIV_HAS_SSSE3
  if (__builtin_cpu_supports("ssse3")) text = copy_blocks(removed, to, text, end);
#endif
  // Every byte is written, but only one that is kept moves `to`: no branch to mispredict.
  for (; text < end; ++text) {
    *to = *text;
    to += removed.kept[static_cast<unsigned char>(*text)];
  }
  return to;
}

}  // namespace kiv::platform
