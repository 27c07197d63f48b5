// Names matched against one pattern; the expressions say the same and are compiled once, too.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <regex>
#include <string>
#include <vector>

#include "kiv_base/system.h"

namespace {

struct Shape {
  const char* pattern;
  const char* expression;
};

constexpr Shape kShapes[] = {
    {"report-*", "report-.*"},  {"*.txt", ".*\\.txt"},     {"report-17.txt", "report-17\\.txt"},
    {"*-1?.t*", ".*-1.\\.t.*"}, {"r*-*7*t", "r.*-.*7.*t"},
};

const Shape& shape_of(benchmark::State& state) {
  const Shape& shape = kShapes[state.range(0)];
  state.SetLabel(shape.pattern);
  return shape;
}

const std::vector<std::string>& names() {
  static const std::vector<std::string> made = [] {
    std::vector<std::string> list;
    for (int i = 0; i < 64; ++i) {
      list.push_back((i % 2 ? "report-" : "a-longer-name-of-a-picture-") + std::to_string(i) +
                     (i % 3 ? ".txt" : ".jpeg"));
    }
    return list;
  }();
  return made;
}

template <typename Match>
void match_all(benchmark::State& state, Match match) {
  int count = 0;
  for (auto _ : state) {
    for (const std::string& name : names()) count += match(name);
  }
  benchmark::DoNotOptimize(count);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(names().size()));
}

void pattern(benchmark::State& state) {
  zu_pattern* made = zu_pattern_make(shape_of(state).pattern);
  match_all(state,
            [&](const std::string& name) { return zu_pattern_match_string(made, name.c_str()); });
  zu_pattern_free(made);
}

void c_fnmatch(benchmark::State& state) {
  const char* text = shape_of(state).pattern;
  match_all(state, [&](const std::string& name) { return fnmatch(text, name.c_str(), 0) == 0; });
}

void std_regex(benchmark::State& state) {
  const std::regex made(shape_of(state).expression, std::regex::optimize);
  match_all(state, [&](const std::string& name) { return std::regex_match(name, made); });
}

// What stops a matcher that tries everything: each star multiplies the ways.
void many_stars(benchmark::State& state) {
  zu_pattern* made = zu_pattern_make("*a*a*a*a*b*a*a*a*a*");
  const std::string text(static_cast<std::size_t>(state.range(0)), 'a');
  for (auto _ : state) benchmark::DoNotOptimize(zu_pattern_match_string(made, text.c_str()));
  zu_pattern_free(made);
}

BENCHMARK(pattern)->DenseRange(0, std::size(kShapes) - 1);
BENCHMARK(c_fnmatch)->DenseRange(0, std::size(kShapes) - 1);
BENCHMARK(std_regex)->DenseRange(0, std::size(kShapes) - 1);
BENCHMARK(many_stars)->Arg(100)->Arg(10000);

}  // namespace
