// What the fetching programs do: so many requests at a time for so long, 0 for one each, each
// request on a connection of its own.
//
//   fetch_... URL AT_ONCE SECONDS
#ifndef KIV_BENCH_HTTP_FETCH_H
#define KIV_BENCH_HTTP_FETCH_H

#include <cstdint>
#include <string>

#include "bench/harness/process.h"

namespace bench {

struct Work {
  std::string url;
  int at_once;
  double seconds;
  std::uint64_t answers = 0;
  std::uint64_t bytes = 0;
  double start = now();

  bool goes_on() const { return now() - start < seconds; }

  void report_all() const {
    const double elapsed = now() - start;
    report("requests", static_cast<double>(answers) / elapsed);
    report("cpu_us", cpu_seconds() / static_cast<double>(answers) * 1e6);
    report("mb_per_second", static_cast<double>(bytes) / elapsed * 1e-6);
    report("most_kib", sum_of("/proc/self/status", {"VmHWM:"}));
  }
};

inline Work work_of(int argc, char** argv) {
  if (argc != 4) std::exit(2);
  return {argv[1], std::atoi(argv[2]), std::atof(argv[3])};
}

}  // namespace bench

#endif
