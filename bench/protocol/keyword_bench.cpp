// Texts without a hit looked through for many keywords, beside a loop of strstr over the same.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kiv_base/protocol.h"

namespace {

// Words of 4 to 11 letters. The texts have words of the same letters, and upper case ones that keep
// them from hitting.
std::string word(std::mt19937& dice) {
  std::string made(4 + dice() % 8, ' ');
  for (char& c : made) c = static_cast<char>('a' + dice() % 26);
  return made;
}

std::vector<std::string> words(std::int64_t count) {
  std::mt19937 dice(1);
  std::vector<std::string> made;
  for (std::int64_t i = 0; i < count; ++i) made.push_back(word(dice) + "Z");
  return made;
}

std::string text() {
  std::mt19937 dice(2);
  std::string made;
  while (made.size() < 8000) made += word(dice) + ' ';
  return made;
}

void filter(benchmark::State& state) {
  kiv_filter* filter = kiv_filter_malloc();
  for (const std::string& one : words(state.range(0))) kiv_filter_insert(filter, one.c_str(), "");
  const std::string probe = text();
  for (auto _ : state) benchmark::DoNotOptimize(kiv_filter_IsHit(filter, probe.c_str()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(probe.size()));
  kiv_filter_free(filter);
}

void strstr_loop(benchmark::State& state) {
  const std::vector<std::string> all = words(state.range(0));
  const std::string probe = text();
  for (auto _ : state) {
    for (const std::string& one : all) {
      benchmark::DoNotOptimize(std::strstr(probe.c_str(), one.c_str()));
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(probe.size()));
}

BENCHMARK(filter)->Arg(10)->Arg(1000)->Arg(10000);
BENCHMARK(strstr_loop)->Arg(10)->Arg(1000)->Arg(10000);

}  // namespace
