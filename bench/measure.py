#!/usr/bin/env python3
"""Measures the library beside its peers and writes the figures as JSON.

  bench/measure.py                        all rows, from build/bench/bin
  bench/measure.py echo-100 'timers.*'    some rows, by regular expressions
  bench/measure.py --list                 their names

  --rounds N      how often each program of a row runs, one after the other in turn (7)
  --seconds S     how long a program measures (0.5)
  --only REGEX    of each row only the programs whose name matches
  --build FOLDER  where the programs are
  --out FILE      the figures are added to this file, row by row

A program that was not built because its peer is not installed is left out, and named at the end.
The best of all rounds counts; the file has every sample. draw.py makes tables and pictures of it.
"""
import argparse
import json
import os
import platform
import re
import statistics
import subprocess
import sys
import time
from pathlib import Path

sys.dont_write_bytecode = True
import programs
from rows import ROWS

PEERS = ('libevent-dev', 'libuv1-dev', 'libev-dev', 'libmicrohttpd-dev', 'nginx-light',
         'libcurl4-openssl-dev', 'libenet-dev', 'wrk')


def output_of(*command):
    try:
        done = subprocess.run(command, capture_output=True, text=True, check=False)
    except FileNotFoundError:
        return ''
    return done.stdout.strip()


def machine(build):
    """Where the figures come from."""
    model = re.search(r'model name\s*:\s*(.*)', Path('/proc/cpuinfo').read_text())
    compiler = re.search(r'CMAKE_CXX_COMPILER:\w+=(.*)', (build / 'CMakeCache.txt').read_text())
    versions = {name: output_of('dpkg-query', '-W', '-f=${Version}', name) for name in PEERS}
    return {
        'model': model.group(1) if model else platform.processor(),
        'cores': os.cpu_count(),
        'kernel': f'{platform.system()} {platform.release()}',
        'compiler': output_of(compiler.group(1), '--version').split('\n')[0],
        'peers': {name: version for name, version in versions.items() if version},
    }


def commit():
    here = Path(__file__).parent
    return output_of('git', '-C', here, 'describe', '--always', '--dirty', '--exclude=*')


def spread(samples, row, metric):
    """Of a row that `counts` the median, that stands for the best."""
    better = {figure.metric: figure.better for figure in row.figures}.get(metric)
    best = statistics.median if row.counts == 'median' else max if better == 'more' else min
    return {'best': best(samples), 'min': min(samples), 'median': statistics.median(samples),
            'max': max(samples), 'samples': samples}


def figure_of(figure, series):
    """A figure beside the best of its peers; None without its own program."""
    ours = series.get(figure.ours, {}).get(figure.metric)
    if not ours:
        return None
    best = max if figure.better == 'more' else min
    peers = {name: series[name][figure.metric]['best'] for name in figure.peers if name in series}
    found = {'title': figure.title, 'metric': figure.metric, 'unit': figure.unit,
             'better': figure.better, 'ours': figure.ours, 'peers': figure.peers,
             'value': ours['best'],
             'peer': None, 'peer_value': None, 'ratio': None,
             'goal': figure.goal, 'goal_is': figure.goal_is, 'met': None}
    if peers:
        found['peer'] = best(peers, key=peers.get)
        found['peer_value'] = peers[found['peer']]
        found['ratio'] = ours['best'] / found['peer_value'] if found['peer_value'] else None
    reached = found['ratio'] if figure.goal_is == 'ratio' else ours['best']
    if figure.goal is not None and reached is not None:
        found['met'] = reached >= figure.goal if figure.better == 'more' else reached <= figure.goal
    return found


def busy_seconds():
    """What all processors have worked, and this program's ended children of it."""
    user, nice, system, _, _, interrupts, soft, *_ = (
        int(each) / os.sysconf('SC_CLK_TCK')
        for each in Path('/proc/stat').read_text().split('\n')[0].split()[1:])
    times = os.times()
    return (user + nice + system + interrupts + soft,
            times.user + times.system + times.children_user + times.children_system)


