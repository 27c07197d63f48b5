"""The rows: which programs run beside each other, and which figures are to be reached."""
from dataclasses import dataclass

from programs import alone, echo, fetch, get, get_files, get_nginx


@dataclass
class Figure:
    """One number of a row: `ours` beside the best of `peers`. Less is better, unless it says more.

    The goal is one for the ratio of the two, or for the value itself."""
    title: str
    metric: str
    unit: str
    ours: str
    peers: tuple = ()
    goal: float = None
    goal_is: str = 'ratio'
    better: str = 'less'


@dataclass
class Row:
    name: str
    family: str
    title: str
    programs: dict
    figures: list
    how: str = ''
    counts: str = 'best'


LOOPS = ('libevent', 'libuv', 'libev')


def echo_programs(busy, idle=0, manner='each'):
    def on(*server):
        return echo(manner, busy, idle, *server)
    return {
        'kiv_box': on('echo_box', 'strict'), 'kiv_box, fair rounds': on('echo_box', 'fair'),
        'zu_box': on('echo_box', 'raw'), 'libevent': on('echo_libevent'),
        'libuv': on('echo_libuv'), 'libev': on('echo_libev'),
    }


def echo_row(name, title, programs, strict=None, fair=None):
    def figure(ours, peers, goal):
        return Figure('processor time', 'cpu_us', 'us', ours, peers, goal)
    return Row(name, 'echo', f'TCP echo, {title}', programs,
               [figure('kiv_box', ('libevent',), strict),
                figure('kiv_box, fair rounds', LOOPS, fair),
                figure('zu_box', ('libevent',), None)],
               'the server\'s processor time for each 64-byte message, one under way on each busy '
               'connection')


def big_row(connections, goal):
    def on(*server):
        return echo('each', connections, 0, *server)
    return Row(
        f'bigbox-{connections}', 'bigbox', f'TCP echo, 4 threads, {connections:,} connections',
        {'kiv_bigbox': on('echo_bigbox', '4', 'strict'),
         'kiv_bigbox, fair rounds': on('echo_bigbox', '4', 'fair'),
         'libevent': on('echo_libevent', '4')},
        [Figure('processor time', 'cpu_us', 'us', ours, ('libevent',), goal)
         for ours in ('kiv_bigbox', 'kiv_bigbox, fair rounds')],
        'the server\'s processor time for each 64-byte message; all its threads on one processor')


def timer_row(count):
    def figures(ours, peer, goals):
        return [Figure(what, f'{what}_ns', 'ns', ours, (peer,), goal)
                for what, goal in zip(('add', 'remove', 'fire'), goals)]
    return Row(
        f'timers-{count}', 'timers', f'timers, {count:,} there',
        {'zu_box': alone('timers_box', 'raw', str(count)),
         'libevent': alone('timers_libevent', 'plain', str(count)),
         'kiv_box': alone('timers_box', 'checked', str(count)),
         'libevent, locked': alone('timers_libevent', 'locked', str(count))},
        figures('zu_box', 'libevent', (2.0, 1.5, 1.2)) +
        figures('kiv_box', 'libevent, locked', (None, None, None)),
        'processor time of one; intervals at random, removed at random')


def calls_row(name, title, call):
    return Row(
        name, 'calls', title,
        {'kiv_box': alone('calls_box', 'checked', call, '{}'),
         'zu_box': alone('calls_box', 'raw', call, '{}')},
        [Figure('two threads over one', 'gain', 'times', 'kiv_box', ('zu_box',), 0.9,
                better='more'),
         Figure('one call', 'one_ns', 'ns', 'kiv_box', ('zu_box',))],
        'calls a second of two threads, each on a box of its own, over those of one')


def post_row(manner, title):
    return Row(
        f'post-{manner}', 'post', title,
        {'kiv_box': alone('post_box', manner, '{}'), 'libuv': alone('post_libuv', manner, '{}')},
        [Figure('median', 'median_us', 'us', 'kiv_box', ('libuv',), 1.2),
         Figure('99th percentile', 'p99_us', 'us', 'kiv_box', ('libuv',))],
        'from the call in one thread to the function in the loop of another')


def get_row(connections):
    return Row(
        f'get-{connections}', 'http', f'GET of 1 KiB, {connections} at once',
        {'kiv_http_server': get(connections, 'get_box', 'strict'),
         'kiv_http_server, fair': get(connections, 'get_box', 'fair'),
         'libmicrohttpd': get(connections, 'get_microhttpd'),
         'nginx': get_nginx(connections, 'memory'),
         'http_files': get_files(connections, 'http_files', '--port', '{port}', '{site}'),
         'libevent, file': get_files(connections, 'libevent_server', '{port}', '{site}'),
         'nginx, file': get_nginx(connections, 'file')},
        [Figure('from memory', 'cpu_us', 'us', 'kiv_http_server', ('libmicrohttpd', 'nginx'), 1.0),
         Figure('from memory', 'cpu_us', 'us', 'kiv_http_server, fair',
                ('libmicrohttpd', 'nginx'), 1.0),
         Figure('a file', 'cpu_us', 'us', 'http_files', ('nginx, file', 'libevent, file')),
         Figure('99th percentile', 'p99_us', 'us', 'http_files', ('nginx, file',))],
        'the server\'s processor time for a request, under wrk')


