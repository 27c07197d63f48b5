// URL escaping, base64 and MD5 beside their peers; memcpy is the ceiling.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

#ifdef HAVE_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED  // MD5_Init and its like, the digest without the way to it
#include <openssl/evp.h>
#include <openssl/md5.h>
#endif
#ifdef HAVE_LIBEVENT
#include <event2/http.h>
#include <cstdlib>
#endif

namespace {

// A text of which one byte in eight wants escaping.
std::string text_of(std::size_t size) {
  std::string text;
  while (text.size() < size) text += "value%20seven&";
  text.resize(size);
  return text;
}

template <typename Body>
void run(benchmark::State& state, Body body) {
  const std::string text = text_of(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) body(text);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void memcpy_ceiling(benchmark::State& state) {
  std::string out(static_cast<std::size_t>(state.range(0)), '\0');
  run(state, [&](const std::string& text) {
    std::memcpy(out.data(), text.data(), text.size());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  });
}

void base64_encode(benchmark::State& state) {
  std::string out(static_cast<std::size_t>(state.range(0)) * 2, '\0');
  run(state, [&](const std::string& text) {
    benchmark::DoNotOptimize(
        zu_base64_encode(out.data(), text.data(), static_cast<std::int32_t>(text.size())));
  });
}

void base64_decode(benchmark::State& state) {
  std::string text = text_of(static_cast<std::size_t>(state.range(0)));
  std::string encoded(text.size() * 2, '\0');
  zu_base64_encode(encoded.data(), text.data(), static_cast<std::int32_t>(text.size()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        zu_base64_decode(text.data(), encoded.c_str(), static_cast<std::int32_t>(text.size())));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void md5(benchmark::State& state) {
  run(state, [](const std::string& text) {
    char out[33];
    benchmark::DoNotOptimize(zu_md5_encode(out, text.c_str()));
  });
}

void url_escape(benchmark::State& state) {
  run(state, [](const std::string& text) {
    char* out = zu_url_escape_malloc(text.data(), static_cast<std::int32_t>(text.size()));
    benchmark::DoNotOptimize(out);
    zu_url_escape_free(out);
  });
}

void url_unescape(benchmark::State& state) {
  run(state, [](const std::string& text) {
    char* out = zu_url_unescape_malloc(text.data(), static_cast<std::int32_t>(text.size()));
    benchmark::DoNotOptimize(out);
    zu_url_unescape_free(out);
  });
}

// The text as a form of many fields, of which the last is read.
void form(benchmark::State& state) {
  std::string text;
  while (text.size() + 16 < static_cast<std::size_t>(state.range(0))) text += "a=value%20seven&";
  text += "last=12";
  for (auto _ : state) {
    zu_cgi* form = zu_cgi_malloc(text.data(), static_cast<std::int32_t>(text.size()));
    std::int32_t value = 0;
    if (zu_cgi_FormInteger(form, "last", &value, 0) != 1 || value != 12) {
      state.SkipWithError("not found");
    }
    zu_cgi_free(form);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

#ifdef HAVE_OPENSSL
void base64_encode_openssl(benchmark::State& state) {
  std::string out(static_cast<std::size_t>(state.range(0)) * 2, '\0');
  run(state, [&](const std::string& text) {
    benchmark::DoNotOptimize(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                                             reinterpret_cast<const unsigned char*>(text.data()),
                                             static_cast<int>(text.size())));
  });
}

void base64_decode_openssl(benchmark::State& state) {
  const std::string text = text_of(static_cast<std::size_t>(state.range(0)));
  std::string encoded(text.size() * 2, '\0'), out = encoded;
  const int n = zu_base64_encode(encoded.data(), text.data(), static_cast<int>(text.size()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(EVP_DecodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                                             reinterpret_cast<const unsigned char*>(encoded.data()),
                                             n));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void md5_openssl_bare(benchmark::State& state) {
  run(state, [](const std::string& text) {
    unsigned char out[16];
    MD5_CTX context;
    MD5_Init(&context);
    MD5_Update(&context, text.data(), text.size());
    MD5_Final(out, &context);
    benchmark::DoNotOptimize(out);
  });
}

void md5_openssl(benchmark::State& state) {
  run(state, [](const std::string& text) {
    unsigned char out[16];
    benchmark::DoNotOptimize(
        EVP_Digest(text.data(), text.size(), out, nullptr, EVP_md5(), nullptr));
  });
}
#endif

#ifdef HAVE_LIBEVENT
void url_escape_libevent(benchmark::State& state) {
  run(state, [](const std::string& text) {
    char* out = evhttp_uriencode(text.data(), static_cast<ev_ssize_t>(text.size()), 1);
    benchmark::DoNotOptimize(out);
    std::free(out);
  });
}

void url_unescape_libevent(benchmark::State& state) {
  run(state, [](const std::string& text) {
    char* out = evhttp_uridecode(text.c_str(), 1, nullptr);
    benchmark::DoNotOptimize(out);
    std::free(out);
  });
}
#endif

constexpr int kSmall = 64, kLarge = 65536;
#define ROW(name) BENCHMARK(name)->Arg(kSmall)->Arg(kLarge)

ROW(memcpy_ceiling);
ROW(base64_encode);
#ifdef HAVE_OPENSSL
ROW(base64_encode_openssl);
#endif
ROW(base64_decode);
#ifdef HAVE_OPENSSL
ROW(base64_decode_openssl);
#endif
ROW(form);
ROW(md5)->Arg(16);
#ifdef HAVE_OPENSSL
ROW(md5_openssl)->Arg(16);
ROW(md5_openssl_bare)->Arg(16);
#endif
ROW(url_escape);
#ifdef HAVE_LIBEVENT
ROW(url_escape_libevent);
#endif
ROW(url_unescape);
#ifdef HAVE_LIBEVENT
ROW(url_unescape_libevent);
#endif

}  // namespace
