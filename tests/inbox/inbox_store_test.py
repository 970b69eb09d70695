"""Taking in, grouping, moving and deleting: what the store holds afterwards."""

import json
import os
import textwrap
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import pytest
import sqlalchemy as sa

import made
from conftest import MESSAGES
from inbox import fault_text, mail, queries, reports, schema, symbols
from inbox.config import BadSetting
from inbox.core import Inbox
from inbox.queries import Filters
from inbox.signature import Rules, signature
from testing.processes import wait_until
from testing.upload_body import upload_body


def rows(box, **asked):
    return made.read(box, queries.crashes, Filters(**asked))[0]


def titles(box, **asked):
    return [(row["title"], row["count"]) for row in rows(box, **asked)]


def change(box, crash_id, **values):
    box.writer.do(lambda connection: schema.change(connection, schema.crash, crash_id, **values))


def add_messages(box, leaves, version):
    return [made.add(box, made.fault_text((leaf, "run"), version=version)) for leaf in leaves]


def history(box, crash_id):
    return [row["text"] for row in made.read(box, queries.one_crash, crash_id)["history"]]


class TestIntake:
    def test_same_report_twice_is_one(self, box):
        first = made.add(box, made.fault_text())
        second = made.add(box, made.fault_text())
        assert (first[1], second[1], first[0] == second[0]) == (True, False, True)
        assert titles(box) == [("draw", 1)]

    def test_same_reports_at_one_moment_are_one_each(self, box):
        """They wait for the writer together, and come to it in one transaction."""
        started, go = threading.Event(), threading.Event()

        def hold(_connection):
            started.set()
            go.wait(60)

        add_messages(box, ["draw"], "1.0.0.0")
        change(box, 1, state="fixed", fixed_in="2.0")
        with ThreadPoolExecutor(40) as pool:
            held = pool.submit(box.writer.do, hold)
            started.wait(60)
            adding = [
                pool.submit(add_messages, box, [leaf], "2.0.0.0") for leaf in ("draw", "save", "draw", "load") * 8
            ]
            wait_until(lambda: box.writer._jobs.qsize() == 32, "all to wait for the writer")
            go.set()
            held.result()
            answers = [new for each in adding for _, new, _ in each.result()]
        assert sum(answers) == 3
        assert sorted(titles(box)) == [("draw", 2), ("load", 1), ("save", 1)]
        assert history(box, 1) == ["opened again: a report from 2.0.0.0, fixed in 2.0"]

    def test_draft_sent_copy_and_forwarded_text_are_one_but_two_people_are_two(self, box):
        """Two machines of one make say the same to the byte."""
        text = made.fault_text()

        def send(text, *sent):
            dates = ((sender, f"Mon, 0{day} Nov 2026 10:20:30 +0100") for day, sender in sent)
            return [made.add(box, text, sender=f"{sender}@example.org", date=date)[1] for sender, date in dates]

        assert [made.add(box, text)[1], *send(text, (2, "a"))] == [True, False]
        send(text, (3, "a"), (3, "b"), (4, "a"))
        assert titles(box) == [("draw", 1)]
        send(made.fault_text(("other",)), (3, "a"), (3, "b"), (4, "a"), (3, "a"))
        assert titles(box)[0] == ("other", 3)

    def test_upload_with_a_fault_text_is_understood(self, box):
        report_id, new, wrong = box.reports.add_upload(
            upload_body(made.upload_files(made.fault_text(version="2.1.0.0"))), "10.0.0.1"
        )
        assert (new, wrong) == (True, "")
        row, files = made.read(box, queries.one_report, report_id)
        assert (row["product"], row["version"], row["sender"]) == ("Drawing Board", "2.1.0.0", "10.0.0.1")
        assert row["windows"] == "Professional Service Pack 1 (Build 7601)"
        assert [each["part"] for each in files] == ["File_for_conversion", "System_info"]

    def test_upload_without_a_fault_text_is_listed_by_its_program(self, box):
        box.reports.add_upload(upload_body(made.upload_files()))
        assert titles(box) == [("No fault told by Drawing Board", 1)]

    def test_minidump_tells_where_no_text_does(self, box):
        dump = (MESSAGES / "wine.dmp").read_bytes()
        files = made.upload_files()
        files["File_for_conversion"] = (b"C:\\Temp\\minidump.dmp", dump)
        report_id, _, _ = box.reports.add_upload(upload_body(files))
        row, _ = made.read(box, queries.one_report, report_id)
        assert row["kind"] == "EXCEPTION_ACCESS_VIOLATION, written"
        assert titles(box) == [("describe_host.exe+79B5", 1)]

    @pytest.mark.parametrize("raw", (b"", b"hello", b"Subject: cheap pills\n\nBuy now\n", b"\0" * 100))
    def test_what_is_no_report_is_kept_whole(self, box, raw):
        report_id, new, wrong = box.reports.add_message(raw)
        assert new and wrong
        with box.engine.connect() as connection:
            (row,), total = queries.reports(connection, Filters(), unreadable=True)
            kept = connection.execute(
                sa.select(schema.attachment.c.content).where(schema.attachment.c.report_id == report_id)
            ).scalar()
        assert (row["unreadable"], total, bytes(kept)) == (wrong, 1, raw)

    def test_watched_message_whose_clock_is_ahead_is_taken_in(self, box, tmp_path):
        path = tmp_path / "a.eml"
        path.write_bytes(made.message(made.fault_text()))
        os.utime(path, (time.time() + 86400,) * 2)
        box.watch_once([tmp_path])
        assert titles(box) == [("draw", 1)]

    def test_lines_of_a_later_helper_are_kept(self, box):
        text = made.fault_text(extra=["build = nightly-412", "Signature: something new", "entirely new"])
        report_id, _, _ = made.add(box, text + "\nThread 2:\n00401000 board.exe+00001000\n")
        row, _ = made.read(box, queries.one_report, report_id)
        facts, _ = box.reports.told(row)
        assert facts.values == {"build": "nightly-412", "Signature": "something new"}
        assert facts.more[:3] == ["entirely new", "Thread 2:", "00401000 board.exe+00001000"]


