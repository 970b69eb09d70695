"""Draws docs/images/benchmarks.svg from docs/benchmarks.csv: how many times as fast as each peer. The rows in which
our own loops of two kinds compete are left out.

usage: PYTHONPATH=. python3 scripts/lib/bench_plot.py
"""

import csv
import math

import bench_rows
from testing.processes import REPO

LABELS, BARS, LINE, TOP = 420, 420, 22, 46
COLOUR, LIMIT = "#2f6690", "#c8553d"


class Kept:
    """The figures of the file."""

    def __init__(self, path):
        with open(path, encoding="ascii", newline="") as file:
            self.values = {
                (line["row"], int(line["work"]), line["contestant"]): float(line["median"])
                for line in csv.DictReader(file)
            }

    def has(self, row):
        """False for a row that is newer than the file."""
        return (row.row, row.work, row.ours) in self.values

    def get(self, row, work, contestant):
        return self.values[row, work, contestant]


def text(x, y, words, anchor="start"):
    words = words.replace("&", "&amp;").replace("<", "&lt;")
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}">{words}</text>'


def drawn():
    figures = Kept(REPO / "docs" / "benchmarks.csv")
    bars = [
        (f"{row.label}: {row.peer}", row.judge(figures)[2], row.target)
        for row in [*bench_rows.ROWS, *bench_rows.ROWS_OF_64_BITS]
        if row.kind == "faster" and row.peer != "ours, SSE2" and figures.has(row)
    ]
    decades = math.ceil(math.log10(max(ratio for _, ratio, _ in bars)))
    low = min(0, math.floor(math.log10(min(ratio for _, ratio, _ in bars))))

    def x(ratio):
        return LABELS + BARS * (math.log10(ratio) - low) / (decades - low)

    height = TOP + LINE * len(bars) + 10
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{LABELS + BARS + 60}" height="{height}" '
        'font-family="sans-serif" font-size="12">',
        '<rect width="100%" height="100%" fill="#ffffff"/>',
        text(10, 18, "How many times as fast as the peer (red: the target)"),
    ]
    for power in range(low, decades + 1):
        out.append(f'<path d="M{x(10 ** power):.0f} {TOP - 8} V{height}" stroke="#cccccc"/>')
        out.append(text(x(10**power), TOP - 12, f"{10 ** power:g}", "middle"))
    for i, (label, ratio, target) in enumerate(bars):
        y = TOP + LINE * i
        left, right = sorted((x(1), x(ratio)))
        out.append(text(LABELS - 8 - (LABELS - x(10**low)), y + 14, label, "end"))
        out.append(f'<rect x="{left:.1f}" y="{y + 3}" width="{right - left:.1f}" height="{LINE - 7}" fill="{COLOUR}"/>')
        if target:
            out.append(f'<path d="M{x(target):.1f} {y + 1} v{LINE - 3}" stroke="{LIMIT}" stroke-width="2"/>')
        out.append(text(right + 5, y + 14, f"{ratio:.2g}" if ratio < 10 else f"{ratio:.0f}"))
    out.append("</svg>")
    return "\n".join(out) + "\n"


def main():
    (REPO / "docs" / "images" / "benchmarks.svg").write_text(drawn(), "ascii")


if __name__ == "__main__":
    main()
