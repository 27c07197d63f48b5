#!/bin/bash
# Pings between real processes: plain, with a key, with another one, with nobody there.
#
#   check.sh PROGRAM     for example: check.sh build/release/bin/uvc_ping
#
# One line for each check, a summary at the end, exit status 0 when all is right.
set -u
[ $# -eq 1 ] || { echo "usage: $0 PROGRAM" >&2; exit 2; }
# shellcheck source=examples/needs.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../needs.sh"
needs "$1" script

program=$1
dir=$(mktemp -d)
passed=0
failed=0
host=
trap '[ -z "$host" ] || kill "$host"; wait; rm -rf "$dir"' EXIT

# equal NAME RESULT EXPECTED: the expected one is a pattern.
equal() {
  # shellcheck disable=SC2053
  if [[ $2 == $3 ]]; then
    passed=$((passed + 1))
    echo "ok    $1"
  else
    failed=$((failed + 1))
    printf 'FAIL  %s\n      got "%s", not "%s"\n' "$1" "${2:0:600}" "$3"
  fi
}
# start_host [ARGUMENT...]: on a free port; returns when it is ready.
start_host() {
  for _ in {1..50}; do
    port=$((20000 + RANDOM % 20000))
    rm -f "$dir/out"
    mkfifo "$dir/out"
    "$program" serve --port "$port" "$@" >"$dir/out" 2>"$dir/errors" &
    host=$!
    exec 9<"$dir/out"
    IFS= read -r _ <&9 && return
    wait "$host"
    host=
  done
  echo "the server does not start: $(cat "$dir/errors")"
  exit 1
}
# Ctrl-C; `said` is what the server has said since its first line, and its exit status.
stop_host() {
  kill -INT "$host"
  said=$(cat <&9)
  wait "$host"
  said+=" status $?"
  host=
}
# ping [ARGUMENT...]: prints what it says and its exit status.
ping() {
  "$program" ping 127.0.0.1 --port "$port" "$@" 2>&1
  echo "status $?"
}

# start_client [ARGUMENT...]: pings in the background until `end_client`; returns after some answers.
start_client() {
  : >"$dir/pings"
  "$program" ping 127.0.0.1 --port "$port" --interval 50 "$@" >"$dir/pings" 2>&1 &
  client=$!
  for _ in {1..400}; do
    grep -q '^     3  ' "$dir/pings" && return
    sleep 0.05
  done
}
# end_client: `said` is what it has said, and its exit status.
end_client() {
  wait "$client"
  said="$(cat "$dir/pings") status $?"
}

start_host
equal "five pings" "$(ping --count 5 --interval 20 | tr '\n' '|')" \
  "connected to 127.0.0.1:$port: 64 bytes, unencrypted|     1  *ms|*     5  *ms|--- 127.0.0.1:$port|5 sent, 5 received, 0 lost (0%), 0 out of order, 0 twice|round trip min/median/max *ms|status 0|"
equal "the largest" "$(ping --count 2 --interval 20 --size 10232)" '*2 sent, 2 received*status 0'
equal "on a terminal, a plot" \
  "$(script -qec "$program ping 127.0.0.1 --port $port --count 2 --interval 20" /dev/null)" \
  '*1000 ms*1 sent, 0 received, 1 without an answer*ms  -*2 sent, 2 received, 0 lost*'
equal "a key where the server has none" "$(ping --key secret)" '*wrong key*0 received*status 1'
for _ in {1..200}; do
  head -c $((RANDOM % 2000 + 1)) /dev/urandom >"/dev/udp/127.0.0.1/$port"
done
equal "garbage does no harm" "$(ping --count 1)" '*1 received*status 0'
start_client
kill -INT "$client"
end_client
equal "Ctrl-C ends a client with a summary" "$said" '*received, 0 lost*round trip*status 0'
stop_host
equal "and a server" "$said" '*--- pings answered: *, clients: 5, refused: 1, never pinged: 0, *status 0'
equal "nobody there" "$(ping)" "nobody answers at 127.0.0.1:$port*0 sent*status 1"

start_host --key secret
equal "the right key" "$(ping --count 3 --interval 20 --key secret)" '*encrypted*3 received*status 0'
equal "another key" "$(ping --key Secret)" '*wrong key*0 received*status 1'
equal "no key" "$(ping)" '*wrong key*0 received*status 1'
equal "a port that is taken" "$("$program" serve --port "$port" 2>&1; echo "status $?")" \
  "*port $port cannot be opened*status 2"
start_client --key secret
stop_host
equal "Ctrl-C ends a server that is pinged" "$said" '*clients: 2, refused: 2, *status 0'
end_client
equal "its client hears of it, and tries once more" "$said" \
  '*connecting again*nobody answers*received*status 0'
equal "a wrong command line" "$("$program" ping --size 19 x 2>&1; echo "status $?")" \
  '*--size takes a number from 20 to 10232*status 2'

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