class TestSymbols:
    def test_pdb_that_another_process_has_just_filed_resolves_what_waits_for_it(self, box, config):
        box.reports.add_message(made.message(made.fault_text((0x1000,))))
        other = Inbox(config)
        row = {"key": made.KEY, "name": "board.pdb", "content": b""}
        other.writer.do(lambda connection: symbols._file(connection, row))
        said = {"at": f"{made.KEY}+1000!", "said": json.dumps([["draw", "draw.cpp", 7]])}
        other.writer.do(lambda connection: schema.put(connection, schema.place, [said], said=lambda new: new))
        other.engine.dispose()
        assert box.resolve_pending() == 1
        assert titles(box) == [("draw", 1)]


class TestGrouping:
    def test_recursion_of_any_depth_is_one_crash(self, box):
        for depth in (1, 2, 30):
            made.add(box, made.fault_text(("leaf", *["walk"] * depth, "run")))
        assert titles(box) == [("leaf", 3)]

    def test_other_caller_is_another_crash(self, box):
        made.add(box, made.fault_text(("copy", "load")))
        made.add(box, made.fault_text(("copy", "save")))
        assert titles(box) == [("copy", 1), ("copy", 1)]

    def test_offsets_of_two_builds_are_two_crashes(self, box):
        for key in (made.KEY, made.KEY[::-1]):
            made.add(box, made.fault_text((0x1000, 0x1010), key=key))
        assert len(rows(box)) == 2

    def test_address_where_it_was_loaded_makes_no_difference(self, box):
        for base in (0x400000, 0x1230000):
            made.add(box, made.fault_text((0x1000, 0x1010), base=base))
        assert titles(box) == [("board.exe+1000", 2)]

    def test_builds_of_32_and_64_bits_share_a_crash_by_their_functions(self, box, nested):
        for text in nested.values():
            assert made.add(box, text)[1:] == (True, "")
        assert titles(box) == [("write_null", 2)]

    def test_text_of_64_bits_is_understood_whole(self, nested):
        facts = fault_text.find(nested[64])
        assert (facts.kind, facts.code) == ("EXCEPTION_ACCESS_VIOLATION, written", "C0000005")
        assert (facts.address, facts.thread, facts.more) == ("0000000140002207", "00000024", [])
        wide = "RAX RBX RCX RDX RSI RDI RBP RSP R8 R9 R10 R11 R12 R13 R14 R15 RIP".split()
        assert list(facts.registers) == wide + "EFL CS DS ES FS GS SS".split()
        assert {len(facts.registers[name]) for name in wide} == {16}
        first = facts.modules[0]
        assert (first.name, first.base, first.size) == ("describe_host.exe", 0x140000000, 0x11000)
        assert first.key == "6D4BB07CDEF3638D4C4C44205044422E1"
        top = facts.frames[0]
        assert (top.module, top.offset, top.address, top.exact) == (first.name, 0x2207, facts.address, True)
        assert (top.function, top.line) == ("`anonymous namespace'::write_null", 23)
        assert all(each.function and each.line for each in facts.frames)

    def test_rule_skips_a_frame_and_another_groups_by_one(self):
        facts = fault_text.find(made.fault_text(("helper", "draw", "run")))
        plain = signature(facts, Rules(""))
        assert plain.text.endswith("board.exe!helper | board.exe!draw | board.exe!run")
        skipped = signature(facts, Rules("frames 1\nskip *!HELPER"))
        assert (skipped.title, skipped.text) == ("draw", "EXCEPTION_ACCESS_VIOLATION, read | board.exe!draw")
        assert signature(facts, Rules("group *!r?n")).text.endswith(" | board.exe!run")

    def test_line_that_is_no_rule_is_named(self):
        with pytest.raises(BadSetting, match="line 2"):
            Rules("frames 3\nskop x")

    def test_change_of_rules_moves_reports_and_keeps_the_history(self, box):
        for leaf in ("check_a", "check_b"):
            made.add(box, made.fault_text((leaf, "draw", "run")))
        old = rows(box)[0]["id"]
        change(box, old, state="ignored", note="known")
        box.writer.do(lambda connection: reports.note_down(connection, old, "ignored"))
        box.reports.rules = Rules("skip *!check_?")
        assert box.regroup() == 2
        ((title, count),) = titles(box, state="all")
        assert (title, count) == ("draw", 2)
        now = made.read(box, queries.one_crash, old)
        assert (now["state"], now["note"]) == ("ignored", "known")
        assert "ignored" in history(box, old)
        assert any("check_a" in text for text in history(box, old))


