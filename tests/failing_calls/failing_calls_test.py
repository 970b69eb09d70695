"""Every call that the DLLs make outside themselves fails once, in whole reports of real faults.

Whatever fails: no crash, no hang, nothing kept, and the user gets what docs/failing-calls.md says. A function that is
called often fails at the first of its calls and at some of the others; with WENDAX_EVERY_CALL in the environment at each
of them, and then the document is written anew.
"""

import os
import re
import sys
import subprocess
from collections import Counter, defaultdict

from failing_reports import HERE, FailingHost
from outcomes import WHOLE, MailOutcomes, UploadOutcomes
from testing.host import redirect
from testing.loopback import loopback_address
from testing.runner import Case
from testing.upload_body import CONFIRMATION
from testing.web_server import WebServer, answering

EVERY = "WENDAX_EVERY_CALL" in os.environ
DOCUMENT = HERE.parents[1] / "docs" / "failing-calls.md"
DLLS = ("Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll")
FIRST, SPREAD = 4, 5  # of the calls of a function, those that fail
MUCH_USED = {"HeapAlloc": 40}  # what hangs on one of its calls differs more than with others
EXCEPTION = " (and the host catches gen::genlib_out_of_memory)"
BOX = " (and a message box)"
NEXT_TOO = " (and so is the next report)"


def listed_calls():
    """{(library, function): the rest of the line} of calls.txt."""
    lines = (
        line.split(maxsplit=2)
        for line in (HERE / "calls.txt").read_text().splitlines()
        if line and not line.startswith("#")
    )
    return {(library, name): rest for library, name, rest in lines}


def chosen_numbers(name, count):
    spread = MUCH_USED.get(name, SPREAD)
    if EVERY or count <= FIRST + spread:
        return range(1, count + 1)
    step = (count - FIRST) / spread
    return [*range(1, FIRST + 1), *(FIRST + round(step * i) for i in range(1, spread + 1))]


class TheList(Case):
    def test_has_every_import_of_the_libraries(self):
        imported = set()
        for dll in DLLS:
            told = subprocess.run(
                ["llvm-readobj-19", "--coff-imports", self.product(dll)], check=True, capture_output=True, text=True
            ).stdout
            for block in re.findall(r"Import \{(.*?)\n\}", told, re.DOTALL):
                library = re.search(r"Name: (\S+)", block)[1]
                imported |= {(library, name) for name in re.findall(r"Symbol: (\S+) ", block)}
        listed = set(listed_calls())
        self.assertEqual(imported - listed, set())
        libraries = {library for library, _ in imported}
        self.assertEqual({call for call in listed - imported if call[0] in libraries}, set())


class Failing(Case):
    time_limit = 7000 if EVERY else 600

    def sweep(self, host, outcome_of):
        """Lets every call fail; {call: {outcome: how often}}."""
        counts, rounds, _ = host.run({}, 120)
        self.assertEqual([outcome_of(one) for one in rounds], [WHOLE, WHOLE])
        listed = listed_calls()
        plan = {
            call: chosen_numbers(call[1], count)
            for call, count in sorted(counts.items())
            if " fails " in f" {listed[call]} " or " ends " in f" {listed[call]} "
        }
        _, rounds, held = host.run(plan, self.time_limit - 60)
        for what, times in held.items():
            with self.subTest(what):
                self.fail(f"{times} still held after a whole report")
        table, last = defaultdict(Counter), None
        for one in rounds:
            outcome = outcome_of(one)
            with self.subTest(one):
                self.assertIn(one.returned, ("plain", "out-of-memory"))
                if one.call and one.failed:
                    key = outcome + EXCEPTION * (one.returned != "plain") + BOX * (one.boxes > 0)
                    table[one.call][key] += 1
                    last = one.call, key, outcome
                elif last and not one.call and outcome != WHOLE:
                    # The report after the failed one: a module that can't be loaded is given up.
                    self.assertEqual(outcome, last[2])
                    table[last[0]][last[1]] -= 1
                    table[last[0]][last[1] + NEXT_TOO] += 1
                elif not last:
                    self.assertEqual(outcome, WHOLE)
        print(
            f"{len(rounds)} reports, {sum(map(Counter.total, table.values()))} failed calls of "
            f"{len(table)} functions",
            file=sys.stderr,
        )
        return table

    def compare(self, table, column):
        """With what the document says."""
        if EVERY:
            write_document(column, table)
        documented = read_document()
        for call, outcomes in table.items():
            with self.subTest(call):
                self.assertLessEqual(set(+outcomes), set(documented.get(call, ((), ()))[column]))


class InTheEmailReport(Failing):
    def test_leaves_what_the_document_says(self):
        host = FailingHost(self, "email")
        outcomes = None

        def outcome_of(one):
            nonlocal outcomes
            path = host.path_of(one.message)
            outcomes = outcomes or MailOutcomes(path)
            return outcomes.of(one.dialogs, path)

        self.compare(self.sweep(host, outcome_of), 0)


class InTheUploadReport(Failing):
    def test_leaves_what_the_document_says(self):
        address = loopback_address()
        server = self.enterContext(WebServer(address, 80, answering(b"Well: " + CONFIRMATION)))
        host = FailingHost(self, "upload", lambda dll: redirect(dll, "--upload-server", address))
        outcomes, taken = None, 0

        def outcome_of(one):
            nonlocal outcomes, taken
            self.assertLessEqual(one.uploads, 1)
            body = server.requests[taken].body if one.uploads else None
            taken += one.uploads
            outcomes = outcomes or UploadOutcomes(body)
            return outcomes.of(one.dialogs, one.answer, body)

        self.compare(self.sweep(host, outcome_of), 1)


def read_document():
    """{(library, function): (outcomes of the e-mail report, outcomes of the upload report)}."""
    rows, library = {}, None
    for line in DOCUMENT.read_text().splitlines() if DOCUMENT.exists() else ():
        if line.startswith("## "):
            library = line[3:]
        elif line.startswith("| `"):
            name, *cells = (cell.strip() for cell in line.strip("|").split(" | "))
            rows[library, name.strip("`")] = tuple(
                [text for text in cell.split("<br>") if text != "-"] for cell in cells
            )
    return rows


def write_document(column, table):
    rows = read_document()
    for call in {*rows, *table}:
        cells = list(rows.get(call, ([], [])))
        cells[column] = sorted(+table.get(call, Counter()), key=lambda text: (text != WHOLE, len(text), text))
        rows[call] = tuple(cells)
    text = DOCUMENT.read_text().partition("\n## ")[0]
    rows = {call: cells for call, cells in rows.items() if any(cells)}
    for library in sorted({library for library, _ in rows}, key=str.lower):
        text += f"\n## {library}\n\n| Call | E-mail report | Upload report |\n| --- | --- | --- |\n"
        for name in sorted(name for where, name in rows if where == library):
            mail, upload = ("<br>".join(cell) or "-" for cell in rows[library, name])
            text += f"| `{name}` | {mail} | {upload} |\n"
    DOCUMENT.write_text(text)
