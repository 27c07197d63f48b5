// Stream filters. The ceiling is copying the same bytes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "bench/http/request.h"
#include "kiv_base/base.h"
#include "kiv_base/http.h"

#ifdef HAVE_LLHTTP
#include "llhttp.h"
#endif

namespace {

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
  feed(state, kiv::bench::kRequest, true);
}
void request_memcpy(benchmark::State& state) {
  copy(state, kiv::bench::kRequest);
}
BENCHMARK(request_memcpy);
BENCHMARK(request)->Arg(5120)->Arg(100)->Arg(1);

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
BENCHMARK(chunks_64)->Arg(5120)->Arg(1 << 20);

#ifdef HAVE_LLHTTP
// The same stream with its body gathered in a string.
void feed_llhttp(benchmark::State& state, const std::string& stream) {
  const auto piece = static_cast<std::size_t>(state.range(0));
  llhttp_settings_t settings;
  llhttp_settings_init(&settings);
  settings.on_body = [](llhttp_t* parser, const char* bytes, std::size_t count) {
    static_cast<std::string*>(parser->data)->append(bytes, count);
    return 0;
  };
  for (auto _ : state) {
    std::string body;
    llhttp_t parser;
    llhttp_init(&parser, HTTP_RESPONSE, &settings);
    parser.data = &body;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
      llhttp_execute(&parser, stream.data() + at, std::min(piece, stream.size() - at));
    }
    if (body.size() != 1 << 20) state.SkipWithError("no message");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

void chunks_4096_llhttp(benchmark::State& state) {
  feed_llhttp(state, chunked_response(4096, 1 << 20));
}
void chunks_64_llhttp(benchmark::State& state) {
  feed_llhttp(state, chunked_response(64, 1 << 20));
}
BENCHMARK(chunks_4096_llhttp)->Arg(5120)->Arg(1 << 20);
BENCHMARK(chunks_64_llhttp)->Arg(5120)->Arg(1 << 20);
#endif

}  // namespace
