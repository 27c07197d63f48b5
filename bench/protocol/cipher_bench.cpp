// The packet cipher beside the textbook loop of XTEA and, for the rotation, memcpy.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "kiv_base/protocol.h"

namespace {

constexpr char kKey[] = "0123456789abcdef";

struct Sums {
  std::uint32_t words[4];
  Sums() { std::memcpy(words, kKey, sizeof words); }
  std::uint32_t even(std::uint32_t sum) const { return sum + words[sum & 3]; }
  std::uint32_t odd(std::uint32_t sum) const { return sum + words[sum >> 11 & 3]; }
};
constexpr std::uint32_t kDelta = 0x9e3779b9;

std::uint32_t mix(std::uint32_t word) {
  return ((word << 4) ^ (word >> 5)) + word;
}

void encrypt_block(const Sums& sums, std::uint32_t (&v)[2]) {
  for (std::uint32_t sum = 0, i = 0; i < 32; ++i) {
    v[0] += mix(v[1]) ^ sums.even(sum);
    sum += kDelta;
    v[1] += mix(v[0]) ^ sums.odd(sum);
  }
}

void decrypt_block(const Sums& sums, std::uint32_t (&v)[2]) {
  for (std::uint32_t sum = 32 * kDelta, i = 0; i < 32; ++i) {
    v[1] -= mix(v[0]) ^ sums.odd(sum);
    sum -= kDelta;
    v[0] -= mix(v[1]) ^ sums.even(sum);
  }
}

template <typename Work>
void measure(benchmark::State& state, Work work) {
  const std::string from(static_cast<std::size_t>(state.range(0)), 'x');
  // Half a page apart: where addresses agree in their low bits, copying alone can be 30 times
  // slower.
  constexpr std::size_t kApart = 2048;
  std::vector<char> to(kApart + from.size());
  for (auto _ : state) {
    work(to.data() + kApart, from.data(), static_cast<std::int32_t>(from.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <int mode>
void encrypt(benchmark::State& state) {
  kiv_cipher* cipher = kiv_cipher_malloc(mode, kKey, 16);
  measure(state, [&](char* to, const char* from, std::int32_t size) {
    kiv_encipher(cipher, to, size, nullptr, from, size);
  });
  kiv_cipher_free(cipher);
}

// Input and get, as a connection does.
template <int mode>
void decrypt(benchmark::State& state) {
  kiv_cipher* cipher = kiv_cipher_malloc(mode, kKey, 16);
  measure(state, [&](char* to, const char* from, std::int32_t size) {
    kiv_cipher_input(cipher, from, size);
    kiv_cipher_get(cipher, to, size, nullptr);
  });
  kiv_cipher_free(cipher);
}

template <auto block>
void plain_xtea(benchmark::State& state) {
  const Sums sums;
  measure(state, [&](char* to, const char* from, std::int32_t size) {
    for (std::int32_t at = 0; at < size; at += 8) {
      std::uint32_t v[2];
      std::memcpy(v, from + at, sizeof v);
      block(sums, v);
      std::memcpy(to + at, v, sizeof v);
    }
  });
}

void copy(benchmark::State& state) {
  measure(state, [](char* to, const char* from, std::int32_t size) {
    std::memcpy(to, from, static_cast<std::size_t>(size));
  });
}

BENCHMARK(encrypt<KIV_CIPHER_XTEA>)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(plain_xtea<encrypt_block>)->Arg(64)->Arg(16384);
BENCHMARK(decrypt<KIV_CIPHER_XTEA>)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(plain_xtea<decrypt_block>)->Arg(64)->Arg(16384);
BENCHMARK(encrypt<KIV_CIPHER_ROTATION>)->Arg(64)->Arg(16384);
BENCHMARK(decrypt<KIV_CIPHER_ROTATION>)->Arg(64)->Arg(16384);
BENCHMARK(encrypt<KIV_CIPHER_NONE>)->Arg(64)->Arg(16384);
BENCHMARK(copy)->Arg(64)->Arg(16384);

}  // namespace
