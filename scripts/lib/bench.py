"""Runs the benchmarks that scripts/bench has built, and prints their tables."""

import argparse
import collections
import contextlib
import csv
import os
import pathlib
import shutil
import statistics
import subprocess
import tempfile

import bench_plot
import bench_rows
from testing.desktop import Desktop
from testing.image import X64, X86
from testing.prefix import fresh_prefix
from testing.processes import REPO
from testing.product import DLLS
from testing.wine import Wine

BINS = {X86: REPO / "build" / "windows" / "bin", X64: REPO / "build" / "windows-x64" / "bin"}
NATIVE = REPO / "build" / "native-release" / "bench"
MIB = 1 << 20


class Figures:
    """What was measured: for a row, an amount of work and a contestant, the values of all runs."""

    def __init__(self):
        self.values = collections.defaultdict(list)

    def add(self, row, work, contestant, value):
        self.values[row, int(work), contestant].append(float(value))

    def add_lines(self, text, mark=""):
        for line in text.splitlines():
            row, work, contestant, median, _least = line.split("\t")
            self.add(mark + row, float(work), contestant, median)

    def get(self, row, work, contestant):
        return statistics.median(self.values[row, work, contestant])

    def __iter__(self):
        return ((*key, statistics.median(values)) for key, values in self.values.items())


