"""The rows of the benchmarks' tables: what is compared with what, and the target."""

import dataclasses

MIB = 1 << 20
LARGE = 64 * MIB
FULL_HD, UHD = 1920 * 1080, 3840 * 2160


@dataclasses.dataclass(frozen=True)
class Row:
    """kind: how ours and the peer's figure make the one that has the target.
    "faster": peer / ours, at least; "share": peer / ours where the peer is the limit, at least; "times": ours / peer,
    at most; "more": ours - peer, at most; "most": ours alone, at most. Without a target the contract leaves no choice.
    """

    label: str
    row: str
    work: int
    peer: str
    kind: str
    target: float | None
    ours: str = "ours"
    unit: str = "ms"

    def judge(self, figures):
        ours, peer, compared = self.compare(figures)
        if self.target is None:
            return ours, peer, compared, None
        return (
            ours,
            peer,
            compared,
            compared >= self.target if self.kind in ("faster", "share") else compared <= self.target,
        )

    def compare(self, figures):
        ours = figures.get(self.row, self.work, self.ours)
        if self.kind == "most":
            return ours, None, ours
        peer = figures.get(self.row, self.work, self.peer)
        if self.kind == "more":
            return ours, peer, ours - peer
        if self.kind == "times":
            return ours, peer, ours / peer
        return ours, peer, peer / ours

    def shown_target(self):
        if self.target is None:
            return "-"
        return {
            "faster": f">= {self.target:g} x",
            "share": f">= {self.target:g}",
            "times": f"<= {self.target:g} x",
            "more": f"<= +{self.target:g} {self.unit}",
            "most": f"<= {self.target:g} {self.unit}",
        }[self.kind]


def _codec():
    for size, label, row in (
        (48 << 10, "48 KB", "base64 encode, from memory"),
        (48 << 10, "48 KB in the cache", "base64 encode"),
        (LARGE, "64 MB", "base64 encode"),
    ):
        yield Row(f"base64, encode {label}: share of a copy's rate", row, size, "copy", "share", 0.6)
        yield Row(f"base64, encode {label}, plain code: the same", row, size, "copy", "share", 0.3, "ours, plain")
    for size, label in ((48 << 10, "48 KB"), (LARGE, "64 MB")):
        for peer in ("OpenSSL", "GLib"):
            yield Row(f"base64, encode {label} (64 bits)", "base64 encode, 64 bits", size, peer, "faster", 1)
            yield Row(f"base64, decode {label} (64 bits)", "base64 decode, 64 bits", size, peer, "faster", 2)


RESAMPLED = [
    (f"resample {size}, {bits} bits", work)
    for bits in (24, 32)
    for size, work in (("1920 x 1080", FULL_HD), ("3840 x 2160", UHD))
]


