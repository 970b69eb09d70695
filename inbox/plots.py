"""Small drawings as SVG, to stand within a page. They hold numbers and escaped words, and no styles of their own: the pages'
style sheet colours them."""

import datetime
import time

from markupsafe import Markup, escape


def spark(days, count=30, width=120, height=22):
    """A bar for each of the last days: {day: count}."""
    today = int(time.time()) // 86400
    most = max([*days.values(), 1])
    step = width / count
    bars = []
    for number in range(count):
        value = days.get(today - count + 1 + number, 0)
        if value:
            tall = max(1.5, value / most * (height - 2))
            x, y = number * step, height - tall
            bars.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{step - 1:.1f}" height="{tall:.1f}"/>')
    told = f"{sum(days.values())} in {count} days, at most {most if days else 0} on one"
    return Markup(
        f'<svg class="spark" width="{width}" height="{height}" role="img"><title>{told}</title>'
        f'<line x1="0" x2="{width}" y1="{height - 0.5}" y2="{height - 0.5}"/>{"".join(bars)}</svg>'
    )


def days_chart(days, count=60, width=720, height=150):
    """Reports of each day, and within them the machines: {day: (reports, machines)}."""
    today = int(time.time()) // 86400
    most = max([reports for reports, _ in days.values()] + [1])
    left, base, step = 40, height - 20, (width - 40) / count
    tall = lambda value: value / most * (base - 12)
    parts = _scale(most, left, width, base, tall)
    for number in range(count):
        date = datetime.date.fromordinal(719163 + today - count + 1 + number)
        x = left + number * step
        if number % 10 == 0:
            parts.append(f'<text x="{x:.1f}" y="{height - 5}">{date:%d %b}</text>')
        reports, machines = days.get(today - count + 1 + number, (0, 0))
        parts += _pair(x, base, step - 2, tall, reports, machines, f"{date}")
    return Markup(f'<svg class="chart" viewBox="0 0 {width} {height}" role="img">{"".join(parts)}</svg>')


def versions_chart(rows, width=720, height=230):
    """Reports and machines of each version, in the order of the rows."""
    rows = rows[-24:]
    most = max([row["count"] for row in rows] + [1])
    left, base, step = 40, height - 60, (width - 40) / max(len(rows), 6)
    tall = lambda value: value / most * (base - 16)
    parts = _scale(most, left, width, base, tall)
    for number, row in enumerate(rows):
        x, name = left + number * step + step * 0.15, escape((row["version"] or "unknown")[:24])
        middle = x + step * 0.35
        parts += _pair(x, base, step * 0.7, tall, row["count"], row["machines"], name)
        above = base - tall(row["count"]) - 4
        parts.append(f'<text x="{middle:.1f}" y="{above:.1f}" text-anchor="middle">{row["count"]}</text>')
        turn = f'transform="rotate(-25 {middle:.1f} {base + 14})"'
        parts.append(f'<text x="{middle:.1f}" y="{base + 14}" text-anchor="end" {turn}>{name}</text>')
    return Markup(f'<svg class="chart" viewBox="0 0 {width} {height}" role="img">{"".join(parts)}</svg>')


def _pair(x, base, width, tall, reports, machines, name):
    """A bar of reports and before it one of machines."""
    title = f"<title>{name}: {reports} reports of {machines} machines</title>"
    for kind, value in (("reports", reports), ("machines", machines)):
        if value:
            y, high = base - tall(value), tall(value)
            yield f'<rect class="{kind}" x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{high:.1f}">{title}</rect>'


def _scale(most, left, right, base, tall):
    marks = sorted({0, most // 2, most} if most > 1 else {0, 1})
    return [
        f'<line x1="{left}" x2="{right}" y1="{base - tall(value):.1f}" y2="{base - tall(value):.1f}"/>'
        f'<text x="{left - 6}" y="{base - tall(value) + 4:.1f}" text-anchor="end">{value}</text>'
        for value in marks
    ]
