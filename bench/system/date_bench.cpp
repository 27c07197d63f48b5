// Dates of headers; the peers do what the row does, by the C library.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>

#include "kiv_base/base.h"
#include "kiv_base/system.h"

namespace {

constexpr const char* kTexts[] = {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT",
                                  "Sun Nov  6 08:49:37 GMT 1994"};
constexpr const char* kFormats[] = {"%a, %d %b %Y %H:%M:%S GMT", "%A, %d-%b-%y %H:%M:%S GMT",
                                    "%a %b %d %H:%M:%S GMT %Y"};

void parse(benchmark::State& state) {
  const char* text = kTexts[state.range(0)];
  state.SetLabel(text);
  for (auto _ : state) benchmark::DoNotOptimize(zu_DateParse(text));
}

void c_strptime(benchmark::State& state) {
  const char* text = kTexts[state.range(0)];
  for (auto _ : state) {
    std::tm parts{};
    if (strptime(text, kFormats[state.range(0)], &parts) == nullptr) state.SkipWithError("format");
    benchmark::DoNotOptimize(std::mktime(&parts));
  }
}

void print(benchmark::State& state) {
  for (auto _ : state) _zu_free(zu_GetGMTString(784111777));
}

void c_strftime(benchmark::State& state) {
  for (auto _ : state) {
    const std::time_t time = 784111777;
    std::tm parts{};
    localtime_r(&time, &parts);
    char* text = static_cast<char*>(std::malloc(100));
    benchmark::DoNotOptimize(std::strftime(text, 100, kFormats[0], &parts));
    std::free(text);
  }
}

BENCHMARK(parse)->DenseRange(0, 2);
BENCHMARK(c_strptime)->DenseRange(0, 2);
BENCHMARK(print);
BENCHMARK(c_strftime);

}  // namespace