def _resample():
    for row, work in RESAMPLED:
        yield Row(row, row, work, "stb_image_resize", "faster", 8, "ours, AVX2")
        yield Row(row, row, work, "GDI+ bicubic", "faster", 1, "ours, AVX2")
        yield Row(f"{row}: of reading it once", row, work, "reading once", "times", 4, "ours, AVX2")
        yield Row(
            f"{row}: SSE code afterwards",
            f"{row}, SSE code afterwards",
            work,
            "undisturbed",
            "times",
            1.25,
            "afterwards",
        )
        yield Row(f"{row}: rms error", f"{row}, error", work, "stb_image_resize", "times", 1, "ours, AVX2", "levels")
    for width in (640, 1024, 1280, 1920, 2048, 2560, 3072, 3840, 4096, 5120, 6144, 6400, 7680, 8192):
        yield Row(
            f"resample from a width of {width}: AVX2 beside SSE2",
            f"resample from a width of {width}",
            width * (width * 9 // 16),
            "ours, SSE2",
            "faster",
            1,
            "ours, AVX2",
        )


ROWS = [
    *_codec(),
    Row("message with 64 MB attached", "message", LARGE, "GMime", "faster", 1),
    Row("message with 64 MB attached: peak memory", "message, peak memory", LARGE, "", "most", 2.1, unit="x its size"),
    Row("upload body of 6 x 8 MB", "upload body", 6 * 8000 * 1024, "reading plainly", "times", 1.5),
    *_resample(),
    Row("from fault to dialog", "dialog", FULL_HD, "box", "more", 30, "dialog"),
    Row("from fault to dialog, with screenshot", "dialog", FULL_HD, "box", "more", 60, "screenshot"),
    Row("the same beside a box after a bare copy of the screen", "dialog", FULL_HD, "grab", "more", 60, "screenshot"),
    Row("from answer to message, 0.6 MB attached", "answer", LARGE // 100, "unavoidable", "more", 20),
    Row("the same with a fault description", "answer", LARGE // 100, "unavoidable", "more", 20, "ours, with faultkit"),
    *(
        Row(f"{row}, 200 lines", row, 200, "std::string", "faster", target)
        for row, target in (
            ("text: append", None),
            ("text: append, capacity reserved", 1),
            ("text: sums", 1),
            ("text: pieces of paths", None),
            ("text: replace all", 1),
        )
    ),
    Row("loading Wendax.dll after the system's libraries", "load", 1, "", "most", 1, "after the system's libraries"),
    Row(
        "the same beside two DLLs that do nothing",
        "load",
        1,
        "two empty DLLs",
        "more",
        1,
        "after the system's libraries",
    ),
    Row("the same: private memory", "load, private memory", 1, "", "most", 256, "after the system's libraries", "KB"),
    Row("covering the process, once at its start", "cover", 1, "", "most", 1),
    Row("the same: threads", "cover, threads", 1, "", "most", 1, unit="more"),
    Row(
        "a C++ exception, thrown and caught in a covered process",
        "cover, exception",
        1,
        "uncovered",
        "times",
        1.1,
        unit="us",
    ),
    # A thousand of them: the milliseconds of all are the microseconds of one.
    Row("a note of the host's (AddFaultNote)", "notes", 1000, "", "most", 1, unit="us"),
    Row("the same beside its author's", "notes", 1000, "printf into a locked ring", "faster", 1, unit="us"),
    Row("the same beside the system's", "notes", 1000, "OutputDebugString", "faster", 1, unit="us"),
]

# Rows of what the 64-bit DLLs do, in the tables and in the file of figures. Native rows are there once.
OF_64_BITS = "64-bit DLLs: "
BESIDE_32_BITS = "32-bit DLLs"
ROWS_OF_64_BITS = [
    *(
        dataclasses.replace(row, label=OF_64_BITS + row.label, row=OF_64_BITS + row.row)
        for row in ROWS
        if not row.row.endswith(", 64 bits")
    ),
    *(
        Row(f"{OF_64_BITS}{row}", OF_64_BITS + row, work, BESIDE_32_BITS, "faster", 1, "ours, AVX2")
        for row, work in RESAMPLED
    ),
]

# What grows: the label, the row, its contestant, and three amounts of work, each ten times the one before.
GROWTH = [
    ("base64, encode 48 KB", "base64 encode", "ours", (48 << 10, 480 << 10, 4800 << 10)),
    ("base64, decode to 48 KB", "base64 decode", "ours", (48 << 10, 480 << 10, 4800 << 10)),
    ("message with 0.6 MB attached", "message", "ours", (LARGE // 100, LARGE // 10, LARGE)),
    ("upload body of 6 x 80 KB", "upload body", "ours", tuple(6 * size * 1024 for size in (80, 800, 8000))),
    ("from answer to message, 0.6 MB attached", "answer", "ours", (LARGE // 100, LARGE // 10, LARGE)),
    *(
        (f"{row}, 20 lines", row, "ours", (20, 200, 2000))
        for row in (
            "text: append",
            "text: append, capacity reserved",
            "text: sums",
            "text: pieces of paths",
            "text: replace all",
        )
    ),
]


def number(value):
    return "" if value is None else f"{value:.3f}" if value < 10 else f"{value:.1f}"


def table(figures, rows):
    lines = [
        "| What | Ours | Peer | Peer's | Compared | Target | Met |",
        "| --- | ---: | --- | ---: | ---: | ---: | --- |",
    ]
    for row in rows:
        ours, peer, compared, met = row.judge(figures)
        lines.append(
            f"| {row.label} | {number(ours)} {row.unit} | {row.peer} | {number(peer)} | {number(compared)} | "
            f"{row.shown_target()} | {'-' if met is None else 'yes' if met else 'NO'} |"
        )
    return "\n".join(lines) + "\n"


def growth(figures):
    lines = ["| What | Once | 10 times | 100 times | Growth |", "| --- | ---: | ---: | ---: | ---: |"]
    grown = [(label, [figures.get(row, work, who) for work in works]) for label, row, who, works in GROWTH]
    sizes = [("640 x 324", 640 * 324), ("1920 x 1080", FULL_HD), ("6400 x 3240", 6400 * 3240)]
    resampled = [figures.get(f"resample {name}, 24 bits", work, "ours, AVX2") for name, work in sizes]
    for label, (once, ten, hundred) in [*grown, ("resample 640 x 324, 24 bits", resampled)]:
        times = " | ".join(f"{number(value)} ms" for value in (once, ten, hundred))
        lines.append(f"| {label} | {times} | {ten / once:.1f}, {hundred / ten:.1f} |")
    return "\n".join(lines) + "\n"
