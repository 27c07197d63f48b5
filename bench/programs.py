"""How the measuring programs are run: servers on the first processor, their load on the second.

Each function returns one that takes the folder of the programs and the seconds to measure, and
returns the figures by name. A line of output is a name and one number or several.
"""
import contextlib
import ctypes
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import urllib.request
from pathlib import Path

CORES = sorted(os.sched_getaffinity(0))[:2]
HTTP_BODY = 1024


# What a child leaves in the background becomes a child of this program, which can wait for it then.
PR_SET_CHILD_SUBREAPER = 36
ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


class Absent(Exception):
    """A program that is not here."""


class Failed(Exception):
    """A program that did not measure."""


def check(status, command):
    if status != 0:
        raise Failed(f'{" ".join(map(str, command))} ended with {status}')


def on_core(which):
    return lambda: os.sched_setaffinity(0, {CORES[which]})


def find(folder, program):
    path = shutil.which(str(program) if folder is None else str(folder / program),
                        path=os.environ['PATH'] + ':/usr/sbin')
    if path is None:
        raise Absent(program)
    return path


def figures_in(text):
    found = {}
    for line in text.splitlines():
        name, *numbers = line.split()
        if name == 'tick':
            found.setdefault(name, []).append(float(numbers[0]))
        else:
            found[name] = float(numbers[0]) if len(numbers) == 1 else [float(n) for n in numbers]
    return found


def run(command, core=None):
    """Runs a program to its end on one processor, or on both."""
    done = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False,
                          preexec_fn=None if core is None else on_core(core))
    check(done.returncode, command)
    return done.stdout


def alone(program, *arguments):
    """A program that measures by itself and pins its threads; `{}` stands for the seconds."""
    def measure(folder, seconds):
        command = [find(folder, program), *(each.format(seconds) for each in arguments)]
        return figures_in(run(command))
    return measure


@contextlib.contextmanager
def started(command):
    """A server, and its first line in words."""
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, preexec_fn=on_core(0))
    try:
        line = process.stdout.readline().split()
        if not line:
            check(process.wait() or 1, command)
        yield process, line
    finally:
        process.kill()
        process.wait()
        process.stdout.close()


def lateness_ms(ticks, start, end):
    """The longest that a tick of 100 ms came late, or has been waited for at the end."""
    before = [each for each in ticks if each <= start]
    times = before[-1:] + [each for each in ticks if start < each < end] + [end]
    return max(0.0, max(b - a for a, b in zip(times, times[1:])) * 1e3 - 100)


def echo(manner, busy, idle, *server_command):
    def measure(folder, seconds):
        command = [find(folder, server_command[0]), *server_command[1:]]
        with started(command) as (process, (_, port)):
            found = figures_in(run([folder / 'echo_load', port, str(process.pid), manner, str(busy),
                                    str(idle), str(seconds)], core=1))
            process.kill()
            ticks = figures_in(process.stdout.read()).get('tick', [])
        start, end = found.pop('start'), found.pop('end')
        if ticks:
            found['late_ms'] = lateness_ms(ticks, start, end)
        return found
    return measure


# ---- HTTP ------------------------------------------------------------------------------------

NGINX = """
master_process off;
pid {folder}/pid;
error_log {folder}/log;
events {{ worker_connections 1024; }}
http {{
  access_log off;
  default_type text/plain;
  sendfile on;
  keepalive_requests 1000000000;
  client_body_temp_path {folder}/temp;
  proxy_temp_path {folder}/temp;
  fastcgi_temp_path {folder}/temp;
  uwsgi_temp_path {folder}/temp;
  scgi_temp_path {folder}/temp;
  server {{
    listen 127.0.0.1:{port};
    root {folder}/site;
    location = /memory {{ return 200 "{body}"; }}
  }}
}}
"""


@contextlib.contextmanager
def site():
    """A folder with the files that servers serve."""
    with tempfile.TemporaryDirectory() as folder:
        files = Path(folder) / 'site'
        files.mkdir()
        (files / 'file').write_text('x' * HTTP_BODY)
        with open(files / 'huge', 'wb') as huge:
            huge.truncate(1 << 30)  # takes no room on the disk
        yield Path(folder)


@contextlib.contextmanager
def nginx(folder):
    """nginx as one process in the background: its id and its port."""
    port = free_port()
    config = folder / 'nginx.conf'
    config.write_text(NGINX.format(folder=folder, port=port, body='x' * HTTP_BODY))
    run([find(None, 'nginx'), '-p', folder, '-c', config, '-e', folder / 'log'], core=0)
    urllib.request.urlopen(f'http://127.0.0.1:{port}/file').close()  # its id is written by then
    pid = int((folder / 'pid').read_text())
    try:
        yield pid, port
    finally:
        os.kill(pid, signal.SIGKILL)
        os.waitpid(pid, 0)


def free_port():
    with socket.create_server(('127.0.0.1', 0)) as listener:
        return listener.getsockname()[1]


def cpu_seconds(pid):
    return time.clock_gettime(~pid << 3 | 2)


def under_wrk(pid, port, path, connections, seconds):
    wrk = [find(None, 'wrk'), '--latency', '-t1', f'-c{connections}', f'-d{max(1, round(seconds))}',
           f'http://127.0.0.1:{port}/{path}']
    before = cpu_seconds(pid)
    text = run(wrk, core=1)
    cpu = cpu_seconds(pid) - before
    if 'Socket errors' in text or 'Non-2xx' in text:
        raise Failed(text)
    requests, elapsed = re.search(r'(\d+) requests in ([\d.]+)s', text).groups()
    units = {'us': 1, 'ms': 1e3, 's': 1e6}
    delays = {percent: float(number) * units[unit]
              for percent, number, unit in re.findall(r'(50|99)%\s+([\d.]+)(us|ms|s)', text)}
    return {'cpu_us': cpu / int(requests) * 1e6, 'per_second': int(requests) / float(elapsed),
            'server_busy': cpu / float(elapsed), 'median_us': delays['50'], 'p99_us': delays['99']}


def get(connections, *server_command):
    def measure(folder, seconds):
        command = [find(folder, server_command[0]), *server_command[1:]]
        with started(command) as (process, (_, port)):
            return under_wrk(process.pid, port, 'memory', connections, seconds)
    return measure


def get_nginx(connections, path):
    def measure(_, seconds):
        with site() as folder, nginx(folder) as (pid, port):
            return under_wrk(pid, port, path, connections, seconds)
    return measure


def get_files(connections, program, *arguments):
    """A file server that is told its port and its folder and prints a line when it serves."""
    def measure(folder, seconds):
        with site() as root:
            port = free_port()
            command = [find(folder, program), *(each.format(port=port, site=root / 'site')
                                                for each in arguments)]
            with started(command) as (process, _):
                return under_wrk(process.pid, port, 'file', connections, seconds)
    return measure


def fetch(program, path, at_once, whole=False):
    """A client on the second processor; one request each if `whole`."""
    def measure(folder, seconds):
        command = find(folder, program)
        with site() as root, nginx(root) as (_, port):
            return figures_in(run([command, f'http://127.0.0.1:{port}/{path}', str(at_once),
                                   '0' if whole else str(seconds)], core=1))
    return measure
