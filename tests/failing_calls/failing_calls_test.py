"""Every call that the DLLs make outside themselves fails once, in whole reports of real faults.

Whatever fails: no crash, no hang, nothing kept, and the user gets what expected.py says. A function that is called often
fails at the first of its calls and at some of the others; with WENDAX_EVERY_CALL in the environment at each of them, and
then everything must come that is expected.
"""

import os
import re
from dataclasses import replace

import pytest

from expected import EXPECTED, OF_32_BITS, and_box, and_exception, and_next
from failing_reports import CALLS, FailingHost
from outcomes import WHOLE, MailOutcomes, UploadOutcomes
from testing.image import X86
from testing.loopback import loopback_address
from testing.product import DLLS
from testing.upload_body import YES
from testing.web_server import WebServer, answering

EVERY = "WENDAX_EVERY_CALL" in os.environ
LIMIT = 7000 if EVERY else 600  # seconds
FIRST, SPREAD = 4, 5  # of the calls of a function, those that fail
MUCH_USED = {"HeapAlloc": 40}  # what hangs on one of its calls differs more than with others
LOOKED_UP = {("user32.dll", "GetGuiResources")}  # where the program has the library, which is not loaded for it
SOMETIMES = {("user32.dll", "SendMessageA")}  # not called where the dialog's message queue never runs empty

ROADS = pytest.mark.parametrize("road", ("message", "upload"))


def listed_calls():
    """{(library, function): the rest of the line} of the lists."""
    lines = (line.split(maxsplit=2) for line in CALLS.splitlines() if line and not line.startswith("#"))
    return {(library, name): rest for library, name, rest in lines}


def chosen_numbers(name, count):
    spread = MUCH_USED.get(name, SPREAD)
    if EVERY or count <= FIRST + spread:
        return range(1, count + 1)
    step = (count - FIRST) / spread
    return [*range(1, FIRST + 1), *(FIRST + round(step * i) for i in range(1, spread + 1))]


def test_the_list_has_every_import_of_the_libraries(stage):
    imported = set().union(*(stage.image(dll).imports() for dll in DLLS))
    listed = set(listed_calls())
    assert imported - listed == set()
    libraries = {library for library, _ in imported}
    assert {call for call in listed - imported if call[0] in libraries} == LOOKED_UP


def mail_outcomes(host):
    """What tells the Outcome of a report, of which the first one must be whole."""
    outcomes = None

    def outcome_of(one):
        nonlocal outcomes
        path = host.path_of(one.message)
        outcomes = outcomes or MailOutcomes(path)
        return outcomes.of(one.dialogs, path)

    return outcome_of


def upload_outcomes(server):
    """The same, of reports that go to that server."""
    outcomes, taken = None, 0

    def outcome_of(one):
        nonlocal outcomes, taken
        assert one.uploads <= 1
        body = server.requests[taken].body if one.uploads else None
        taken += one.uploads
        outcomes = outcomes or UploadOutcomes(body)
        return outcomes.of(one.dialogs, one.answer, body)

    return outcome_of


def sweep(stage, road, record=(), names=None):
    """Lets every call fail, or those of these names, in reports of a library with that record. Gives [(call, its
    Outcome)], and what is wrong with the reports whichever call failed."""
    if road == "message":
        host = FailingHost(stage, road, record)
        outcome_of = mail_outcomes(host)
    else:
        address = loopback_address()
        outcome_of = upload_outcomes(stage.enter_context(WebServer(address, 80, answering(YES))))
        host = FailingHost(stage, road, (*record, "--upload-server", address))
    counts, rounds, _ = host.run({}, 120)
    assert [outcome_of(one) for one in rounds] == [WHOLE, WHOLE]
    listed = listed_calls()
    plan = {
        call: chosen_numbers(call[1], count)
        for call, count in sorted(counts.items())
        if re.search(r"\b(fails|ends)\b", listed[call]) and (names is None or call[1] in names)
    }
    _, rounds, held = host.run(plan, LIMIT - 60)
    wrong = [f"{what}: {times} still held after a whole report" for what, times in held.items()]
    came = []
    for one in rounds:
        outcome = outcome_of(one)
        if one.returned not in ("plain", "out-of-memory"):
            wrong.append(f"the host caught something else: {one}")
        if one.call and one.failed:
            told = and_exception(outcome) if one.returned != "plain" else outcome
            came.append((one.call, and_box(told) if one.boxes else told))
        elif outcome != WHOLE:
            # A report after the failed one: a module that can't be loaded is given up.
            if came and outcome == replace(came[-1][1], also=outcome.also):
                came[-1] = came[-1][0], and_next(came[-1][1])
            else:
                wrong.append(f"the next report is {outcome}, after {came[-1:]}")
    print(f"{len(rounds)} reports, {len(came)} failed calls of {len({call for call, _ in came})} functions")
    return came, wrong


def plain(call):
    """Without the decoration of the name, which the two machines have differently."""
    library, name = call
    return library, re.sub(r"\?(\w+)@.*", r"\1", name)


def compare(came, wrong, road, machine):
    came = {(plain(call), outcome) for call, outcome in came}
    expected = {
        (plain((library, name)), outcome)
        for library, calls in EXPECTED.items()
        for name, outcomes in calls.items()
        for outcome in outcomes.get(road, ())
        if machine is X86 or (library, name) not in OF_32_BITS
    }
    differences = [("unexpected", row) for row in came - expected]
    if EVERY:
        differences += [("expected in vain", row) for row in expected - came if row[0] not in SOMETIMES]
    wrong += sorted(f"{what}: {' '.join(call)}, {outcome.words(road)}" for what, (call, outcome) in differences)
    assert not wrong, "\n".join(wrong)


@pytest.mark.timeout(LIMIT)
@ROADS
def test_a_failing_call_costs_the_report_no_more_than_expected(stage, road):
    compare(*sweep(stage, road), road, stage.machine)


@pytest.mark.timeout(LIMIT)
@ROADS
def test_a_failing_call_costs_a_dialog_its_own_name_or_picture_at_most(stage, road):
    names = {"GetWindow", "GetWindowTextW", "LoadBitmapA", "MultiByteToWideChar", "SetWindowTextW"}
    came, wrong = sweep(stage, road, ("--company", "Pencil & Co", "--own-pictures", "yes"), names)
    assert not wrong
    assert {call[1] for call, _ in came} == names
    assert {outcome for _, outcome in came} == {WHOLE}
