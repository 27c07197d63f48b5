// All bytes of a file of 64 MiB that the system has in memory, summed up: mapped, by handle, whole.
// The same sum over memory alone is the ceiling.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/system.h"

namespace {

constexpr std::int64_t kSize = 64 << 20;

// A file that is there while the program runs.
const char* path() {
  struct Made {
    char* directory = zu_dir1_MakeTemp("files_bench.");
    std::string file = std::string(directory) + "/f";
    Made() { zu_file1_Write(file.c_str(), std::vector<char>(kSize, 'x').data(), kSize); }
    ~Made() {
      zu_dir1_RemoveAll(directory);
      _zu_free(directory);
    }
  };
  static const Made made;
  return made.file.c_str();
}

std::uint64_t sum(const void* bytes, std::int64_t size) {
  const auto* at = static_cast<const char*>(bytes);
  std::uint64_t total = 0, word;
  for (std::int64_t i = 0; i + 8 <= size; i += 8) {
    std::memcpy(&word, at + i, 8);
    total += word;
  }
  return total;
}

// Runs a way of reading the file, which gives the sum.
template <typename Read>
void measure(benchmark::State& state, Read read) {
  path();
  for (auto _ : state) benchmark::DoNotOptimize(read());
  state.SetBytesProcessed(state.iterations() * kSize);
}

void memory_alone(benchmark::State& state) {
  const std::vector<char> bytes(kSize, 'x');
  measure(state, [&] { return sum(bytes.data(), kSize); });
}

void mapped(benchmark::State& state) {
  measure(state, [] {
    zu_file_mapped* file = zu_file_mapped_open(path(), 0);
    const std::uint64_t total = sum(zu_file_mapped_GetAddress(file), zu_file_mapped_GetSize(file));
    zu_file_mapped_close(file);
    return total;
  });
}

void mapped_once(benchmark::State& state) {
  zu_file_mapped* file = zu_file_mapped_open(path(), 0);
  measure(state, [&] { return sum(zu_file_mapped_GetAddress(file), kSize); });
  zu_file_mapped_close(file);
}

void by_handle(benchmark::State& state) {
  std::vector<char> piece(static_cast<std::size_t>(state.range(0)));
  measure(state, [&] {
    std::uint64_t total = 0;
    zu_file2* file = zu_file2_open(path(), ZU_FILE2_READ);
    std::int64_t got;
    while ((got = zu_file2_read(file, piece.data(), state.range(0))) > 0) {
      total += sum(piece.data(), got);
    }
    zu_file2_close(file);
    return total;
  });
}

void plain_read(benchmark::State& state) {
  std::vector<char> piece(static_cast<std::size_t>(state.range(0)));
  measure(state, [&] {
    std::uint64_t total = 0;
    const int file = open(path(), O_RDONLY);
    ssize_t got;
    while ((got = read(file, piece.data(), piece.size())) > 0) total += sum(piece.data(), got);
    close(file);
    return total;
  });
}

void whole(benchmark::State& state) {
  measure(state, [] {
    std::int64_t size = 0;
    char* text = zu_file1_Read(path(), &size);
    const std::uint64_t total = sum(text, size);
    _zu_free(text);
    return total;
  });
}

BENCHMARK(memory_alone)->Unit(benchmark::kMillisecond);
BENCHMARK(mapped)->Unit(benchmark::kMillisecond);
BENCHMARK(mapped_once)->Unit(benchmark::kMillisecond);
BENCHMARK(by_handle)->Arg(4096)->Arg(65536)->Arg(1 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(plain_read)->Arg(4096)->Arg(65536)->Arg(1 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(whole)->Unit(benchmark::kMillisecond);

}  // namespace
