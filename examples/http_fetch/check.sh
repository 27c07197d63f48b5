#!/bin/bash
# Fetches from a scripted server, straight and through a scripted proxy.
#
#   check.sh PROGRAM [ARGUMENT...]     for example: check.sh build/release/bin/http_fetch
#
# One line for each check, a summary at the end, exit status 0 when all is right.
set -u
[ $# -ge 1 ] || { echo "usage: $0 PROGRAM [ARGUMENT...]" >&2; exit 2; }
# shellcheck source=examples/needs.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../needs.sh"
needs "$1" python3 md5sum script
program=("$(realpath -- "$1")" "${@:2}")
dir=$(mktemp -d)
passed=0
failed=0
trap 'kill "$peers" 2>/dev/null; rm -rf "$dir"' EXIT
cd "$dir" || exit 2

# The server answers by path; the proxy asks for u:p and splices.
cat >peers.py <<'PYTHON'
import base64, re, socket, socketserver, threading, time

class Server(socketserver.StreamRequestHandler):
    def handle(self):
        head = b''
        while not head.endswith(b'\r\n\r\n'): head += self.rfile.read(1)
        target = head.split()[1].decode()
        length = re.search(rb'Content-Length: (\d+)', head)
        form = self.rfile.read(int(length[1])) if length else b''
        self.answer(target, head.split()[0] + b' ' + form)
    def send(self, status, fields, body=b''):
        self.wfile.write(b'HTTP/1.1 %s\r\n%s\r\n\r\n' % (status, fields) + body)
    def answer(self, target, said):
        step = re.match('/to/(\\d+)', target)
        if target == '/large':
            self.send(b'200 OK', b'Content-Length: 50000000', b'0123456789' * 5000000)
        elif target == '/chunked':
            self.send(b'200 OK', b'Transfer-Encoding: chunked')
            for size in (1, 5119, 5120, 5121, 100000):
                self.wfile.write(b'%x\r\n' % size + b'c' * size + b'\r\n')
            self.wfile.write(b'0\r\n\r\n')
        elif target == '/until-close': self.send(b'200 OK', b'Connection: close', b'all of it')
        elif target == '/short': self.send(b'200 OK', b'Content-Length: 9', b'half')
        elif target == '/said': self.send(b'200 OK', b'Content-Length: %d' % len(said), said)
        elif target == '/nonsense': self.wfile.write(b'220 smtp.example\r\n\r\n')
        elif step and step[1] == '0': self.send(b'302 Found', b'Location: ../said')
        elif step: self.send(b'302 Found', b'Location: %d' % (int(step[1]) - 1))
        elif target == '/away': self.send(b'302 Found', b'Location: https://h.example/')
        else: self.send(b'404 Not Found', b'Content-Length: 0')

class Proxy(socketserver.StreamRequestHandler):
    def handle(self):
        head = b''
        while not head.endswith(b'\r\n\r\n'): head += self.rfile.read(1)
        if b'Basic ' + base64.b64encode(b'u:p') not in head:
            self.wfile.write(b'HTTP/1.0 407 Proxy Authentication Required\r\n\r\n')
            return
        host, port = head.split()[1].decode().split(':')
        far = socket.create_connection((host, int(port)))
        self.wfile.write(b'HTTP/1.0 200 Connection established\r\n\r\n')
        threading.Thread(target=self.splice, args=(self.connection, far), daemon=True).start()
        self.splice(far, self.connection)
    def splice(self, source, sink):
        try:
            while data := source.recv(65536): sink.sendall(data)
        except OSError: pass

socketserver.ThreadingTCPServer.daemon_threads = True
ports = []
for handler in (Server, Proxy):
    server = socketserver.ThreadingTCPServer(('127.0.0.1', 0), handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    ports.append(str(server.server_address[1]))
print(*ports, flush=True)
time.sleep(600)
PYTHON
mkfifo ports
python3 peers.py >ports 2>/dev/null &
peers=$!
read -r port proxy <ports
at=http://127.0.0.1:$port

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
fetch() { timeout 60 "${program[@]}" "$@" >printed 2>told; }
# fetches NAME BODY FILE ARGUMENT...: status 0, no word, and that body in that file.
fetches() {
  fetch "${@:4}"
  local status=$?
  check "$1" [ "$status,$(wc -c <told),$(md5sum <"$3")" = "0,0,$(printf '%s' "$2" | md5sum)" ]
  rm -f "$3"
}
# fails NAME STATUS TEXT ARGUMENT...: one line that holds the text, and no file.
fails() {
  fetch "${@:4}"
  local status=$?
  check "$1" [ "$status,$(grep -cF -- "$3" told),$(wc -l <told),$(echo got*)" = "$2,1,1,got*" ]
}

large=$(printf '0123456789%.0s' {1..1000})
for way in straight proxy; do
  through=()
  [ $way = straight ] || through=(-x "127.0.0.1:$proxy" --user u:p)
  fetch "${through[@]}" "$at/large" "$at/chunked" "$at/until-close" "localhost:$port/said"
  check "$way: four at once" [ "$? $(cat told)" = '0 ' ]
  check "$way: a large one" [ "$(head -c 10000 large)$(stat -c %s large)" = "${large}50000000" ]
  check "$way: chunks" [ "$(tr -d c <chunked | wc -c) $(stat -c %s chunked)" = '0 115361' ]
  check "$way: up to the close" [ "$(cat until-close)$(cat said)" = 'all of itGET ' ]
  rm -f large chunked until-close said
  fetches "$way: a form" 'POST a=1+2&b=%26' got "${through[@]}" -o got -d 'a=1 2' -d 'b=&' "$at/said"
  fetches "$way: ten redirections, the form left behind" 'GET ' got \
    "${through[@]}" -o got -L -d a=b "$at/to/9"
  fails "$way: eleven" 1 'more than 10' "${through[@]}" -o got -L "$at/to/10"
  fails "$way: none without -L" 1 "moved to $at/to/0" "${through[@]}" -o got "$at/to/1"
  fails "$way: a half" 1 'after 4 bytes' "${through[@]}" -o got "$at/short"
  fails "$way: a missing page" 1 '404 Not Found' "${through[@]}" -o got "$at/none"
  fails "$way: no HTTP" 1 HTTP "${through[@]}" -o got "$at/nonsense"
done
fails "a proxy that refuses" 1 "refuses a tunnel" -x "127.0.0.1:$proxy" -o got "$at/said"
fails "nobody there" 1 "no connection to" -o got http://127.0.0.1:9/
fails "a host of no name" 1 "'none.invalid' is unknown" -o got http://none.invalid/
fails "no http" 1 'no http URL' https://127.0.0.1/
fails "a server that is no host" 1 'no http URL' ' http:\\my_host/'
fails "moved to no http" 1 'no http URL' -L -o got "$at/away"
fails "a file that cannot be" 1 cannot -o none/got "$at/said"
mkdir folder
fails "a folder of that name" 1 cannot -o folder "$at/said"
check "nothing is left of it" [ ! -e folder.part ]
mkfifo pipe
cat pipe >got &
fetch -o pipe "$at/said"
wait $!
check "a pipe of that name" [ -p pipe -a "$(cat got)" = 'GET ' ]
rm got
fails "two for one file" 1 'another URL' "$at/said" "$at/said?b"
fails "a file and what it is before it is complete" 1 'another URL' "$at/said" "$at/said.part"
rm -f said
fails "no URL" 2 usage -L
fails "a bad proxy" 2 HOST:PORT -x 127.0.0.1 "$at/said"
script -qec "${program[*]} -o got $at/large" /dev/null 2>&1 </dev/null >bars
check "a bar on a terminal" grep -q '\[##############################\]   50000.0 kB' bars

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
