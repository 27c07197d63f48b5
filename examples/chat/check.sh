#!/bin/bash
# A round in the chat host: two clients on the command line, a browser that is driven by its driver,
# and a thousand connections that say nothing.
#
#   check.sh HOST CLIENT [PICTURE]     for example: check.sh build/release/bin/chat{,_client}
#
# One line for each check, a summary at the end, exit status 0 when all is right. PICTURE: where to
# keep what the browser shows at the end (.png).
set -u
[ $# -ge 2 ] || { echo "usage: $0 HOST CLIENT [PICTURE]" >&2; exit 2; }
# shellcheck source=examples/needs.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../needs.sh"
needs "$1" "$2" curl chromedriver chromium
ulimit -n "$(ulimit -Hn)"

host_program=$1
client_program=$2
picture=${3:-}
dir=$(mktemp -d)
passed=0
failed=0
host=
driver=
session=
trap 'end_browser; [ -z "$host" ] || kill "$host"; exec 5>&- 6>&-; wait; rm -rf "$dir"' EXIT

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
# hears FD TEXT: does a line with the text come before long?
hears() {
  local line
  while IFS= read -r -t 20 -u "$1" line; do [[ $line == *"$2"* ]] && return 0; done
  return 1
}
url() { echo "http://127.0.0.1:$port$1"; }

# --- the host -------------------------------------------------------------------------------------

mkdir "$dir/site"
echo '<p>a file' >"$dir/site/page.html"
mkdir "$dir/site/sub"
echo rude >"$dir/words"
# The sample, with its paths filled in.
sed -e 's|^folder = .*|folder = site|' -e 's|^; words = .*|words = words|' \
  -e 's|^; log = .*|log = log|' -e 's|^; pid_file = .*|pid_file = pid|' \
  "$(dirname "$0")/chat.conf" >"$dir/chat.conf"
for _ in {1..50}; do
  port=$((20000 + RANDOM % 20000))
  rm -f "$dir/out"
  mkfifo "$dir/out"
  "$host_program" --config "$dir/chat.conf" --port "$port" >"$dir/out" 2>"$dir/errors" &
  host=$!
  exec 9<"$dir/out"
  IFS= read -r line <&9 && break
  wait "$host"
  host=
done
[ -n "$host" ] || { echo "the host does not start: $(cat "$dir/errors")"; exit 1; }

# refuses FILE LINE: a start with the file ends with this one line and status 1.
refuses() {
  equal "refused: ${2#chat: "$1": }" "$("$host_program" --config "$1" 2>&1 >"$dir/body"; echo $?)" "$2"$'\n1'
}
equal "its pid file" "$(cat "$dir/pid")" "$host"
refuses "$dir/chat.conf" "chat: $dir/chat.conf: [process] pid_file: the pid file '$dir/pid' cannot be created"
wrong="$dir/wrong.conf"
printf '[web]\nport = 80 80\n' >"$wrong"
refuses "$wrong" "chat: $wrong: [web] port: a port is a number from 1 to 65535, not '80 80'"
printf '[web]\nfolder = "gone"\n' >"$wrong"
refuses "$wrong" "chat: $wrong: [web] folder: there is no folder '$dir/gone'"
printf '[web]\n[native]\nprot = 1\n' >"$wrong"
refuses "$wrong" "chat: $wrong: [native] prot: there is no such key"

equal "the page" "$(curl -s "$(url /)" | grep -c '<h1>Chat</h1>')" 1
equal "a file" "$(curl -s "$(url /files/page.html)")" '<p>a file'
equal "a folder without its slash" \
  "$(curl -s -o "$dir/body" -w '%{http_code} %{redirect_url}' "$(url /files/sub)")" "301 $(url /files/sub/)"
equal "nothing else" "$(curl -s -o "$dir/body" -w '%{http_code}' "$(url /page.html)")" 404
equal "another site's page may not speak here" \
  "$(curl -s -o "$dir/body" -w '%{http_code}' -H 'Origin: http://example.org' -d name=x "$(url /join)")" 403
equal "another name for this machine neither" \
  "$(curl -s -o "$dir/body" -w '%{http_code}' -H 'Host: example.org' "$(url /)")" 403
equal "no events for strangers" \
  "$(curl -s -o "$dir/body" -w '%{http_code}' "$(url '/events?token=x&since=0')")" 403

# --- two clients on the command line --------------------------------------------------------------

# start_client NAME IN OUT: its input and output become file descriptors.
start_client() {
  mkfifo "$dir/$1.in" "$dir/$1.out"
  "$client_program" --port $((port + 1)) "$1" <"$dir/$1.in" >"$dir/$1.out" 2>&1 &
  eval "exec $2>\"\$dir/$1.in\" $3<\"\$dir/$1.out\""
}
start_client ann 5 7
check "a client comes in" hears 7 'in the room as ann'
start_client bob 6 8
check "another one too" hears 8 'in the room as bob'
check "the first hears of it" hears 7 'bob joined'
echo 'hello there' >&5
check "a line is heard" hears 8 'ann: hello there'
echo 'how R-U-D-E' >&6
check "a word from the list marks a line" hears 7 'bob: how R-U-D-E  [marked]'
echo /who >&5
check "who is there" hears 7 '2 here: ann bob'
equal "a name that is taken: status 1" \
  "$("$client_program" --port $((port + 1)) ann <<<x 2>&1; echo $?)" $'chat_client: the name is taken\n1'

# --- a browser ------------------------------------------------------------------------------------

# ask METHOD PATH [JSON]: the answer of the driver.
ask() { curl -s --max-time 60 -X "$1" "http://127.0.0.1:$driver_port$2" ${3:+-d "$3"}; }
string_in() { sed -n "s/.*\"$1\":\"\([^\"]*\)\".*/\1/p"; }
end_browser() {
  [ -z "$session" ] || ask DELETE "/session/$session" >/dev/null
  [ -z "$driver" ] || kill "$driver"
  session=
  driver=
}
# type_into SELECTOR TEXT
type_into() {
  local element
  element=$(ask POST "/session/$session/element" \
    "{\"using\": \"css selector\", \"value\": \"$1\"}" | sed -n 's/.*"element[^"]*":"\([^"]*\)".*/\1/p')
  ask POST "/session/$session/element/$element/value" "{\"text\": \"$2\"}" | grep -q '"value":null'
}
# shows TEXT: does the page, before long?
shows() {
  local script="const [text, done] = arguments;
    const look = () => document.body.innerText.includes(text) && done(true);
    new MutationObserver(look).observe(document.body, {subtree: true, childList: true});
    look();"
  ask POST "/session/$session/execute/async" \
    "{\"script\": \"${script//$'\n'/ }\", \"args\": [\"$1\"]}" | grep -q '"value":true'
}

mkfifo "$dir/driver"
chromedriver --port=0 >"$dir/driver" 2>&1 &
driver=$!
exec 4<"$dir/driver"
while IFS= read -r -t 30 -u 4 line; do
  [[ $line =~ started\ successfully\ on\ port\ ([0-9]+) ]] && break
done
driver_port=${BASH_REMATCH[1]:-0}
session=$(ask POST /session "{\"capabilities\": {\"alwaysMatch\": {\"goog:chromeOptions\": {\"args\":
  [\"--headless=new\", \"--no-sandbox\", \"--disable-gpu\", \"--disable-dev-shm-usage\",
  \"--window-size=${WINDOW:-1000,700}\", \"--user-data-dir=$dir/profile\"]}}}}" | string_in sessionId)
check "a browser starts" [ -n "$session" ]
ask POST "/session/$session/timeouts" '{"script": 30000}' >/dev/null
ask POST "/session/$session/url" "{\"url\": \"$(url /)\"}" >/dev/null
check "it opens the page and types a name" type_into '#name' 'eve\ue007'
check "it is in the room" shows 'in the room as eve'
check "it sees what was said before" shows 'hello there'
check "and the mark" shows 'marked'
check "a client hears it come" hears 7 'eve joined'
check "it types a line" type_into '#text' 'hi from <b>the page</b>\ue007'
check "a client hears the line" hears 7 'eve: hi from <b>the page</b>'
echo 'an answer for eve' >&5
check "the browser shows the answer" shows 'an answer for eve'
check "and who is there" shows 'Who is there (3)'
if [ -n "$picture" ]; then
  ask GET "/session/$session/screenshot" | string_in value | base64 -d >"$picture"
fi
ask POST "/session/$session/url" '{"url": "about:blank"}' >/dev/null
check "it leaves with its page" hears 7 'eve left'
end_browser

# --- hostile clients ------------------------------------------------------------------------------

open_files() { find "/proc/$host/fd" -mindepth 1 | wc -l; }
before=$(open_files)
for ((i = 0; i < 1000; i++)); do exec {fd}<>"/dev/tcp/127.0.0.1/$((port + 1))" && crowd+=("$fd"); done
echo 'still here' >&5
check "a thousand silent connections disturb nobody" hears 8 'ann: still here'
for fd in "${crowd[@]}"; do exec {fd}>&-; done
head -c 10000000 /dev/zero | tr '\0' x >"/dev/tcp/127.0.0.1/$((port + 1))" 2>/dev/null
printf 'login user="half' >"/dev/tcp/127.0.0.1/$((port + 1))"
echo 'and again' >&6
check "nor do 10 MB without an end, and half a packet" hears 7 'bob: and again'
for _ in {1..100}; do # the host closes them one after the other
  [ "$(open_files)" -le "$before" ] && break
  echo 'a line' >&5
  hears 8 'ann: a line'
done
check "their descriptors are given back" [ "$(open_files)" -le "$before" ]

echo /quit >&6
check "a client leaves" hears 7 'bob left'
kill -INT "$host"
wait "$host"
equal "Ctrl-C ends the host with status 0" $? 0
check "and takes its pid file away" [ ! -e "$dir/pid" ]
host=
check "and its clients hear of it" hears 7 'the host has closed the connection'
# shellcheck disable=SC2016
equal "a client without a host: status 1" \
  "$("$client_program" --port $((port + 1)) ann </dev/null 2>&1; echo $?)" \
  "chat_client: no host answers at 127.0.0.1:$((port + 1))"$'\n1'

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
