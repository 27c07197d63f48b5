// What the measuring programs share: clocks, descriptors, and the lines that bench/measure.py
// reads. A program measures one thing once; measure.py starts it as often as wanted, pinned, beside
// peers.
#ifndef KIV_BENCH_HARNESS_PROCESS_H
#define KIV_BENCH_HARNESS_PROCESS_H

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

namespace bench {

[[noreturn]] inline void give_up(const char* what) {
  std::perror(what);
  std::exit(1);
}

// One figure: a name and a number.
inline void report(const char* name, double value) {
  std::printf("%s %.9g\n", name, value);
  std::fflush(stdout);
}

inline double seconds_of(clockid_t clock) {
  timespec time{};
  if (clock_gettime(clock, &time) != 0) give_up("clock");
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double now() {
  return seconds_of(CLOCK_MONOTONIC);
}

// Processor time of this process, and of another one.
inline double cpu_seconds() {
  return seconds_of(CLOCK_PROCESS_CPUTIME_ID);
}
inline double cpu_seconds(pid_t process) {
  clockid_t clock = 0;
  if (clock_getcpuclockid(process, &clock) != 0) give_up("processor time");
  return seconds_of(clock);
}

// The calling thread runs on the first or second of the processors that the program started with.
inline void pin(int which) {
  static const cpu_set_t given = [] {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0) give_up("processors");
    return set;
  }();
  cpu_set_t one;
  CPU_ZERO(&one);
  for (int cpu = 0, seen = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (CPU_ISSET(cpu, &given) && seen++ == which) CPU_SET(cpu, &one);
  }
  if (sched_setaffinity(0, sizeof one, &one) != 0) give_up("two processors are needed");
}

// Room for 10,000 connections: root may raise the limit, others get the most they may have.
inline void raise_descriptor_limit() {
  rlimit limit{30000, 30000};
  if (setrlimit(RLIMIT_NOFILE, &limit) == 0) return;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

// The sum of some lines of a file of /proc, in KiB.
inline double sum_of(const char* path, std::initializer_list<const char*> names) {
  std::ifstream file(path);
  double sum = 0;
  for (std::string name; file >> name;) {
    for (const char* wanted : names) {
      double value = 0;
      if (name == wanted && file >> value) sum += value;
    }
  }
  return sum;
}

// Sorts the values and reports median and 99th percentile in microseconds.
inline void report_delays(std::vector<double>& seconds) {
  std::sort(seconds.begin(), seconds.end());
  report("median_us", seconds[seconds.size() / 2] * 1e6);
  report("p99_us", seconds[seconds.size() * 99 / 100] * 1e6);
}

}  // namespace bench

#endif
