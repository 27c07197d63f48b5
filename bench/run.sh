#!/bin/bash
# Builds the benchmarks and runs them all, each row beside its peers in the same program.
#
#   bench/run.sh [FILTER]      a regular expression over the rows; servers under load run without one
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
cmake --preset bench >/dev/null
cmake --build --preset bench
loads=' bench_bigbox bench_datagrams bench_http_client '
for program in build/bench/bin/bench_* build/bench/bin/*_bench; do
  case "$loads" in *" ${program##*/} "*) continue ;; esac
  printf '\n== %s\n' "${program##*/}"
  "$program" --benchmark_min_time=0.2 ${1:+--benchmark_filter="$1"}
done
if [ $# -eq 0 ]; then
  printf '\n== big box, datagrams, HTTP client\n'
  build/bench/bin/bench_bigbox
  build/bench/bin/bench_datagrams
  tests/http_peers/with_servers build/bench/bin/bench_http_client
  printf '\n== file servers under wrk\n'
  bench/http_files/run.sh build/bench/bin
fi
