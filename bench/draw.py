#!/usr/bin/env python3
"""Draws the figures of measure.py: SVG pictures, and tables in a Markdown file.

  bench/draw.py FIGURES.json --pictures FOLDER     bench_FAMILY.svg for each family, and the curves
                                                   bench_cost.svg and bench_fairness_curve.svg
  bench/draw.py FIGURES.json --tables FILE.md      fills in what stands between
                                                   <!-- figures: FAMILY --> and <!-- end -->
"""
import argparse
import json
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
import pictures

TITLES = {
    'echo': 'TCP echo, processor time of the server for each message',
    'fairness': 'Fairness among 900 busy connections', 'bigbox': 'TCP echo on four threads',
    'calls': 'Calls from two threads', 'timers': 'Timers', 'post': 'Posting to a loop',
    'http': 'HTTP server, processor time for each request', 'client': 'HTTP client',
    'virtual': 'Virtual connections', 'memory': 'Memory',
}


def draw(figures, folder):
    folder.mkdir(parents=True, exist_ok=True)
    rows = figures['rows']
    for family, title in TITLES.items():
        of_family = [row for row in rows if row['family'] == family]
        if of_family:
            write(folder / f'bench_{family}.svg', pictures.bars(title, of_family))
    against = [row for row in rows if re.fullmatch(r'echo-\d+', row['name'])]
    if against:
        write(folder / 'bench_cost.svg', pictures.cost(against))
    for row in rows:
        if row['name'] == 'fairness':
            write(folder / 'bench_fairness_curve.svg', pictures.fairness(row))


def write(path, text):
    path.write_text(text)
    print(path)


def goal_text(figure):
    if figure['goal'] is None:
        return ''
    sign = 'at least' if figure['better'] == 'more' else 'at most'
    unit = f' {figure["unit"]}' if figure['goal_is'] == 'value' else ''
    return f'{sign} {figure["goal"]:g}{unit}'


def table(rows):
    if not any(row['figures'] for row in rows):
        return 'Not measured yet.'
    lines = ['| Row | Here | Peer | Ratio | Goal |', '| --- | --- | --- | --- | --- |']
    for row in rows:
        for figure in row['figures']:
            unit = figure['unit']
            peer = '' if figure['peer'] is None else (
                f'{pictures.number(figure["peer_value"])} {unit} ({figure["peer"]})')
            ratio = '' if figure['ratio'] is None else f'{figure["ratio"]:.2f}'
            lines.append(f'| {row["title"]}: {figure["title"]}, {figure["ours"]} '
                         f'| {pictures.number(figure["value"])} {unit} | {peer} | {ratio} '
                         f'| {goal_text(figure)} |')
    return '\n'.join(lines)


def machine(figures):
    """One paragraph on where the figures come from."""
    of, rows = figures['machine'], figures['rows']
    commits = sorted({f'{row["date"]} at {row["commit"]}' for row in rows})
    peers = ', '.join(f'{name} {version}' for name, version in of['peers'].items())
    others = max(row.get('others_percent', 0) for row in rows)
    return (f'{of["model"]}, {of["cores"]} cores, {of["kernel"]}, {of["compiler"]}; '
            f'{"; ".join(commits)}. Meanwhile other programs took up to {others} % of a processor. '
            f'Peers: {peers}.')


def fill_in(figures, path):
    text = path.read_text()

    def filled(found):
        family = found.group(1)
        rows = [row for row in figures['rows'] if row['family'] == family]
        inside = machine(figures) if family == 'machine' else table(rows)
        return f'<!-- figures: {family} -->\n{inside}\n<!-- end -->'
    path.write_text(re.sub(r'<!-- figures: (\w+) -->\n.*?<!-- end -->', filled, text, flags=re.S))


def main():
    options = argparse.ArgumentParser(usage=__doc__)
    options.add_argument('figures', type=Path)
    options.add_argument('--pictures', type=Path)
    options.add_argument('--tables', type=Path)
    args = options.parse_args()
    figures = json.loads(args.figures.read_text())
    if args.pictures:
        draw(figures, args.pictures)
    if args.tables:
        fill_in(figures, args.tables)


if __name__ == '__main__':
    main()
