#!/bin/bash
# Fetches from a running http_files in every way that matters, and in several that must fail.
#
#   check.sh PROGRAM [ARGUMENT...]     for example: check.sh build/release/bin/http_files
#
# One line for each check, a summary at the end, exit status 0 when all is right.
# shellcheck disable=SC2016,SC2034  # texts in single quotes are for eval, which also uses the names
set -u
[ $# -ge 1 ] || { echo "usage: $0 PROGRAM [ARGUMENT...]" >&2; exit 2; }
# shellcheck source=examples/needs.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../needs.sh"
needs "$1" curl cmp

program=("$@")
dir=$(mktemp -d)
site=$dir/site
passed=0
failed=0
host=
trap 'stop_host; rm -rf "$dir"' EXIT

# --- the host -------------------------------------------------------------------------------------

# start_host ARGUMENT...: starts it on a free port and waits for the line that says it is ready.
start_host() {
  local line
  for _ in {1..50}; do
    port=$((20000 + RANDOM % 20000))
    rm -f "$dir/out"
    mkfifo "$dir/out"
    "${program[@]}" --port "$port" "$@" "$site" >"$dir/out" 2>>"$dir/errors" &
    host=$!
    exec 9<"$dir/out"
    if IFS= read -r line <&9; then
      cat <&9 >>"$dir/printed" &
      exec 9<&-
      return 0
    fi
    exec 9<&-
    wait "$host"
  done
  echo "the host does not start: $(tail -n 1 "$dir/errors")"
  exit 1
}

# Ends it as Ctrl-C does and returns its exit status.
stop_host() {
  [ -n "$host" ] || return 0
  kill -INT "$host"
  wait "$host"
  local status=$?
  host=
  return $status
}

peak_memory_kb() { sed -n 's/^VmHWM:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$host/status"; }

# --- asking ---------------------------------------------------------------------------------------

url() { echo "http://127.0.0.1:$port$1"; }
fetch() { curl -s --max-time 300 --path-as-is "$@"; }
status_of() { fetch -o "$dir/body" -w '%{http_code}' "$@"; }

# raw [SECONDS]: sends its input on a connection of its own, prints all until the host closes it;
# false when that takes longer.
raw() {
  local result
  exec 3<>"/dev/tcp/127.0.0.1/$port" || return 1
  cat >&3
  timeout "${1:-10}" cat <&3
  result=$?
  exec 3>&-
  return $result
}

# answer FD: reads one answer and prints "STATUS BODY".
answer() {
  local line status length=0 body=
  IFS=' ' read -r -t 10 -u "$1" _ status _ || return 1
  while IFS= read -r -t 10 -u "$1" line && [ "$line" != $'\r' ]; do
    [[ $line == Content-Length:* ]] && length=${line//[^0-9]/}
  done
  [ "$length" = 0 ] || IFS= read -r -t 10 -u "$1" -N "$length" body
  echo "$status ${body%$'\n'}"
}

# --- telling --------------------------------------------------------------------------------------

# check NAME COMMAND...: right when the command succeeds.
check() {
  local name=$1
  shift
  if "$@"; then
    passed=$((passed + 1))
    echo "ok    $name"
  else
    failed=$((failed + 1))
    echo "FAIL  $name"
  fi
}
# equal NAME RESULT EXPECTED
equal() {
  check "$1" [ "$2" = "$3" ]
  [ "$2" = "$3" ] || printf '      got "%s", not "%s"\n' "${2:0:200}" "$3"
}
has() { grep -qF -- "$2" "$1"; }

# --- the directory -----------------------------------------------------------------------------------

mkdir -p "$site/sub" "$site/empty"
echo '<p>hello' >"$site/page.html"
echo a >"$site/a.txt"
echo b >"$site/b.txt"
echo secret >"$dir/secret.txt"
echo x >"$site/sub/<i>&\"x\".txt"
ln -s ../secret.txt "$site/link.txt"
ln -s .. "$site/up"
ln -s sub "$site/inside"
head -c 100000000 /dev/urandom >"$site/big.bin"
head -c 1000000 "$site/big.bin" >"$site/medium.bin"
truncate -s 2147483648 "$site/huge.bin"
echo end >>"$site/huge.bin"

# --- files ----------------------------------------------------------------------------------------

start_host --log "$dir/log"
fetch -D "$dir/head" -o "$dir/body" "$(url /page.html)"
check "a page" cmp -s "$dir/body" "$site/page.html"
check "its content type" has "$dir/head" 'Content-Type: text/html; charset=utf-8'
before=$(peak_memory_kb)
fetch -o "$dir/body" "$(url /big.bin)"
check "a file of 100 MB, byte for byte" cmp -s "$dir/body" "$site/big.bin"
equal "a file of 2 GB" "$(fetch -o /dev/null -w '%{size_download}' "$(url /huge.bin)")" 2147483652
check "no more than 1 MB of memory for both" [ $(($(peak_memory_kb) - before)) -le 1024 ]
equal "a range behind 2 GB" "$(fetch -r 2147483648-2147483650 "$(url /huge.bin)")" end
fetch -D "$dir/head" -r 1000000-1999999 -o "$dir/body" "$(url /big.bin)"
check "a range" cmp -s "$dir/body" <(tail -c +1000001 "$site/big.bin" | head -c 1000000)
check "its place in the file" has "$dir/head" 'Content-Range: bytes 1000000-1999999/100000000'
equal "the last bytes" "$(fetch -w ' %{http_code}' -r -3 "$(url /page.html)")" $'lo\n 206'
equal "a range outside" "$(status_of -r 100- "$(url /page.html)")" 416
printf 'HEAD /big.bin HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n' | raw >"$dir/body"
check "HEAD tells the length" has "$dir/body" 'Content-Length: 100000000'
equal "HEAD sends no body" "$(tail -c 4 "$dir/body" | od -An -tx1)" ' 0d 0a 0d 0a'
date=$(fetch -I "$(url /page.html)" | sed -n 's/^Last-Modified: \(.*\)\r/\1/p')
equal "304 for an unchanged page" "$(status_of -H "If-Modified-Since: $date" "$(url /page.html)")" 304
equal "200 for a changed one" \
  "$(status_of -H 'If-Modified-Since: Sun, 06 Nov 1994 08:49:37 GMT' "$(url /page.html)")" 200
equal "a range of what has changed since" \
  "$(status_of -r 0-0 -H 'If-Range: Sun, 06 Nov 1994 08:49:37 GMT' "$(url /page.html)")" 200
equal "a missing name" "$(status_of "$(url /none)")" 404

# --- directories ----------------------------------------------------------------------------------

fetch "$(url /sub/)" >"$dir/body"
check "a directory page with names escaped" \
  has "$dir/body" '<a href="/sub/%3Ci%3E%26%22x%22.txt">&lt;i&gt;&amp;&quot;x&quot;.txt</a>'
equal "an empty directory" "$(status_of "$(url /empty/)")" 200
equal "a directory without its slash" \
  "$(fetch -o "$dir/body" -w '%{http_code} %{redirect_url}' "$(url //sub)")" "301 $(url /sub/)"
echo index >"$site/sub/index.html"
equal "index.html stands for its directory" "$(fetch "$(url /sub/)")" index

# --- ways out -------------------------------------------------------------------------------------

links_out=(/link.txt /up/secret.txt)
[[ $* == *.exe ]] && links_out=() # Wine follows the links of Linux unseen
for path in /../secret.txt /sub/../../secret.txt /%2e%2e/secret.txt /..%2fsecret.txt \
  '/..\secret.txt' /..%5csecret.txt "/$dir/secret.txt" "/%2f$dir/secret.txt" /..%00/secret.txt \
  "file://$dir/secret.txt" "${links_out[@]}"; do
  printf 'GET %s HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n' "$path" | raw >"$dir/body"
  status=$(sed -n '1s/^HTTP.1.1 \(4[0-9][0-9]\).*/\1/p' "$dir/body")
  check "no way out: ${path//$dir/DIR} ($status)" \
    eval '[ -n "$status" ] && ! has "$dir/body" secret'
done
equal "a link that stays inside" "$(fetch "$(url /inside/index.html)")" index

# --- requests -------------------------------------------------------------------------------------

request=$'GET /a.txt HTTP/1.1\r\nHost: x\r\n\r\n'
exec 4<>"/dev/tcp/127.0.0.1/$port"
for ((i = 0; i < ${#request}; i++)); do printf '%s' "${request:i:1}" >&4; done
equal "a request in single bytes" "$(answer 4)" '200 a'
printf '%s' "$request" >&4
equal "another one on the same connection" "$(answer 4)" '200 a'
printf '%s%s' "$request" "${request/a.txt/b.txt}" >&4
equal "two requests in one segment: the first" "$(answer 4)" '200 a'
printf '\r\n' >&4
equal "the second, at the next data" "$(answer 4)" '200 b'
exec 4>&-
equal "a request of HTTP/1.0 ends its connection" \
  "$(printf 'GET /a.txt HTTP/1.0\r\n\r\n' | raw | tail -n 1)" a
exec 4<>"/dev/tcp/127.0.0.1/$port"
for i in 1 2; do printf 'GET /a.txt HTTP/1.0\r\nConnection: Keep-Alive\r\n\r\n' >&4; answer 4; done \
  >"$dir/body"
exec 4>&-
equal "unless it asks to keep it" "$(cat "$dir/body")" $'200 a\n200 a'
equal "POST" "$(status_of -d x=1 "$(url /a.txt)")" 405
equal "a method of nobody's" "$(status_of -X BREW "$(url /a.txt)")" 501
equal "HTTP/1.1 without a host" "$(printf 'GET / HTTP/1.1\r\n\r\n' | raw | head -n 1)" \
  $'HTTP/1.1 400 Bad Request\r'
check "a chunked request is refused and its connection ends" eval \
  "printf 'POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n%s' \
  $'5\r\nGET /\r\n0\r\n\r\n' | raw | grep -c HTTP/1.1 | grep -qx 1"
long=$(printf 'x%.0s' {1..6000})
equal "a head of 6 KB" \
  "$(printf 'GET / HTTP/1.1\r\nHost: x\r\nLong: %s\r\n\r\n' "$long" | raw | head -n 1)" \
  $'HTTP/1.1 400 Bad Request\r'
check "garbage: the connection is closed" eval \
  'head -c 20000 /dev/urandom | raw >"$dir/body" || [ $? -ne 124 ]'
check "a garbage head too" eval "printf '\x16\x03\x01 \xff\r\n\r\n' | raw >\"\$dir/body\""
equal "the server lives" "$(status_of "$(url /page.html)")" 200

# --- many at once ---------------------------------------------------------------------------------

exec 4<>"/dev/tcp/127.0.0.1/$port"
printf 'GET /big.bin HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n' >&4 # and reads nothing yet
mkdir "$dir/many"
fetch -Z --parallel-immediate --parallel-max 200 "$(url '/medium.bin?[1-200]')" -o "$dir/many/#1" 2>/dev/null
same=0
for i in {1..200}; do cmp -s "$dir/many/$i" "$site/medium.bin" && same=$((same + 1)); done
equal "200 downloads at once beside a client that does not read" $same 200
while IFS= read -r -t 10 -u 4 line && [ "$line" != $'\r' ]; do :; done
check "which then gets all of its own" cmp -s "$site/big.bin" <(timeout 60 cat <&4)
exec 4>&-

# --- log, end and failed starts -------------------------------------------------------------------

own=$(hostname -I 2>/dev/null | cut -d' ' -f1)
if [ -n "$own" ]; then
  equal "peers outside 127.x are turned away" \
    "$(fetch -o "$dir/body" -w '%{http_code}' "http://$own:$port/a.txt")" 000
fi
equal "one log line for a request" "$(grep -c 'notice: .* "BREW /a.txt" 501 ' "$dir/log")" 1
exec 4<>"/dev/tcp/127.0.0.1/$port" # an open connection does not hold the end up
stop_host
equal "Ctrl-C ends it with status 0" $? 0
exec 4>&-

start_host --idle 1 --public
[ -z "$own" ] || equal "--public lets them in" "$(status_of "http://$own:$port/a.txt")" 200
equal "half a request is dropped with 408" "$(printf 'GET / HT' | raw 10 | head -n 1)" \
  $'HTTP/1.1 408 Request Time-out\r'
check "an idle connection is closed" eval 'printf "%s" "$request" | raw 10 >"$dir/body"'
for i in 1 2 3; do (exec 4<>"/dev/tcp/127.0.0.1/$port"; sleep 100) & sleepers+=($!); done
( while :; do fetch -o /dev/null "$(url /medium.bin)" || break; done ) &
sleepers+=($!)
check "also while another client keeps the host busy" eval 'printf "GET / HT" | raw 10 >"$dir/body"'
kill "${sleepers[@]}"
wait "${sleepers[@]}" 2>/dev/null

# fails NAME TEXT ARGUMENT...: one line that holds the text, and exit status 2.
fails() {
  local name=$1 text=$2
  shift 2
  timeout 10 "${program[@]}" "$@" >"$dir/body" 2>&1
  check "$name: status 2" [ $? = 2 ]
  check "$name: one clear line" eval '[ $(wc -l <"$dir/body") = 1 ] && has "$dir/body" "$text"'
}
fails "a port in use" "port $port" --port "$port" "$site"
stop_host
fails "a missing folder" "$dir/none" "$dir/none"
fails "a bad option" --nothing --nothing "$site"
fails "a bad port" 65536 --port 65536 "$site"
fails "a log that cannot be" "$dir/none/log" --log "$dir/none/log" "$site"

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