def measure(row, args, absent, failures):
    samples = {}
    start, (all_before, own_before) = time.monotonic(), busy_seconds()
    for _ in range(args.rounds):
        for name, run in row.programs.items():
            if not re.search(args.only, name):
                continue
            try:
                metrics = run(args.build / 'bin', args.seconds)
            except programs.Absent as missing:
                absent.add(str(missing))
                continue
            except programs.Failed as failure:
                failures.append(f'{row.name}, {name}: {failure}')
                continue
            for metric, value in metrics.items():
                samples.setdefault(name, {}).setdefault(metric, []).append(value)
    series = {name: {metric: values if isinstance(values[0], list)
                     else spread(values, row, metric)
                     for metric, values in metrics.items()}
              for name, metrics in samples.items()}
    all_after, own_after = busy_seconds()
    others = (all_after - all_before) - (own_after - own_before)
    figures = [figure_of(figure, series) for figure in row.figures]
    return {'name': row.name, 'family': row.family, 'title': row.title, 'how': row.how,
            'rounds': args.rounds, 'seconds': args.seconds, 'commit': commit(),
            'date': time.strftime('%Y-%m-%d'),
            'others_percent': max(0, round(100 * others / (time.monotonic() - start))),
            'figures': [each for each in figures if each],
            'series': series}


def show(row):
    print(f'\n{row["name"]}: {row["title"]} (other programs took {row["others_percent"]} % of a '
          'processor)')
    for figure in row['figures']:
        beside = '' if figure['peer'] is None else (
            f'   {figure["peer"]} {figure["peer_value"]:.4g}' +
            ('' if figure['ratio'] is None else f'   ratio {figure["ratio"]:.2f}'))
        goal = '' if figure['goal'] is None else (
            f'   goal {figure["goal"]:g}' + ('' if figure['goal_is'] == 'ratio' else ' itself') +
            ('' if figure['met'] is None else ': reached' if figure['met'] else ': missed'))
        print(f'  {figure["title"]}, {figure["ours"]}: {figure["value"]:.4g} {figure["unit"]}'
              f'{beside}{goal}')
    for name, metrics in row['series'].items():
        shown = (f'{metric} {found["min"]:.4g}/{found["median"]:.4g}/{found["max"]:.4g}'
                 for metric, found in metrics.items() if isinstance(found, dict))
        print(f'    {name:<22}', '  '.join(shown))
    sys.stdout.flush()


def save(path, args, row):
    figures = json.loads(path.read_text()) if path.exists() else {'rows': []}
    figures['machine'] = machine(args.build)
    rows = {each['name']: each for each in figures['rows']} | {row['name']: row}
    figures['rows'] = [rows[each.name] for each in ROWS if each.name in rows]
    path.write_text(json.dumps(figures, indent=1) + '\n')


def main():
    options = argparse.ArgumentParser(usage=__doc__)
    options.add_argument('rows', nargs='*')
    options.add_argument('--list', action='store_true')
    options.add_argument('--rounds', type=int, default=7)
    options.add_argument('--seconds', type=float, default=0.5)
    options.add_argument('--only', default='')
    options.add_argument('--build', type=Path, default=Path(__file__).parents[1] / 'build/bench')
    options.add_argument('--out', type=Path)
    args = options.parse_args()
    wanted = [row for row in ROWS
              if not args.rows or any(re.fullmatch(each, row.name) for each in args.rows)]
    if not wanted:
        options.error('no such row; see --list')
    if args.list:
        print('\n'.join(f'{row.name:<16} {row.title}' for row in wanted))
        return
    absent, failures = set(), []
    for row in wanted:
        found = measure(row, args, absent, failures)
        if not found['series']:
            continue
        show(found)
        if args.out:
            save(args.out, args, found)
    if absent:
        print('\nLeft out, as they were not built or are not installed:', ', '.join(sorted(absent)))
    if failures:
        raise SystemExit('\nFailed:\n' + '\n'.join(failures))


if __name__ == '__main__':
    main()
