// A client and a server of virtual connections, each with its loop on a thread and a processor of
// its own: how long it takes to connect, and how many datagrams arrive.
#ifndef KIV_BENCH_PROTOCOL_VIRTUAL_LOAD_H
#define KIV_BENCH_PROTOCOL_VIRTUAL_LOAD_H

#include <atomic>
#include <cstdint>
#include <cstring>
#include <vector>

#include "bench/harness/process.h"

namespace bench {

constexpr int kPauseMs = 1;  // between two connections, so that each finds both loops asleep

// Connects again and again until the time is over.
class Connecting {
 public:
  explicit Connecting(double seconds) : end_(now() + seconds), cpu_start_(cpu_seconds()) {}
  void begin() { start_ = now(); }
  // False at the end.
  bool connected() {
    delays_.push_back(now() - start_);
    return now() < end_;
  }
  void report_all() {
    const double cpu = cpu_seconds() - cpu_start_;
    report("cpu_us", cpu / static_cast<double>(delays_.size()) * 1e6);
    report_delays(delays_);
  }

 private:
  double end_, cpu_start_, start_ = 0;
  std::vector<double> delays_;
};

// Sends by `send` until the time is over.
template <typename Send>
void pour(double seconds, const std::atomic<std::int64_t>& received, Send send) {
  const double start = now();
  double sent = 0;
  while (now() < start + seconds) {
    for (int i = 0; i < 32; ++i) send();
    sent += 32;
  }
  const double elapsed = now() - start;
  const auto count = static_cast<double>(received.load());
  report("received", count / elapsed);
  report("lost_percent", 100 * (1 - count / sent));
}

}  // namespace bench

#endif
