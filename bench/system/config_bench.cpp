// A configuration loaded, asked, changed and saved. inih keeps nothing: its rows store the values
// in a std::map, as a program would. iniparser keeps a dictionary of all names.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#ifdef HAVE_INIH
#include <ini.h>
#endif
#ifdef HAVE_INIPARSER
#include <iniparser/iniparser.h>
#endif

namespace {

constexpr int kKeys = 20;

// Groups of twenty keys, a comment above each group, about 33 bytes a line.
std::string text_of(std::int64_t groups) {
  std::string text;
  for (std::int64_t g = 0; g < groups; ++g) {
    text += "; settings of number " + std::to_string(g) + "\n[group" + std::to_string(g) + "]\n";
    for (int k = 0; k < kKeys; ++k) {
      text += "some_key_" + std::to_string(k) + " = a value of some length\n";
    }
  }
  return text;
}

struct File {
  explicit File(const std::string& text) {
    const int id = mkstemp(name);
    if (id < 0 || write(id, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      std::abort();
    }
    close(id);
  }
  ~File() { std::remove(name); }
  char name[32] = "/tmp/config_bench_XXXXXX";
};

void count_bytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void load(benchmark::State& state) {
  const std::string text = text_of(state.range(0));
  const File file(text);
  for (auto _ : state) {
    zu_config* config = zu_config_make(file.name);
    benchmark::DoNotOptimize(zu_config_GetKey(config, "group0", "some_key_0"));
    zu_config_free(config);
  }
  count_bytes(state, text);
}

void save(benchmark::State& state) {
  const std::string text = text_of(state.range(0));
  const File file(text);
  zu_config* config = zu_config_make1(text.c_str());
  for (auto _ : state) {
    if (zu_config_SaveToFile(config, file.name) != 1) state.SkipWithError("not saved");
  }
  zu_config_free(config);
  count_bytes(state, text);
}

void print(benchmark::State& state) {
  const std::string text = text_of(state.range(0));
  zu_config* config = zu_config_make1(text.c_str());
  for (auto _ : state) _zu_free(zu_config_ToString(config));
  zu_config_free(config);
  count_bytes(state, text);
}

void get(benchmark::State& state) {
  zu_config* config = zu_config_make1(text_of(state.range(0)).c_str());
  const std::string group = "group" + std::to_string(state.range(0) / 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(zu_config_GetKey(config, group.c_str(), "some_key_7"));
  }
  zu_config_free(config);
}

// The bytes that a configuration takes, for each byte of its text.
void memory(benchmark::State& state) {
  const std::string text = text_of(state.range(0));
  const File file(text);
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    zu_config* config = zu_config_make(file.name);
    const std::size_t after = mallinfo2().uordblks + mallinfo2().hblkhd;
    zu_config_free(config);
    state.counters["memory_by_text"] =
        static_cast<double>(after - before) / static_cast<double>(text.size());
  }
}

// All keys of one group removed, in the order of the text.
void unset(benchmark::State& state) {
  std::string text = "[g]\n";
  std::vector<std::string> keys;
  for (std::int64_t k = 0; k < state.range(0); ++k) {
    keys.push_back("some_key_" + std::to_string(k));
    text += keys.back() + " = a value of some length\n";
  }
  for (auto _ : state) {
    zu_config* config = zu_config_make1(text.c_str());
    for (const std::string& key : keys) zu_config_UnsetKey(config, "g", key.c_str());
    if (zu_config_KeyRewind(config, "g") + zu_config_KeyGetNext(config, nullptr, nullptr) != 1) {
      state.SkipWithError("not removed");
    }
    zu_config_free(config);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void change(benchmark::State& state) {
  zu_config* config = zu_config_make1(text_of(state.range(0)).c_str());
  const std::string group = "group" + std::to_string(state.range(0) / 2);
  for (auto _ : state) zu_config_SetKey(config, group.c_str(), "some_key_7", "another value");
  zu_config_free(config);
}

#ifdef HAVE_INIH
using Values = std::map<std::string, std::map<std::string, std::string>>;

Values values_of(const char* file_name) {
  const auto keep = [](void* user, const char* group, const char* key, const char* value) {
    (*static_cast<Values*>(user))[group][key] = value;
    return 1;
  };
  Values values;
  if (ini_parse(file_name, keep, &values) != 0) std::abort();
  return values;
}

void get_inih(benchmark::State& state) {
  const Values values = values_of(File(text_of(state.range(0))).name);
  const std::string group = "group" + std::to_string(state.range(0) / 2), key = "some_key_7";
  for (auto _ : state) benchmark::DoNotOptimize(values.find(group)->second.find(key)->second);
}
BENCHMARK(get_inih)->Arg(10)->Arg(1000);

void load_inih(benchmark::State& state) {
  const std::string text = text_of(state.range(0));
  const File file(text);
  for (auto _ : state) {
    Values values = values_of(file.name);
    benchmark::DoNotOptimize(values["group0"]["some_key_0"]);
  }
  count_bytes(state, text);
}
BENCHMARK(load_inih)->Arg(10)->Arg(1000);
#endif

#ifdef HAVE_INIPARSER
void load_iniparser(benchmark::State& state) {
  const std::string text = text_of(state.range(0));
  const File file(text);
  for (auto _ : state) {
    dictionary* values = iniparser_load(file.name);
    benchmark::DoNotOptimize(iniparser_getstring(values, "group0:some_key_0", nullptr));
    iniparser_freedict(values);
  }
  count_bytes(state, text);
}
BENCHMARK(load_iniparser)->Arg(10)->Arg(100);
#endif

BENCHMARK(load)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(print)->Arg(10)->Arg(1000);
BENCHMARK(save)->Arg(10)->Arg(1000);
BENCHMARK(get)->Arg(10)->Arg(1000);
BENCHMARK(memory)->Arg(10)->Arg(1000)->Iterations(1);
BENCHMARK(unset)->Arg(6000)->Arg(60000)->Unit(benchmark::kMillisecond);
BENCHMARK(change)->Arg(10)->Arg(1000);

}  // namespace