class Bench:
    """The benchmarks of what is built for a machine; their figures go to those of all, under rows that are marked."""

    def __init__(self, rounds, stack, figures, machine):
        self.rounds, self.stack, self.figures, self.stack_use = rounds, stack, figures, {}
        self.machine, self.bin = machine, BINS[machine]
        self.mark = machine.choose("", bench_rows.OF_64_BITS)
        self.prefix = stack.enter_context(fresh_prefix(machine))
        # Programs without a display would take its windows.
        self.desktop_prefix = stack.enter_context(fresh_prefix(machine))
        self.folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory(dir=self.prefix.drive_c)))

    def wine(self, program, *args, desktop=None, **options):
        options = {"cwd": self.folder, "limit": 900, "check": True, **options}
        wine = Wine(desktop, self.desktop_prefix if desktop else self.prefix)
        return wine.run(self.bin / program, *args, **options).text

    def native(self, program, *args):
        return subprocess.run(
            [NATIVE / program, *map(str, args)], check=True, text=True, stdout=subprocess.PIPE, timeout=900
        ).stdout

    def add(self, row, *figure):
        self.figures.add(self.mark + row, *figure)

    def add_lines(self, program):
        self.figures.add_lines(self.wine(program, self.rounds), self.mark)

    def codec(self):
        self.add_lines("bench_base64.exe")
        if self.machine is X86:
            self.figures.add_lines(self.native("base64/bench_base64", self.rounds))

    def in_one_program(self):
        self.add_lines("bench_resample.exe")
        self.add_lines("bench_upload_body.exe")
        self.add_lines("bench_notes.exe")

    def strings(self):
        for _ in range(3):
            self.add_lines("bench_strings.exe")
            self.add_lines("bench_strings_std.exe")

    def message(self):
        message = self.folder / "message.eml"
        for size in (64 * MIB // 100, 64 * MIB // 10, 64 * MIB):
            file = self.folder / "attachment.bin"
            file.write_bytes(os.urandom(size))
            for _ in range(max(3, self.rounds // 3)):
                for who, run in (
                    ("ours", lambda *paths: self.wine("bench_compose.exe", *map(self.prefix.to_windows, paths))),
                    ("GMime", lambda *paths: self.native("compose/compose_gmime", *paths)),
                ):
                    milliseconds, peak = run(file, message).split()
                    self.add("message", size, who, milliseconds)
                    self.add("message, peak memory", size, who, float(peak) / message.stat().st_size)

    def load(self):
        for _ in range(self.rounds):
            for who, args in (
                ("after the system's libraries", ["Wendax.dll", "system"]),
                ("alone", ["Wendax.dll"]),
                ("two empty DLLs", ["bench_empty.dll", "system"]),
            ):
                milliseconds, private = self.wine("bench_load.exe", *args).split()
                self.add("load", 1, who, milliseconds)
                self.add("load, private memory", 1, who, float(private) / 1024)

    def cover(self):
        for _ in range(self.rounds):
            milliseconds, threads, before, after = self.wine("bench_cover.exe").split()
            self.add("cover", 1, "ours", milliseconds)
            self.add("cover, threads", 1, "ours", threads)
            self.add("cover, exception", 1, "uncovered", before)
            self.add("cover, exception", 1, "ours", after)

    def report(self, width, height, modes, rounds, attachment=0, helper=False):
        """Of a screen that large; the message's figures only with an attachment of so many bytes."""
        host = self.desktop_prefix.drive_c / "host"
        host.mkdir(exist_ok=True)
        for name in ("bench_report.exe", *DLLS):
            shutil.copy(self.bin / name, host)
        if not helper:
            (host / "faultkit.dll").unlink()
        with Desktop(width=width, height=height) as desktop:
            file = self.desktop_prefix.drive_c / "attached.bin"
            file.write_bytes(os.urandom(attachment))
            for _ in range(rounds):
                for mode in modes:
                    for left in self.desktop_prefix.temp_dir.glob("*.eml*"):
                        left.unlink()
                    args = [self.desktop_prefix.to_windows(file)] if attachment else []
                    told = self.wine(host / "bench_report.exe", mode, *args, desktop=desktop).split()
                    if not attachment:
                        self.add("dialog", width * height, mode, told[0])
                    else:
                        self.add("answer", attachment, "ours, with faultkit" if helper else "ours", told[1])
                        self.add("answer", attachment, "unavoidable", 50 + float(told[2]))

    def stack_depth(self):
        """The deepest of some runs: what the system does on the way differs."""
        with Desktop(width=1920, height=1080) as desktop:
            for _ in range(max(3, self.rounds // 3)):
                for line in self.wine("bench_stack.exe", desktop=desktop).splitlines():
                    road, deepest = line.removesuffix(" bytes").rsplit(maxsplit=1)
                    self.stack_use[road] = max(self.stack_use.get(road, 0), int(deepest))

    def run(self):
        self.load()  # before all that might still be ending in the background
        self.cover()
        self.stack_depth()
        self.report(1920, 1080, ("box", "grab", "dialog", "screenshot"), self.rounds)
        for size in (64 * MIB // 100, 64 * MIB // 10, 64 * MIB):
            self.report(1920, 1080, ("dialog",), max(3, self.rounds // 3), size)
        self.report(1920, 1080, ("dialog",), max(3, self.rounds // 3), 64 * MIB // 100, helper=True)
        self.codec()
        self.strings()
        self.message()
        self.in_one_program()


def this_machine():
    processor = next(
        line.split(":")[1].strip() for line in open("/proc/cpuinfo", encoding="ascii") if line.startswith("model name")
    )
    return f"{processor}, {os.cpu_count()} processors, load {os.getloadavg()[1]:.1f}"


def main():
    parser = argparse.ArgumentParser("scripts/bench")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("rounds", nargs="?", type=int, default=21)
    options = parser.parse_args()
    rounds = options.rounds
    with contextlib.ExitStack() as stack:
        figures = Figures()
        benches = [Bench(rounds, stack, figures, machine) for machine in BINS]
        for bench in benches:
            bench.run()
    for row, work in bench_rows.RESAMPLED:
        in_32_bits = figures.get(row, work, "ours, AVX2")
        figures.add(bench_rows.OF_64_BITS + row, work, bench_rows.BESIDE_32_BITS, in_32_bits)
    print(f"\n{rounds} rounds on {this_machine()}\n")
    print(bench_rows.table(figures, bench_rows.ROWS))
    print(bench_rows.growth(figures))
    print(bench_rows.table(figures, bench_rows.ROWS_OF_64_BITS))
    for bench in benches:
        for road, deepest in bench.stack_use.items():
            print(f"{bench.mark + road:56} {deepest:8} bytes")
    if options.keep:
        with open(REPO / "docs" / "benchmarks.csv", "w", encoding="ascii", newline="\n") as file:
            writer = csv.writer(file, lineterminator="\n")
            writer.writerow(("row", "work", "contestant", "median"))
            for row, work, contestant, value in figures:
                writer.writerow((row, work, contestant, f"{value:.6g}"))
        bench_plot.main()


if __name__ == "__main__":
    main()
