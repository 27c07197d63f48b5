// The jitter buffer as a stream uses it: pieces of 64 B and 1 KiB in and out with a given backlog,
// beside asio's and libevent's buffers. The ceiling copies each piece in and out of one flat ring
// of that size.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "kiv_base/containers.h"

#ifdef KIV_HAVE_ASIO
#include <asio/streambuf.hpp>
#endif
#ifdef KIV_HAVE_EVENT
#include <event2/buffer.h>
#endif

namespace {

struct Jitter {
  explicit Jitter(std::size_t) : jitter(zu_jitter_malloc()) {}
  ~Jitter() { zu_jitter_free(jitter); }
  void write(const char* data, std::size_t n) {
    zu_jitter_SetData(jitter, data, static_cast<int>(n));
  }
  void read(char* data, std::size_t n) { zu_jitter_GetData(jitter, data, static_cast<int>(n)); }
  zu_jitter* jitter;
};

struct FlatRing {
  explicit FlatRing(std::size_t size) : ring(size) {}
  void write(const char* data, std::size_t n) {
    std::memcpy(ring.data() + move(written, n), data, n);
  }
  void read(char* data, std::size_t n) { std::memcpy(data, ring.data() + move(taken, n), n); }
  std::size_t move(std::size_t& at, std::size_t n) const {
    const std::size_t before = at;
    at = at + n == ring.size() ? 0 : at + n;
    return before;
  }
  std::vector<char> ring;
  std::size_t written = 0, taken = 0;
};

#ifdef KIV_HAVE_ASIO
struct AsioStreambuf {
  explicit AsioStreambuf(std::size_t) {}
  void write(const char* data, std::size_t n) {
    buffer.sputn(data, static_cast<std::streamsize>(n));
  }
  void read(char* data, std::size_t n) { buffer.sgetn(data, static_cast<std::streamsize>(n)); }
  asio::streambuf buffer;
};

struct AsioPrepared {
  explicit AsioPrepared(std::size_t) {}
  void write(const char* data, std::size_t n) {
    std::memcpy(buffer.prepare(n).data(), data, n);
    buffer.commit(n);
  }
  void read(char* data, std::size_t n) {
    std::memcpy(data, buffer.data().data(), n);
    buffer.consume(n);
  }
  asio::streambuf buffer;
};
#endif

#ifdef KIV_HAVE_EVENT
struct EventBuffer {
  explicit EventBuffer(std::size_t) : buffer(evbuffer_new()) {}
  ~EventBuffer() { evbuffer_free(buffer); }
  void write(const char* data, std::size_t n) { evbuffer_add(buffer, data, n); }
  void read(char* data, std::size_t n) { evbuffer_remove(buffer, data, n); }
  evbuffer* buffer;
};
#endif

struct Pieces {
  char* next() { return bytes + 16 * (turn++ % 4); }
  alignas(64) char bytes[2048] = {};
  unsigned turn = 0;
};

// The backlog is filled and drained in turns, piece by piece.
template <typename Fifo>
void fill_and_drain(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const auto backlog = static_cast<std::size_t>(state.range(1));
  Fifo fifo(backlog);
  Pieces pieces;
  for (auto _ : state) {
    for (std::size_t i = 0; i < backlog; i += size) fifo.write(pieces.next(), size);
    for (std::size_t i = 0; i < backlog; i += size) fifo.read(pieces.next(), size);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

// One piece in, one out, behind a standing backlog.
template <typename Fifo>
void pass_through(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const auto backlog = static_cast<std::size_t>(state.range(1));
  Fifo fifo(backlog + size);
  Pieces pieces;
  for (std::size_t i = 0; i < backlog; i += size) fifo.write(pieces.next(), size);
  for (auto _ : state) {
    fifo.write(pieces.next(), size);
    fifo.read(pieces.next(), size);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

#define KIV_JITTER_ROWS(fifo)                                   \
  BENCHMARK(fill_and_drain<fifo>)                               \
      ->ArgsProduct({{64, 1024}, {4 << 10, 64 << 10, 4 << 20}}) \
      ->ArgNames({"piece", "backlog"});                         \
  BENCHMARK(pass_through<fifo>)                                 \
      ->ArgsProduct({{64, 1024}, {0, 8 << 10, 1 << 20}})        \
      ->ArgNames({"piece", "backlog"})
KIV_JITTER_ROWS(Jitter);
#ifdef KIV_HAVE_ASIO
KIV_JITTER_ROWS(AsioStreambuf);
KIV_JITTER_ROWS(AsioPrepared);
#endif
#ifdef KIV_HAVE_EVENT
KIV_JITTER_ROWS(EventBuffer);
#endif
KIV_JITTER_ROWS(FlatRing);

}  // namespace
