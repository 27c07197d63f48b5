// A request head read into a table of owned texts, and written, beside picohttpparser. That parser
// gives positions in the text; here they fill the nearest thing to a table.
#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

#include "bench/http/request.h"
#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

void header_parse(benchmark::State& state) {
  for (auto _ : state)
    kiv_http_table_free(kiv_http_table_ParseHeaderStr(kiv::bench::kRequest.c_str()));
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(kiv::bench::kRequest.size()));
}
BENCHMARK(header_parse);

void header_print(benchmark::State& state) {
  kiv_http_table* table = kiv_http_table_ParseHeaderStr(kiv::bench::kRequest.c_str());
  for (auto _ : state) _zu_free(kiv_http_table_GetHeaderStr(table));
  kiv_http_table_free(table);
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(kiv::bench::kRequest.size()));
}
BENCHMARK(header_print);

#ifdef HAVE_PICOHTTPPARSER
// Of its header, which comes with no package.
struct phr_header {
  const char* name;
  std::size_t name_len;
  const char* value;
  std::size_t value_len;
};
extern "C" int phr_parse_request(const char* text, std::size_t length, const char** method,
                                 std::size_t* method_length, const char** target,
                                 std::size_t* target_length, int* minor_version,
                                 phr_header* headers, std::size_t* count, std::size_t last_length);

struct Head {
  std::string method, target;
  int minor_version;
  std::vector<std::pair<std::string, std::string>> fields;
};

template <typename Use>
void parse_pico(benchmark::State& state, Use use) {
  const std::string& text = kiv::bench::kRequest;
  for (auto _ : state) {
    const char *method, *target;
    std::size_t method_length, target_length, count = 64;
    int minor;
    phr_header headers[64];
    const int parsed = phr_parse_request(text.data(), text.size(), &method, &method_length, &target,
                                         &target_length, &minor, headers, &count, 0);
    if (parsed < 1) state.SkipWithError("no head");
    use(Head{{method, method_length}, {target, target_length}, minor, {}}, headers, count);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void header_parse_picohttpparser(benchmark::State& state) {
  parse_pico(state, [](Head head, const phr_header* headers, std::size_t count) {
    head.fields.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      head.fields.emplace_back(std::string(headers[i].name, headers[i].name_len),
                               std::string(headers[i].value, headers[i].value_len));
    }
    benchmark::DoNotOptimize(head.fields.data());
  });
}
BENCHMARK(header_parse_picohttpparser);

void positions_picohttpparser(benchmark::State& state) {
  parse_pico(state, [](const Head&, const phr_header* headers, std::size_t) {
    benchmark::DoNotOptimize(headers);
  });
}
BENCHMARK(positions_picohttpparser);
#endif

}  // namespace
