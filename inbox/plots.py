"""Small drawings as SVG, to stand within a page, whose style sheet colours them. They hold numbers and escaped words."""

import datetime
import time

from markupsafe import Markup, escape

_LEFT, _WIDTH = 40, 720  # of the charts; what is left of the bars is their scale


def spark(days, count=30, width=120, height=22):
    """A bar for each of the last days: {day: count}."""
    today, step, most = int(time.time()) // 86400, width / count, max([*days.values(), 1])
    bars = []
    for number in range(count):
        if value := days.get(today - count + 1 + number):
            tall = max(1.5, value / most * (height - 2))
            bars.append(_rectangle(number * step, height - tall, step - 1, tall))
    told = f"{sum(days.values())} in {count} days, at most {most if days else 0} on one"
    bars.append(f'<title>{told}</title><line x1="0" x2="{width}" y1="{height - 0.5}" y2="{height - 0.5}"/>')
    return Markup(f'<svg class="spark" width="{width}" height="{height}" role="img">{"".join(bars)}</svg>')


def days_chart(days, count=60):
    """Reports of each day, and within them the machines: {day: (reports, machines)}."""
    first = int(time.time()) // 86400 - count + 1
    date = lambda number: datetime.date.fromordinal(719163 + first + number)
    label = lambda number, x, _: f'<text x="{x:.1f}" y="145">{date(number):%d %b}</text>' if number % 10 == 0 else ""
    return _chart([(date(number), *days.get(first + number, (0, 0))) for number in range(count)], 0.85, 130, 150, label)


def versions_chart(rows):
    """Reports and machines of each version, in the order of the rows."""
    columns = [(escape((row["version"] or "unknown")[:24]), row["count"], row["machines"]) for row in rows[-24:]]

    def label(number, x, top):
        name, count, _ = columns[number]
        turned = f'<text x="{x:.1f}" y="184" text-anchor="end" transform="rotate(-25 {x:.1f} 184)">{name}</text>'
        return f'<text x="{x:.1f}" y="{top - 4:.1f}" text-anchor="middle">{count}</text>{turned}'

    return _chart(columns, 0.7, 170, 230, label)


def _chart(columns, part, base, height, label):
    """Bars for each (name, reports, machines). label(number, middle, top) makes what is written at one."""
    step, most = (_WIDTH - _LEFT) / max(len(columns), 6), max([reports for _, reports, _ in columns] + [1])
    tall = lambda value: value / most * (base - 16)
    parts = []
    for value in sorted({0, most // 2, most}):
        y = base - tall(value)
        parts.append(f'<line x1="{_LEFT}" x2="{_WIDTH}" y1="{y:.1f}" y2="{y:.1f}"/>')
        parts.append(f'<text x="{_LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{value}</text>')
    for number, (name, *values) in enumerate(columns):
        middle = _LEFT + (number + 0.5) * step
        parts.append(label(number, middle, base - tall(values[0])))
        title = "<title>{}: {} reports of {} machines</title>".format(name, *values)
        for kind, value in zip(("reports", "machines"), values):
            bar = (middle - step * part / 2, base - tall(value), step * part, tall(value), kind, title)
            parts.append(_rectangle(*bar) if value else "")
    return Markup(f'<svg class="chart" viewBox="0 0 {_WIDTH} {height}" role="img">{"".join(parts)}</svg>')


def _rectangle(x, y, width, height, kind="", title=""):
    size = f'x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}"'
    return f'<rect class="{kind}" {size}>{title}</rect>'
