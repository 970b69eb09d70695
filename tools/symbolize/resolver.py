"""From the frames of a report to functions, files and lines, by llvm-symbolizer."""

import dataclasses
import json
import os
import pathlib
import shutil
import subprocess
import tempfile

import images
import pdbs
import report

_LIMIT_SECONDS = 600


class NoSymbolizer(Exception):
    """There is no usable llvm-symbolizer."""


@dataclasses.dataclass(frozen=True)
class Answer:
    lines: list  # of the stack trace
    threads: list  # lines about the other threads
    remarks: list  # about PDBs
    incomplete: bool  # a PDB was missing or did not match


@dataclasses.dataclass(frozen=True)
class _Match:
    pdb: object  # the Pdb, the path of a program file with symbols of its own, or None
    remark: str  # empty if all is well
    missing: bool  # whether the remark is about a PDB that ought to be there


def resolve(fault, folders):
    """The Answer for a report.Fault and the pdbs.Folders."""
    frames = [frame for frame in fault.trace + fault.threads if isinstance(frame, report.Frame)]
    modules = {}
    for frame in frames:
        module = fault.module(frame)
        if module and module not in modules:
            modules[module] = _match(module, folders)
    places = {}
    for module, match in modules.items():
        if match.pdb:
            found = look_up(match.pdb, [frame for frame in frames if fault.module(frame) == module])
            places.update({(module, offset): there for offset, there in found.items()})
    unlisted = sorted({frame.module for frame in frames if not fault.module(frame)})
    remarks = [match.remark for match in modules.values() if match.remark]
    remarks += [f"{name}: the report's list of modules does not have it" for name in unlisted]
    incomplete = bool(unlisted) or any(match.missing for match in modules.values())
    return Answer(
        list(_lines(fault, fault.trace, places)), list(_lines(fault, fault.threads, places)), remarks, incomplete
    )


def _match(module, folders):
    """The PDB of a module, or why there is none."""
    if module.gone:
        return _match_unloaded(module, folders)
    if not module.key:
        wanted = (module.time_stamp, module.size)
        images_of_it = [path for path in folders.images(module.name) if images.identity(path) == wanted]
        return (
            _Match(images_of_it[0], "", False) if images_of_it else _Match(None, f"{module.name}: names no PDB", False)
        )
    for pdb in folders.pdbs():
        if pdb.key == module.key:
            return _Match(pdb, "", False)
    for path in folders.images(module.name):
        if images.build(path) == module.key:
            return _Match(path, "", False)
    others = folders.named(module.pdb)
    if not others:
        return _Match(None, f"{module.name}: {module.pdb} with the identity {module.key} is missing", True)
    reasons = [str(pdb) if isinstance(pdb, pdbs.BadPdb) else f"{pdb.path} is {pdb.key}" for pdb in others]
    return _Match(
        None, f"{module.name}: {module.pdb} does not match: wanted {module.key}, but " + ", ".join(reasons), True
    )


def _match_unloaded(module, folders):
    """A report knows no PDB identity of a module that was gone. Its program file, if at hand, tells; else the name has to."""
    found = [pdb for pdb in folders.named(module.pdb) if isinstance(pdb, pdbs.Pdb)]
    if not found:
        return _Match(None, f"{module.name}: {module.pdb} is missing", True)
    wanted = (module.time_stamp, module.size)
    known = [images.identity(path) for path in folders.images(module.name)]
    if wanted in known and len(found) == 1:
        return _Match(found[0], "", False)
    if known and wanted not in known:
        return _Match(
            None, f"{module.name}: the file of that name is another version, so {module.pdb} is not trusted", True
        )
    return _Match(
        found[0], f"{module.name}: unloaded before the report; {found[0].path} was taken by its name alone", False
    )


def look_up(pdb, frames):
    """{instruction offset: [llvm-symbolizer's words about it, innermost first]} for the frames of one module."""
    offsets = sorted({instruction(frame) for frame in frames})
    with tempfile.TemporaryDirectory() as folder:
        image = pathlib.Path(folder, "module.exe")
        if isinstance(pdb, pdbs.Pdb):
            # The program file stands beside a link to its PDB, both under plain names.
            link = pathlib.Path(folder, "module.pdb")
            link.symlink_to(pdb.path.resolve())
            image.write_bytes(images.stand_in(link, pdb.key))
        else:
            image.symlink_to(pdb.resolve())
        asked = "".join(f"{offset:#x}\n" for offset in offsets)
        answers = _run(["--obj=" + str(image), "--relative-address", "--functions=short", "--output-style=JSON"], asked)
    return {
        offset: [place for place in answer.get("Symbol", []) if place["FunctionName"]]
        for offset, answer in zip(offsets, answers)
    }


def _run(arguments, asked):
    program = os.environ.get("LLVM_SYMBOLIZER") or shutil.which("llvm-symbolizer-19") or shutil.which("llvm-symbolizer")
    if not program:
        raise NoSymbolizer("llvm-symbolizer is missing: install the package llvm-19, or name it in LLVM_SYMBOLIZER")
    try:
        done = subprocess.run(
            [program, *arguments], input=asked, capture_output=True, text=True, timeout=_LIMIT_SECONDS, check=False
        )
        answers = [answer for line in done.stdout.splitlines() if line for answer in [json.loads(line)]]
    except (OSError, subprocess.TimeoutExpired, json.JSONDecodeError) as error:
        raise NoSymbolizer(f"{program} failed: {error}") from error
    if len(answers) != len(asked.splitlines()):
        raise NoSymbolizer(f"{program} failed: {done.stderr.strip() or 'no answer'}")
    return [answer if isinstance(answer, dict) else answer[0] for answer in answers]


def instruction(frame):
    """The offset to ask for: a return address may be the next line's, or the next function's."""
    return frame.offset if frame.exact or not frame.offset else frame.offset - 1


def _lines(fault, frames, places):
    for frame in frames:
        if not isinstance(frame, report.Frame):
            yield frame
            continue
        found = places.get((fault.module(frame), instruction(frame)))
        if not found:
            yield frame.text
            continue
        if frame.inlined:
            continue  # found again below, with the function it was inlined into
        start = " ".join(filter(None, [frame.address, f"{frame.module}+{frame.offset:08X}"]))
        for at, place in enumerate(found):
            line = f"{start} {place['FunctionName']}"
            if place["FileName"] and place["Line"]:
                line += f" ({place['FileName']}:{place['Line']})"
            if at + 1 < len(found):
                line += " [inlined]"
            if frame.gone:
                line += " [unloaded]"
            yield line + (" [guessed]" if frame.guessed else "")
