// Packets built and parsed, and a stream cut into packets. The ceiling of parsing and packing
// copies the packet's bytes; that of framing finds each zero byte and copies what is before it.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "kiv_base/protocol.h"

namespace {

using Parameters = std::vector<std::pair<std::string, std::string>>;

Parameters many_parameters(std::int64_t count) {
  Parameters made;
  for (std::int64_t i = 0; i < count; ++i) {
    made.emplace_back("name" + std::to_string(i), "value of a name");
  }
  return made;
}

// 0: a login, 1: as many parameters as are received, 2: one value of 5,000 bytes.
Parameters parameters(std::int64_t shape) {
  if (shape == 0) return {{"user", "somebody"}, {"password", "not a secret"}};
  return shape == 1 ? many_parameters(63) : Parameters{{"text", std::string(5000, 't')}};
}

void pack_all(kiv_proto* packet, const Parameters& all) {
  kiv_proto_PackCmd(packet, "login");
  for (const auto& [name, value] : all) kiv_proto_PackPara(packet, name.c_str(), value.c_str());
}

std::string packed(std::int64_t shape) {
  kiv_proto* packet = kiv_proto_new();
  pack_all(packet, parameters(shape));
  const std::string bytes(kivx_proto_GetPacket(packet, nullptr, nullptr),
                          static_cast<std::size_t>(kivx_proto_GetPacketLen(packet)));
  kiv_proto_free(packet);
  return bytes;
}

template <typename Work>
void measure(benchmark::State& state, std::size_t bytes, Work work) {
  for (auto _ : state) work();
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void parse(benchmark::State& state) {
  const std::string bytes = packed(state.range(0));
  kiv_proto* packet = kiv_proto_new();
  measure(state, bytes.size(), [&] {
    kiv_proto_ParsePacket(packet, bytes.data(), static_cast<std::int32_t>(bytes.size()));
  });
  kiv_proto_free(packet);
}

void pack(benchmark::State& state) {
  const Parameters all = parameters(state.range(0));
  kiv_proto* packet = kiv_proto_new();
  measure(state, packed(state.range(0)).size(), [&] { pack_all(packet, all); });
  kiv_proto_free(packet);
}

// Items are parameters: each one costs the same, however many there are.
void pack_each(benchmark::State& state) {
  const Parameters all = many_parameters(state.range(0));
  kiv_proto* packet = kiv_proto_new();
  for (auto _ : state) pack_all(packet, all);
  state.SetItemsProcessed(state.iterations() * state.range(0));
  kiv_proto_free(packet);
}

void read_each(benchmark::State& state) {
  const Parameters all = many_parameters(state.range(0));
  kiv_proto* packet = kiv_proto_new();
  pack_all(packet, all);
  for (auto _ : state) {
    for (const auto& [name, value] : all) {
      benchmark::DoNotOptimize(kivx_proto_GetPara(packet, name.c_str(), nullptr, nullptr));
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  kiv_proto_free(packet);
}

void copy(benchmark::State& state) {
  const std::string bytes = packed(state.range(0));
  std::vector<char> to(bytes.size());
  measure(state, bytes.size(), [&] {
    std::memcpy(to.data(), bytes.data(), bytes.size());
    benchmark::ClobberMemory();
  });
}

// A stream of packets of one size that arrives in pieces of 4,000 bytes.
std::string stream_of(std::int64_t packet) {
  std::string stream;
  while (stream.size() < 1000000)
    stream += std::string(static_cast<std::size_t>(packet) - 1, 'x') + '\0';
  return stream;
}
constexpr std::size_t kPiece = 4000;

void parse_pool(benchmark::State& state) {
  const std::string stream = stream_of(state.range(0));
  kiv_parse_pool* pool = kiv_parse_pool_malloc();
  std::vector<char> packet(10240);
  measure(state, stream.size(), [&] {
    for (std::size_t at = 0; at < stream.size(); at += kPiece) {
      const auto piece = static_cast<std::int32_t>(std::min(kPiece, stream.size() - at));
      kiv_parse_pool_input(pool, stream.data() + at, piece);
      std::int32_t length = 0;
      while (kiv_parse_pool_get(pool, packet.data(), 10240, &length) == 1) {
        benchmark::DoNotOptimize(length);
      }
    }
  });
  kiv_parse_pool_free(pool);
}

void find_and_copy(benchmark::State& state) {
  const std::string stream = stream_of(state.range(0));
  std::vector<char> packet(10240);
  measure(state, stream.size(), [&] {
    const char* const end = stream.data() + stream.size();
    for (const char* at = stream.data(); at < end;) {
      const auto* zero =
          static_cast<const char*>(std::memchr(at, 0, static_cast<std::size_t>(end - at)));
      std::memcpy(packet.data(), at, static_cast<std::size_t>(zero + 1 - at));
      benchmark::ClobberMemory();
      at = zero + 1;
    }
  });
}

BENCHMARK(parse)->DenseRange(0, 2);
BENCHMARK(pack)->DenseRange(0, 2);
BENCHMARK(pack_each)->Arg(8)->Arg(63);
BENCHMARK(read_each)->Arg(8)->Arg(63);
BENCHMARK(copy)->DenseRange(0, 2);
BENCHMARK(parse_pool)->Arg(64)->Arg(8192);
BENCHMARK(find_and_copy)->Arg(64)->Arg(8192);

}  // namespace
