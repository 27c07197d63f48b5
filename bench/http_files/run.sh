#!/bin/bash
# Requests a second of examples/http_files and of the same server on libevent, under wrk.
#
#   run.sh BINARIES [SECONDS]      for example: run.sh build/bench/bin
set -u
[ $# -ge 1 ] || { echo "usage: $0 BINARIES [SECONDS]" >&2; exit 2; }
binaries=$1
seconds=${2:-5}
command -v wrk >/dev/null || { echo "$0 needs wrk" >&2; exit 2; }

dir=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server"; rm -rf "$dir"' EXIT
mkdir "$dir/site"
head -c 1024 /dev/urandom >"$dir/site/1k.bin"
head -c 104857600 /dev/urandom >"$dir/site/100m.bin"

# start COMMAND...: waits for the line that says it is ready.
start() {
  rm -f "$dir/out"
  mkfifo "$dir/out"
  "$@" >"$dir/out" &
  server=$!
  exec 9<"$dir/out"
  IFS= read -r _ <&9 || { echo "$1 does not start" >&2; exit 1; }
}

# What wrk tells, on one line.
measure() {
  wrk --latency -t1 -c"$2" -d"$seconds" --timeout 10s "http://127.0.0.1:$port/$3" | awk \
    -v name="$1" -v connections="$2" -v file="$3" '
    $1 == "50%" { median = $2 }
    $1 == "99%" { slow = $2 }
    /Requests\/sec/ { requests = $2 }
    /Transfer\/sec/ { bytes = $2 }
    /Socket errors/ || /Non-2xx/ { errors = errors " " $0 }
    END { printf "%-16s %-9s %4d %12s %10s %10s %12s %s\n", name, file, connections, requests,
                 median, slow, bytes, errors == "" ? "none" : errors }'
}

port=$((20000 + RANDOM % 20000))
printf '%-16s %-9s %4s %12s %10s %10s %12s %s\n' server file conn requests/s median 99% bytes/s errors
for name in http_files libevent_server; do
  [ -x "$binaries/$name" ] || continue
  case $name in
    http_files) start "$binaries/$name" --port $port "$dir/site" ;;
    *) start "$binaries/$name" $port "$dir/site" ;;
  esac
  for file in 1k.bin 100m.bin; do
    for connections in 1 64; do measure $name $connections $file; done
  done
  kill "$server"
  wait "$server" 2>/dev/null
  server=
  exec 9<&-
  port=$((port + 1))
done