class TestWordsOfTheHost:
    """Texts that faultkit.dll made for a program that has told it what it does, and that has another thread."""

    @pytest.mark.parametrize("bits, threads, stack", ((32, 9, 8), (64, 3, 7)))
    def test_values_notes_time_and_threads_are_understood(self, told, bits, threads, stack):
        facts = fault_text.find(told[bits])
        assert (facts.kind, facts.more) == ("EXCEPTION_ACCESS_VIOLATION, written", [])
        process = ["Time", "Uptime", "Program", "Windows", "Memory", "Objects"]
        assert list(facts.values) == [*process, "build", "customer"]
        assert (facts.values["build"], facts.values["customer"]) == ("nightly-412", "Example & Sons")
        assert [note.partition(": ")[2] for note in facts.notes] == ["opening a.bmp", "zoom 200 %"]
        assert time.strftime("%Y-%m-%d %H:%M", time.gmtime(facts.time)) == facts.values["Time"][:16]
        assert [module for module, _ in facts.places] == ["telling_host.exe"] * 3
        assert len(facts.frames) == stack and len(facts.threads) == 2 + threads
        assert (facts.threads[0].text, facts.threads[1].module) == ("Other threads: 1", "")
        assert facts.threads[4 if bits == 64 else 6].function == "`anonymous namespace'::companion_main"

    def test_crash_has_its_own_time_and_is_found_by_value_and_note(self, box, told):
        message = made.message(told[64], date="Mon, 02 Nov 2009 10:20:30 +0100", sender="a@example.org")
        box.reports.add_message(message)
        (row,) = rows(box)
        assert row["first_seen"] == fault_text.find(told[64]).time
        for words in ("nightly-412", "example sons", "opening a.bmp", "build nightly"):
            assert titles(box, q=words) == [("write_null", 1)], words

    def test_clock_of_another_century_is_not_believed(self, box, told):
        made.add(box, told[64].replace("2026-", "2099-"))
        assert abs(rows(box)[0]["first_seen"] - time.time()) < 600

    def test_page_shows_them(self, box, pages, told):
        made.add(box, told[64])
        page = pages.get("/report/1").text
        for words in ("nightly-412", "Example &amp; Sons", "opening a.bmp", "Other threads: 1", "companion_main"):
            assert words in page, words
        assert pages.get("/report/1.json").json["fault"]["notes"][1].endswith("zoom 200 %")

    def test_texts_before_and_after_share_a_crash_and_so_do_widths(self, box, told):
        older = "\n".join(line for line in told[64].split("\n") if not line.startswith("Signature"))
        for text in (told[32], told[64], older):
            made.add(box, text)
        assert titles(box) == [("write_null", 3)]

    def test_signature_line_tells_which_modules_are_the_programs_and_rules_still_hold(self, told):
        text = told[64].replace("telling_host.exe", "opengl32.dll").replace(" ntdll.dll", " helper.dll")
        text = text.replace("Stack Trace:\n", "Stack Trace:\n0000000170001000 helper.dll+00001000 raise_it\n")
        facts = fault_text.find(text)
        assert signature(facts, Rules("")).text.endswith(
            "| opengl32.dll!write_null | opengl32.dll!commit_fault | opengl32.dll!fail"
        )
        assert "opengl32" not in signature(facts, Rules("system opengl32.dll")).text
        assert signature(facts, Rules("group *!main")).title == "main"

    def test_signature_line_groups_where_the_stack_had_no_room(self, told):
        facts = fault_text.find(told[64].partition("\nStack Trace:")[0])
        places = [each.rpartition("+")[2] for each in signature(facts, Rules("")).text.split(" | ")[1:]]
        assert places == ["2377", "222A", "120E"]

    @pytest.mark.parametrize("bits", (32, 64))
    def test_they_survive_wrapping(self, told, bits):
        wrapped = "\n".join("\n".join(textwrap.wrap(line, 76)) for line in told[bits].split("\n"))
        facts, plain = fault_text.find(mail.parse(made.message(wrapped)).text), fault_text.find(told[bits])
        assert (facts.places, facts.values, facts.notes, facts.more) == (plain.places, plain.values, plain.notes, [])
        assert [each.text for each in facts.threads] == [each.text for each in plain.threads]


