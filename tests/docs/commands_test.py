"""What the documents show of commands and code: scripts/try-documents knows each block, code compiles, options exist."""

import re
import subprocess
import xml.etree.ElementTree

import pytest

from testing.compilers import clang
from testing.documents import fences, tracked
from testing.image import X64, X86
from testing.processes import REPO

LANGUAGES = {"sh", "bat", "c", "cpp", "cmake", "xml", "mermaid", "text"}
MARKS = {"person", "elsewhere", "long", "serves"}  # scripts/lib/try_documents.py does with each what it says
# What blocks of C and C++ leave to the reader.
READERS = """#include <windows.h>
#include "wendax.h"
#include "faultkit.h"
#include "glib/module_contract.h"
#include "glib/save_record.h"
"""
RUN, WORK = "void run_the_program(void);\n", "void work(void);\n"


def compiler(machine, language):
    return [
        *(*clang(machine), "-DWINVER=0x0600"),
        *(("-fcxx-exceptions", "-xc++", "-std=c++17") if language == "cpp" else ("-xc", "-std=c11")),
        *("-Wall", "-Wextra", "-Werror", "-Wno-unused-function", "-fsyntax-only"),
        *(f"-I{REPO}/include", f"-I{REPO}/companions/faultkit", f"-I{REPO}", "-"),
    ]


WIDTHS = {"32 bits": X86, "64 bits": X64}


FENCES = [fence for document in tracked(REPO) for fence in fences(REPO, document)]
CODE = [fence for fence in FENCES if fence.language in ("c", "cpp")]


def program_of(block):
    """The block as a program. One with an #include is a whole file; of others, what begins with a type and ends in a brace
    or is a declaration stands by itself, all else in a function."""
    if "#include" in block:
        return RUN + block
    outside, inside, where = [], [], None
    for line in block.splitlines():
        if re.match(r"[^\s}]", line):
            begins = re.match(
                r"typedef |[A-Za-z]\w*[\w *]* \*?\w+\([^;]*\) \{$|[A-Za-z]\w* \w+\([A-Za-z]\w* [^;]*\);$", line
            )
            where = outside if begins else inside
        if where is not None:
            where.append(line)
    body = ["void shown(void);", "void shown(void) {", *inside, "}"] if inside else []
    return READERS + RUN + WORK + "\n".join([*outside, *body, ""])


def test_every_block_is_of_a_kind_that_is_tried_or_marked():
    assert len(FENCES) > 20
    assert {fence.document: fence.language for fence in FENCES if fence.language not in LANGUAGES} == {}
    assert {fence.document: fence.marks - MARKS for fence in FENCES if fence.marks - MARKS} == {}
    # Commands of another system can't be run here, so they say so.
    assert [fence.document for fence in FENCES if fence.language == "bat" and "elsewhere" not in fence.marks] == []


def test_list_of_commands_names_each_block():
    done = subprocess.run(
        [REPO / "scripts/try-documents", "--list"], text=True, capture_output=True, timeout=120, check=True
    )
    listed = re.findall(r"^(?:\+\+|--) (\S+)", done.stdout, re.MULTILINE)
    assert listed == [fence.document for fence in FENCES if fence.language in ("sh", "bat")]
    assert len(listed) > 8


def test_no_command_stands_outside_of_a_block():
    command = re.compile(r"(?: {4,}|\t)(?:\$ |scripts/|tools/|examples/|cmake |python|php |vcpkg |sudo |apt)")
    found = [
        f"{document.relative_to(REPO)}:{number}"
        for document in tracked(REPO)
        for number, line in enumerate(document.read_text("utf-8").splitlines(), 1)
        if command.match(line)
    ]
    assert found == []


@pytest.mark.parametrize("machine", WIDTHS.values(), ids=WIDTHS)
@pytest.mark.parametrize("fence", CODE, ids=[fence.document for fence in CODE])
def test_code_compiles(fence, machine):
    source = program_of(fence.text)
    done = subprocess.run(
        compiler(machine, fence.language), input=source, text=True, capture_output=True, timeout=120, check=False
    )
    assert (done.returncode, done.stderr) == (0, ""), done.stderr + source


@pytest.mark.parametrize("fence", [fence for fence in FENCES if fence.language == "xml"], ids=lambda it: it.document)
def test_xml_is_whole(fence):
    xml.etree.ElementTree.fromstring(fence.text)


def test_scripts_and_their_options_exist():
    texts = {path: path.read_text("utf-8") for path in [*REPO.glob("*.md"), *REPO.glob("docs/*.md")]}
    missing = []
    for path, text in texts.items():
        for code in re.findall(r"`((?:scripts|tools)/[^`]+)`", text):
            name, *words = code.split()
            if not (REPO / name).exists():
                missing.append(f"{path.name}: {name}")
                continue
            known = help_of(name)
            options = [word.partition("=")[0] for word in words if re.match(r"--\w", word)]
            missing += [f"{path.name}: {name} {option}" for option in options if option not in known]
    assert missing == []


def help_of(name):
    """All that a script and what it calls say of its options."""
    path = REPO / name
    if path.is_dir():
        return ""
    text = path.read_text("utf-8")
    for other in {"scripts/inbox": ["inbox/__main__.py"]}.get(name, []):
        text += (REPO / other).read_text("utf-8")
    return text
