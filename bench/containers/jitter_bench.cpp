// The jitter buffer as a stream uses it: pieces of 1 KiB in and out with a given backlog, beside
// libevent's buffer. The ceiling copies each piece in and out of one flat ring of that size.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "kiv_base/containers.h"

#ifdef KIV_HAVE_EVENT
#include <event2/buffer.h>
#endif

namespace {

constexpr int kPiece = 1024;

struct Jitter {
  explicit Jitter(std::size_t) : jitter(zu_jitter_malloc()) {}
  ~Jitter() { zu_jitter_free(jitter); }
  void write(const char* data) { zu_jitter_SetData(jitter, data, kPiece); }
  void read(char* data) { zu_jitter_GetData(jitter, data, kPiece); }
  zu_jitter* jitter;
};

struct FlatRing {
  explicit FlatRing(std::size_t pieces) : ring((pieces + 1) * kPiece) {}
  void write(const char* data) { copy(ring.data() + at(written), data); }
  void read(char* data) { copy(data, ring.data() + at(taken)); }
  std::size_t at(std::size_t& pieces) const { return pieces++ * kPiece % ring.size(); }
  static void copy(char* to, const char* from) { std::memcpy(to, from, kPiece); }
  std::vector<char> ring;
  std::size_t written = 0, taken = 0;
};

#ifdef KIV_HAVE_EVENT
struct EventBuffer {
  explicit EventBuffer(std::size_t) : buffer(evbuffer_new()) {}
  ~EventBuffer() { evbuffer_free(buffer); }
  void write(const char* data) { evbuffer_add(buffer, data, kPiece); }
  void read(char* data) { evbuffer_remove(buffer, data, kPiece); }
  evbuffer* buffer;
};
#endif

// The backlog is filled and drained in turns, piece by piece.
template <typename Fifo>
void fill_and_drain(benchmark::State& state) {
  const auto pieces = static_cast<std::size_t>(state.range(0)) / kPiece;
  Fifo fifo(pieces);
  std::vector<char> piece(kPiece, 'x');
  for (auto _ : state) {
    for (std::size_t i = 0; i < pieces; ++i) fifo.write(piece.data());
    for (std::size_t i = 0; i < pieces; ++i) fifo.read(piece.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// One piece in, one out, behind a standing backlog.
template <typename Fifo>
void pass_through(benchmark::State& state) {
  const auto pieces = static_cast<std::size_t>(state.range(0)) / kPiece;
  Fifo fifo(pieces + 1);
  std::vector<char> piece(kPiece, 'x');
  for (std::size_t i = 0; i < pieces; ++i) fifo.write(piece.data());
  for (auto _ : state) {
    fifo.write(piece.data());
    fifo.read(piece.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kPiece);
}

#define KIV_JITTER_ROWS(fifo)                                                 \
  BENCHMARK(fill_and_drain<fifo>)->Arg(4 << 10)->Arg(64 << 10)->Arg(4 << 20); \
  BENCHMARK(pass_through<fifo>)->Arg(0)->Arg(8 << 10)->Arg(1 << 20)
KIV_JITTER_ROWS(Jitter);
#ifdef KIV_HAVE_EVENT
KIV_JITTER_ROWS(EventBuffer);
#endif
KIV_JITTER_ROWS(FlatRing);

}  // namespace
