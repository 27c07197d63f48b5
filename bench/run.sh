#!/bin/bash
# Builds the benchmarks and runs them all, each row beside its peers in the same program.
#
#   bench/run.sh [FILTER]      a regular expression over the rows; the file servers run without one
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
cmake --preset bench >/dev/null
cmake --build --preset bench
for program in build/bench/bin/bench_* build/bench/bin/*_bench; do
  [ -x "$program" ] || continue
  printf '\n== %s\n' "${program##*/}"
  "$program" --benchmark_min_time=0.2 ${1:+--benchmark_filter="$1"}
done
if [ $# -eq 0 ]; then
  printf '\n== file servers under wrk\n'
  bench/http_files/run.sh build/bench/bin
fi
