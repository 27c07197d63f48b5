#!/bin/bash
# Builds the benchmarks and runs them all, each row beside its peers in the same run.
#
#   bench/run.sh [FILTER]      a regular expression over the rows of the Google Benchmark programs;
#                              those of bench/measure.py run without one
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
cmake --preset bench >/dev/null
cmake --build --preset bench
for program in build/bench/bin/*_bench; do
  printf '\n== %s\n' "${program##*/}"
  "$program" --benchmark_min_time=0.2 ${1:+--benchmark_filter="$1"}
done
[ $# -gt 0 ] || bench/measure.py --out build/bench/figures.json