class TestStates:
    def add(self, box, version):
        made.add(box, made.fault_text(version=version))

    @pytest.mark.parametrize(
        "version, state", (("1.9.0.0", "fixed"), ("1.10.0.0", "open"), ("2.0.0.0", "open"), ("", "fixed"))
    )
    def test_report_of_the_mended_version_opens_it_again(self, box, version, state):
        self.add(box, "1.0.0.0")
        change(box, 1, state="fixed", fixed_in="1.10")
        self.add(box, version or "-")
        (row,) = rows(box, state="all")
        assert (row["state"], row["count"], row["regressed"]) == (state, 2, state == "open")
        assert bool(history(box, 1)) == (state == "open")

    def test_ignored_stays_ignored(self, box):
        self.add(box, "1.0.0.0")
        change(box, 1, state="ignored")
        self.add(box, "9.0.0.0")
        assert rows(box) == []
        assert titles(box, state="ignored") == [("draw", 2)]


class TestDeletion:
    def test_deleted_report_leaves_nothing(self, box):
        box.reports.add_upload(upload_body(made.upload_files(made.fault_text())))
        assert box.delete(schema.report.c.id == 1) == 1
        with box.engine.connect() as connection:
            for table in ("report", "attachment", "wants", "search"):
                assert connection.execute(sa.text(f"SELECT count(*) FROM {table}")).scalar() == 0, table
        assert rows(box, state="all") == []

    def test_sums_fit_what_is_left(self, box):
        for number in range(3):
            made.add(
                box, made.fault_text(extra=[f"EBX 0000000{number}  ECX 00000000"]), sender=f"u{number}@example.org"
            )
        box.delete(schema.report.c.sender == "u1@example.org")
        (row,) = rows(box)
        assert (row["count"], row["machines"], sum(row["days"].values())) == (2, 2, 2)

    def test_by_age(self, box):
        old = int(time.time()) - 100 * 86400
        box.reports.add_message(made.message(made.fault_text()), received=old)
        made.add(box, made.fault_text(("other",)))
        box.config.keep = "90d"
        assert box.delete_old() == 1
        assert titles(box) == [("other", 1)]


class TestSearch:
    @pytest.fixture(autouse=True)
    def fill(self, box):
        for number, leaf in enumerate(("load_palette", "Widget::draw", "save")):
            text = made.fault_text((leaf, "run"), version=f"{number + 1}.0.0.0")
            made.add(box, text, sender=f"u{number}@example.org", processor=f"Chip{number}")

    @pytest.mark.parametrize(
        "asked, found",
        (
            ({"q": "load_pal"}, ["load_palette"]),
            ({"q": "widget::draw"}, ["Widget::draw"]),
            ({"q": "chip2"}, ["save"]),
            ({"q": "u1@example.org"}, ["Widget::draw"]),
            ({"q": "board run"}, ["Widget::draw", "load_palette", "save"]),
            ({"q": "nothing_like_it"}, []),
            ({"q": "' OR 'zz'='zz' --"}, []),
            ({"function": "palette"}, ["load_palette"]),
            ({"function": "%"}, []),
            ({"module": "BOARD.exe", "version": "3.0.0.0"}, ["save"]),
            ({"since": "2001-01-01", "until": "2002-01-01"}, []),
            ({"since": "2001-01-01"}, ["Widget::draw", "load_palette", "save"]),
        ),
    )
    def test_finds(self, box, asked, found):
        assert sorted(row["title"] for row in rows(box, **asked)) == found


def test_jobs_of_one_transaction_fail_alone(box):
    def fail(_connection):
        raise LookupError("on purpose")

    with pytest.raises(LookupError):
        box.writer.do(fail)
    assert made.add(box)[1]
