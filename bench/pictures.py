"""Pictures of the figures: SVG that needs nothing to be looked at, for light and dark pages."""
import math
from html import escape

WIDTH = 760
LEFT, RIGHT = 190, 120  # room for the names of bars, and for their numbers
BAR, GAP = 13, 7

STYLE = """
  .paper { fill: #fcfcfb } .grid { stroke: #e1e0d9 } .axis { stroke: #8a8984 }
  text { font: 13px "DejaVu Sans", Verdana, sans-serif; fill: #0b0b0b }
  .quiet { fill: #52514e; font-size: 12px } .strong { font-weight: bold }
  .end { text-anchor: end } .mid { text-anchor: middle } .spread { stroke: #52514e }
  .goal { stroke: #0b0b0b; stroke-width: 1.5; stroke-dasharray: 3 2 }
  path { fill: none; stroke-width: 2; stroke-linejoin: round }
  %s
  @media (prefers-color-scheme: dark) {
    .paper { fill: #1a1a19 } .grid { stroke: #2c2c2a } .axis { stroke: #77766f }
    text { fill: #ffffff } .quiet { fill: #c3c2b7 } .spread { stroke: #c3c2b7 }
    .goal { stroke: #ffffff }
    %s
  }
"""
# The library and four peers, on light and on dark.
HERE, FAIR = ('#2a78d6', '#3987e5'), ('#1baf7a', '#199e70')
PEERS = (('#a3a29b', '#7c7b75'), ('#eb6834', '#d95926'), ('#eda100', '#c98500'),
         ('#4a3aa7', '#9085e9'), ('#e87ba4', '#d55181'))
COLOURS = {'kiv_box': HERE, 'kiv_box, fair rounds': FAIR, 'libevent': PEERS[1], 'libuv': PEERS[2],
           'libev': PEERS[3]}


def style(colours):
    def rules(which):
        return ' '.join(f'.c{i} {{ fill: {pair[which]}; stroke: {pair[which]} }} '
                        f'path.c{i} {{ fill: none }}' for i, pair in enumerate(colours))
    return STYLE % (rules(0), rules(1))


def number(value):
    if value >= 10000:
        return f'{value:,.0f}'
    return f'{value:.3g}' if value < 1000 else f'{value:,.0f}'


def document(title, text, height, colours, parts):
    return '\n'.join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" '
        f'height="{height}" role="img" aria-labelledby="t d">',
        f'<title id="t">{escape(title)}</title>', f'<desc id="d">{escape(text)}</desc>',
        f'<style>{style(colours)}</style>',
        f'<rect class="paper" width="{WIDTH}" height="{height}"/>', *parts, '</svg>', ''])


def label(x, y, text, kind=''):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}">{escape(text)}</text>'


def line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{kind}"/>'


# ---- Bars --------------------------------------------------------------------------------------

def groups_of(row):
    """The figures of a row that tell the same thing, each with the programs beside it."""
    groups = {}
    for figure in row['figures']:
        groups.setdefault((figure['title'], figure['metric']), []).append(figure)
    for (title, metric), figures in groups.items():
        shown = [name for name, metrics in row['series'].items()
                 if metric in metrics and any(name == each['ours'] or name in each['peers']
                                              for each in figures)]
        yield title, metric, figures, shown


def bars(title, rows):
    """One group of bars for each figure, on a scale of its own: the best of all rounds, a thin line
    from the least to the most, and a dashed line at the goal of the first program."""
    y, parts = 58, [label(20, 30, title, 'strong'),
                    label(20, 48, 'shorter is better, unless it says more; thin: all rounds; '
                          'dashed: the goal', 'quiet')]
    wide = WIDTH - LEFT - RIGHT
    for row in rows:
        for what, metric, figures, shown in groups_of(row):
            found = [(name, row['series'][name][metric]) for name in shown]
            more = ', more is better' if figures[0]['better'] == 'more' else ''
            y += 22
            parts.append(label(20, y, f'{row["title"]}: {what}, {figures[0]["unit"]}{more}'))
            y += 8
            goal = goal_of(figures[0])
            top = max([each['best'] for _, each in found] + [goal or 0]) or 1
            start = y
            for name, each in found:
                ours = any(name == figure['ours'] for figure in figures)
                mark = (goal or 0) * wide / top if y == start else 0
                parts += bar(y, name, each, wide / top, mark, 0 if ours else 1)
                y += BAR + GAP
            if goal:
                x = LEFT + goal * wide / top
                parts.append(line(x, start - 2, x, start + BAR + 2, 'goal'))
    text = '; '.join(f'{row["title"]}, {figure["title"]}: {figure["ours"]} '
                     f'{number(figure["value"])} {figure["unit"]}'
                     for row in rows for figure in row['figures'])
    return document(title, text, y + 16, (HERE, PEERS[0]), parts)


def goal_of(figure):
    if figure['goal'] is None or figure['goal_is'] == 'value':
        return figure['goal']
    return figure['peer_value'] and figure['peer_value'] * figure['goal']


