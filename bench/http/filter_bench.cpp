// Stream filters and head parsing. The ceiling is copying the same bytes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

const std::string kRequest =
    "GET /articles/2026/11/a-page-like-any-other.html?from=front&position=3 HTTP/1.1\r\n"
    "Host: www.example.org\r\n"
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:109.0) Gecko/20100101 Firefox/115.0\r\n"
    "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,image/avif,*/*;q=0.8\r\n"
    "Accept-Language: en-US,en;q=0.5\r\n"
    "Accept-Encoding: gzip, deflate, br\r\n"
    "Referer: https://www.example.org/articles/\r\n"
    "Cookie: session=0123456789abcdef0123456789abcdef; theme=dark; consent=all; visits=17\r\n"
    "Connection: keep-alive\r\n"
    "Upgrade-Insecure-Requests: 1\r\n"
    "Cache-Control: max-age=0\r\n\r\n";

std::string chunked_response(std::size_t chunk, std::size_t total) {
  char line[16];
  std::snprintf(line, sizeof line, "%zx\r\n", chunk);
  std::string stream = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (std::size_t at = 0; at < total; at += chunk) {
    stream += line + std::string(chunk, 'x') + "\r\n";
  }
  return stream + "0\r\n\r\n";
}

void feed(benchmark::State& state, const std::string& stream, bool requests) {
  const auto input = requests ? kiv_http_filter_request_input : kiv_http_filter_response_input;
  const auto get = requests ? kiv_http_filter_request_get : kiv_http_filter_response_get;
  const auto piece = static_cast<std::size_t>(state.range(0));
  kiv_http_filter* filter = kiv_http_filter_request_make();
  for (auto _ : state) {
    for (std::size_t at = 0; at < stream.size(); at += piece) {
      input(filter, stream.data() + at,
            static_cast<std::int32_t>(std::min(piece, stream.size() - at)));
    }
    zu_jitter* body = nullptr;
    kiv_http_table* table = get(filter, &body, nullptr);
    if (table == nullptr) state.SkipWithError("no message");
    kiv_http_table_free(table);
    zu_jitter_free(body);
  }
  kiv_http_filter_request_free(filter);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

void copy(benchmark::State& state, const std::string& stream) {
  std::vector<char> out(stream.size());
  for (auto _ : state) {
    std::memcpy(out.data(), stream.data(), stream.size());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

void request(benchmark::State& state) {
  feed(state, kRequest, true);
}
void request_memcpy(benchmark::State& state) {
  copy(state, kRequest);
}
BENCHMARK(request_memcpy);
BENCHMARK(request)->Arg(5120)->Arg(100)->Arg(1);

void header_parse(benchmark::State& state) {
  for (auto _ : state) kiv_http_table_free(kiv_http_table_ParseHeaderStr(kRequest.c_str()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kRequest.size()));
}
BENCHMARK(header_parse);

void header_print(benchmark::State& state) {
  kiv_http_table* table = kiv_http_table_ParseHeaderStr(kRequest.c_str());
  for (auto _ : state) _zu_free(kiv_http_table_GetHeaderStr(table));
  kiv_http_table_free(table);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kRequest.size()));
}
BENCHMARK(header_print);

void chunks_4096(benchmark::State& state) {
  feed(state, chunked_response(4096, 1 << 20), false);
}
void chunks_64(benchmark::State& state) {
  feed(state, chunked_response(64, 1 << 20), false);
}
void chunks_memcpy(benchmark::State& state) {
  copy(state, chunked_response(4096, 1 << 20));
}
BENCHMARK(chunks_memcpy);
BENCHMARK(chunks_4096)->Arg(5120)->Arg(1 << 20);
BENCHMARK(chunks_64)->Arg(5120);

}  // namespace