def fetch_row(name, title, path, at_once, figures, whole=False):
    return Row(
        name, 'client', title,
        {'kiv_http_request': fetch('fetch_box', path, at_once, whole),
         'libcurl': fetch('fetch_curl', path, at_once, whole)},
        [Figure(*each, 'kiv_http_request', ('libcurl',), goal, better=better)
         for *each, goal, better in figures],
        'the client on one processor, nginx on the other; each request on a new connection')


def virtual_row(name, title, what, figures):
    return Row(
        name, 'virtual', title,
        {'kiv_uvc': alone('virtual_uv', what, '{}'), 'ENet': alone('virtual_enet', what, '{}')},
        [Figure(*each, 'kiv_uvc', ('ENet',), goal, better=better)
         for *each, goal, better in figures],
        'client and server in one process, each on a thread and a processor of its own')


def received(goal):
    return [('received', 'received', '/s', goal, 'more')]


ROWS = [
    echo_row('echo-1', '1 connection', echo_programs(1), 1.0, 1.0),
    echo_row('echo-10', '10 busy connections', echo_programs(10)),
    echo_row('echo-100', '100 busy connections', echo_programs(100), 1.05, 1.0),
    echo_row('echo-1000', '1,000 busy connections', echo_programs(1000), 1.1, 1.0),
    echo_row('echo-10000', '10,000 busy connections', echo_programs(10000)),
    echo_row('waves-100', '100 messages at a time', echo_programs(100, 0, 'waves'), 1.05, 1.0),
    echo_row('waves-1000', '1,000 messages at a time', echo_programs(1000, 0, 'waves'), 1.1, 1.0),
    echo_row('echo-idle', '1 busy beside 1,000 idle connections', echo_programs(1, 1000),
             1.02, 1.02),
    Row('fairness', 'fairness', '900 busy connections', echo_programs(900),
        [Figure('most over median served', 'most_over_median', 'times', 'kiv_box, fair rounds',
                ('libuv',), 1.2, 'value'),
         Figure('longest gap', 'longest_gap_ms', 'ms', 'kiv_box, fair rounds', ('libuv',), 1.5),
         Figure('a 100 ms timer late by', 'late_ms', 'ms', 'kiv_box, fair rounds', ('libuv',), 1.5)],
        'the client served most over the median one, the longest a client waited, and how late a '
        'timer came'),
    big_row(1000, 1.1),
    big_row(4000, 1.1),
    calls_row('calls-ask', 'a question about a socket', 'ask'),
    calls_row('calls-timer', 'a timer added and deleted', 'timer'),
    timer_row(1000),
    timer_row(10000),
    timer_row(50000),
    post_row('idle', 'post to a loop that sleeps'),
    post_row('flood', 'post to a loop under 4 flooding peers'),
    get_row(1),
    get_row(64),
    fetch_row('fetch-1', 'a small file, 1 at once', 'file', 1,
              [('processor time', 'cpu_us', 'us', None, 'less'),
               ('requests', 'requests', '/s', None, 'more')]),
    fetch_row('fetch-16', 'a small file, 16 at once', 'file', 16,
              [('processor time', 'cpu_us', 'us', None, 'less'),
               ('requests', 'requests', '/s', None, 'more')]),
    fetch_row('fetch-huge', 'a body of 1 GiB', 'huge', 1,
              [('body', 'mb_per_second', 'MB/s', 0.8, 'more'),
               ('memory at most', 'most_kib', 'KiB', None, 'less')], whole=True),
    virtual_row('virtual-connect', 'virtual connection, to connect', 'connect',
                [('median', 'median_us', 'us', 2.0, 'less'),
                 ('processor time of both ends', 'cpu_us', 'us', None, 'less')]),
    virtual_row('virtual-1000', 'virtual connection, 1,000 bytes', '1000', received(0.9)),
    virtual_row('virtual-100', 'virtual connection, 100 bytes', '100', received(0.2)),
    Row('memory-box', 'memory', 'an idle kiv_box', {'kiv_box': alone('memory_box', 'boxes', '1000')},
        [Figure('memory', 'total_kib', 'KiB', 'kiv_box', (), 16, 'value')],
        'resident and private to the process, and slabs, stacks and page tables of the kernel; a '
        'thousand over one', 'median'),
    Row('memory-slave', 'memory', 'an idle slave of a big box, with its thread',
        {'slave': alone('memory_box', 'slaves', '1000')},
        [Figure('memory', 'total_kib', 'KiB', 'slave', (), 16, 'value')],
        'resident and private to the process, and slabs, stacks and page tables of the kernel; a '
        'thousand over one', 'median'),
]