def bar(y, name, found, scale, mark, colour):
    """The number stands right of all that is drawn, a mark included."""
    wide = WIDTH - LEFT - RIGHT
    length = max(found['best'] * scale, 1)
    low, high = (LEFT + min(found[end] * scale, wide + 6) for end in ('min', 'max'))
    middle = y + BAR / 2
    return [label(LEFT - 8, y + 11, name, 'end quiet'),
            f'<rect class="c{colour}" x="{LEFT}" y="{y}" width="{length:.1f}" height="{BAR}" '
            'rx="2" stroke="none"/>',
            line(low, middle, high, middle, 'spread'),
            label(max(LEFT + max(length, mark), high) + 8, y + 11, number(found['best']))]


# ---- Lines -------------------------------------------------------------------------------------

def apart(places, step=15):
    """Moves labels down until none lies on another."""
    moved, last = {}, -math.inf
    for name, y in sorted(places.items(), key=lambda each: each[1]):
        last = max(y, last + step)
        moved[name] = last
    return moved


def lines(title, text, series, x_axis, y_axis):
    """Curves by name, each a list of (x, y); an axis is (caption, ticks, the place of a value)."""
    top, bottom, left, right = 64, 360, 70, 170
    (x_caption, x_ticks, x_place), (y_caption, y_ticks, y_place) = x_axis, y_axis

    def at(x, y):
        return (left + x_place(x) * (WIDTH - left - right), bottom - y_place(y) * (bottom - top))
    parts = [label(20, 30, title, 'strong'), label(20, 50, y_caption, 'quiet'),
             label((left + WIDTH - right) / 2, bottom + 40, x_caption, 'mid quiet')]
    for value, name in y_ticks:
        y = at(x_ticks[0][0], value)[1]
        parts += [line(left, y, WIDTH - right, y, 'grid'), label(left - 8, y + 4, name, 'end quiet')]
    for value, name in x_ticks:
        parts.append(label(at(value, y_ticks[0][0])[0], bottom + 20, name, 'mid quiet'))
    parts.append(line(left, bottom, WIDTH - right, bottom, 'axis'))
    ends = {}
    for i, (name, points) in enumerate(series.items()):
        places = [at(*point) for point in points]
        parts.append(f'<path class="c{i}" d="M' + ' L'.join(f'{x:.1f},{y:.1f}'
                                                          for x, y in places) + '"/>')
        if len(places) < 10:
            parts += [f'<circle class="c{i}" cx="{x:.1f}" cy="{y:.1f}" r="3"/>' for x, y in places]
        ends[name] = places[-1]
    for i, name in enumerate(series):
        y = apart({each: place[1] for each, place in ends.items()})[name]
        parts += [f'<circle class="c{i}" cx="{WIDTH - right + 14}" cy="{y:.1f}" r="4"/>',
                  label(WIDTH - right + 24, y + 4, name)]
    return document(title, text, bottom + 56, [COLOURS[name] for name in series], parts)


def log_place(low, high):
    return lambda value: (math.log10(max(value, low)) - math.log10(low)) / (
        math.log10(high) - math.log10(low))


def cost(rows):
    """What a message costs against the number of connections."""
    series = {}
    for row in rows:
        for name, metrics in row['series'].items():
            if name in COLOURS:
                series.setdefault(name, []).append((int(row['name'].removeprefix('echo-')),
                                                    metrics['cpu_us']['best']))
    top = max(y for points in series.values() for _, y in points) * 1.1
    step = 10 ** math.floor(math.log10(top / 2))
    step *= 2 if top / step > 8 else 1
    ticks = [(i * step, f'{i * step:g}') for i in range(int(top / step) + 1)]
    return lines('An echo of 64 bytes against the number of busy connections',
                 'Processor time of the server for each message.', series,
                 ('busy connections', [(10 ** i, f'{10 ** i:,}') for i in range(5)],
                  log_place(1, 10000)),
                 ('us of the server\'s processor time for each message', ticks,
                  lambda value: value / top))


def fairness(row):
    """How often each client was served, from the least to the most."""
    series = {}
    for name, metrics in row['series'].items():
        if name in COLOURS:
            served = metrics['served'][0]
            series[name] = [(100 * i / (len(served) - 1), each) for i, each in enumerate(served)]
    top = max(y for points in series.values() for _, y in points)
    decades = range(int(math.log10(top)) + 1)
    return lines('How often each of 900 busy clients was served',
                 'Messages answered for each client in the same time.', series,
                 ('clients, from the least served to the most served, %',
                  [(i, str(i)) for i in range(0, 101, 25)], lambda value: value / 100),
                 (f'messages answered in {row["seconds"]:g} s',
                  [(0, '0')] + [(10 ** i, f'{10 ** i:,}') for i in decades],
                  lambda value: 0 if value < 0.5 else log_place(0.4, top)(value)))
