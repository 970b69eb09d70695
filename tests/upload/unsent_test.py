"""Uploads that fail are kept and sent later, by the library's exports in real processes, which are really killed."""

import contextlib
import os
import random
import signal
import threading
import time

import pytest

import kept_reports
from testing.processes import wait_until
from testing.upload_body import CONTENT_TYPE, FORM_PATH, YES, upload_body
from testing.web_server import HoldingServer, answering, http_answer
from uploading import Uploader

REFUSED = answering(b"Please come back later.")
KILLS = 50
FOREIGN_NAME = "Непосланное Ünsent 未送信"


class Program(Uploader):
    """A host that may keep what can't be sent in a folder."""

    def __init__(self, stage, name="unsent"):
        super().__init__(stage)
        self.url = f"http://{self.address}{FORM_PATH}"
        self.unsent = self.folder / name
        self.unsent_path = self.path_of(name.encode("utf-8"))

    def start(self, keep=True):
        process = super().start()
        if keep:
            assert process.tell("keep", self.unsent_path) == "1"
        return process

    def put(self, *bodies, days_old=0.0):
        """Reports with these bodies, the first the oldest."""
        self.unsent.mkdir(exist_ok=True)
        return [
            kept_reports.write(self.unsent, kept_reports.report(self.url, body, days_old - i / 86400))
            for i, body in enumerate(bodies)
        ]

    def kept(self):
        return kept_reports.read_all(self.unsent) if self.unsent.exists() else []

    def send(self):
        """What WendaxSendUnsent answers in a new process: (begun, sent, remaining, damaged)."""
        process = self.start()
        answer = sent(process)
        assert process.end() == 0
        return answer

    def write_log(self, content):
        """Puts it into the host's log; returns (the log's path, the body of a report with it)."""
        log = self.write(b"log", content)
        return log, upload_body({"Conversion_log": (log, content)})


def sent(process):
    return tuple(map(int, process.tell("send-unsent").split()))


def bodies(requests):
    return [request.body for request in requests]


@pytest.fixture
def program(stage):
    return Program(stage)


class TestUploadThatFails:
    def test_goes_out_whole_and_to_the_same_place_at_the_next_start_and_is_gone_then(self, program):
        log, expected = program.write_log(os.urandom(300000))
        process = program.start()
        program.post(log=log)
        before = kept_reports.now()
        assert process.tell("upload") == "failed"  # nobody listens
        (kept,) = program.kept()
        assert (kept.url, kept.body, kept.proxy_allowed) == (program.url, expected, False)
        assert before - kept_reports.SECOND < kept.ticks < kept_reports.now() + kept_reports.SECOND
        assert process.end() == 0
        (program.folder / "log").unlink()

        server = program.serve()
        assert program.send() == (1, 1, 0, 0)
        (request,) = server.requests
        assert request.line == f"POST {FORM_PATH} HTTP/1.1"
        assert request.headers["content-type"] == CONTENT_TYPE
        assert request.headers["host"] == program.address
        assert request.body == expected
        assert list(program.unsent.iterdir()) == []
        assert program.send() == (1, 0, 0, 0)
        assert len(server.requests) == 1

    def test_has_the_bytes_on_the_wire_that_it_has_otherwise(self, program):
        """Request line and headers as well."""
        raw = []

        def answer(client):
            raw.append(client.connection.recv(65536, 0x2))  # MSG_PEEK
            answering(YES)(client)

        process = program.start()
        assert process.tell("upload") == "failed"
        process.end()
        program.serve(answer)
        assert program.start(keep=False).tell("upload") == "uploaded"
        assert program.send() == (1, 1, 0, 0)
        ordinary, kept = raw
        assert ordinary.partition(b"\r\n\r\n")[0] == kept.partition(b"\r\n\r\n")[0]

    def test_stays_as_long_as_the_server_does_not_confirm(self, program):
        (path,) = program.put(b"body")
        content = path.read_bytes()
        server = program.serve(REFUSED)
        assert program.send() == (1, 0, 1, 0)
        assert program.send() == (1, 0, 1, 0)
        assert path.read_bytes() == content
        assert bodies(server.requests) == [b"body", b"body"]

    def test_is_kept_once_however_often_it_is_tried_and_not_at_all_once_it_has_gone(self, program):
        process = program.start()
        program.post(log=program.path_of(b"log"))
        for text in (b"first", b"second"):
            program.write_log(text)
            assert process.tell("upload") == "failed"
        # As long as the report's dialog might try again, nobody else does.
        assert program.send() == (1, 0, 1, 0)
        server = program.serve()
        _, expected = program.write_log(b"third")
        assert process.tell("upload") == "uploaded"
        assert program.kept() == []
        assert bodies(server.requests) == [expected]

    def test_is_kept_beside_one_of_another_report(self, program):
        process = program.start()
        assert process.tell("upload") == "failed"
        process.tell("new")
        assert process.tell("upload") == "failed"
        process.tell("delete")
        assert len(program.kept()) == 2
        program.serve()
        assert sent(process) == (1, 2, 0, 0)

    def test_is_kept_in_a_folder_whose_name_no_code_page_has(self, stage):
        program = Program(stage, FOREIGN_NAME)
        process = program.start()
        assert process.tell("upload") == "failed"
        process.end()
        assert bodies(program.kept()) == [upload_body({})]
        program.serve()
        assert program.send() == (1, 1, 0, 0)

    def test_leaves_the_newest_ten_of_256_megabytes_and_30_days(self, program):
        older = [b"%d" % i for i in range(12)]
        program.put(*older, days_old=1)
        process = program.start()
        assert process.tell("upload") == "failed"
        assert bodies(program.kept()) == [*older[-9:], upload_body({})]

        for path in program.unsent.iterdir():
            path.unlink(missing_ok=True)
        old = [
            kept_reports.write(program.unsent, kept_reports.report(program.url, b"", days), sparse_size=megabytes << 20)
            for days, megabytes in ((3, 1), (2, 200), (1, 100))
        ]
        assert process.tell("upload") == "failed"
        assert [path.exists() for path in old] == [False, False, True]

    def test_is_not_kept_unless_the_host_asks_for_it(self, program):
        before = set(program.folder.rglob("*"))
        process = program.start(keep=False)
        assert process.tell("upload") == "failed"
        assert sent(process) == (0, 0, 0, 0)
        assert set(program.folder.rglob("*")) == before
        assert process.tell("keep", program.unsent_path) == "1"
        assert process.tell("keep") == "1"
        assert process.tell("upload") == "failed"
        assert set(program.folder.rglob("*")) == before

    def test_is_a_failure_like_any_other_where_it_cannot_be_kept(self, program):
        program.unsent.write_bytes(b"a file, no folder")
        process = program.start()
        assert process.tell("upload") == "failed"
        assert sent(process) == (1, 0, 0, 0)
        assert process.tell("keep", b"C:\\" + b"long" * 200) == "0"
        assert process.tell("upload") == "failed"
        program.serve()
        assert process.tell("upload") == "uploaded"
        assert program.unsent.read_bytes() == b"a file, no folder"


class TestFolder:
    def test_that_is_not_there_has_nothing_to_send(self, program):
        assert program.send() == (1, 0, 0, 0)
        assert not program.unsent.exists()

    def test_keeps_what_is_damaged_or_of_another_maker(self, program):
        program.put(b"whole")
        whole = kept_reports.report(program.url, b"its body is longer than a bit")
        foreign = {
            "damaged.unsent": kept_reports.header_of(whole) + whole.body[:-1] + b"B",
            "cut.unsent": kept_reports.header_of(whole) + whole.body[:-1],
            "longer.unsent": kept_reports.header_of(whole) + whole.body + b".",
            "newer.unsent": kept_reports.header_of(whole, version=2) + whole.body,
            "header.unsent": kept_reports.header_of(whole)[:63],
            "empty.unsent": b"",
            "notes.txt": b"of the user",
            "other.tmp": b"of another program",
        }
        for name, content in foreign.items():
            (program.unsent / name).write_bytes(content)
        (program.unsent / "folder.unsent").mkdir()
        elsewhere = kept_reports.report("gopher://example.com/", b"body")
        kept_reports.write(program.unsent, elsewhere, "elsewhere.unsent")
        foreign["elsewhere.unsent"] = (program.unsent / "elsewhere.unsent").read_bytes()
        server = program.serve()
        assert program.send() == (1, 1, 0, len(foreign))
        assert bodies(server.requests) == [b"whole"]
        assert {path.name: path.read_bytes() for path in program.unsent.iterdir() if path.is_file()} == foreign
        assert (program.unsent / "folder.unsent").is_dir()

    def test_loses_the_half_written_file_of_a_killed_program_and_sends_the_whole_one(self, program):
        program.unsent.mkdir()
        whole = kept_reports.report(program.url, b"body")
        content = kept_reports.header_of(whole) + whole.body
        (program.unsent / f"wendax-{1:016x}-00000020-0001.tmp").write_bytes(content[:-1])
        (program.unsent / f"wendax-{2:016x}-00000020-0001.tmp").write_bytes(b"")
        (program.unsent / f"wendax-{3:016x}-00000020-0001.tmp").write_bytes(content)
        server = program.serve()
        assert program.send() == (1, 1, 0, 0)
        assert bodies(server.requests) == [b"body"]
        assert list(program.unsent.iterdir()) == []

    def test_is_sent_from_the_oldest_on_and_without_what_is_too_old(self, program):
        program.put(b"too old", days_old=31)
        program.put(b"1", b"2", b"3", days_old=29)
        server = program.serve()
        assert program.send() == (1, 3, 0, 0)
        assert bodies(server.requests) == [b"1", b"2", b"3"]

    def test_keeps_its_newest_however_old_it_is(self, program):
        program.put(b"older", b"old", days_old=100)
        server = program.serve()
        assert program.send() == (1, 1, 0, 0)
        assert bodies(server.requests) == [b"old"]

    def test_goes_on_behind_a_report_that_the_server_refuses(self, program):
        def answer(client):
            request = client.read_request()
            client.send(http_answer(YES if request.body != b"refused" else b"No."))

        program.put(b"first", b"refused", b"last")
        server = program.serve(answer)
        assert program.send() == (1, 2, 1, 0)
        assert bodies(server.requests) == [b"first", b"refused", b"last"]
        assert bodies(program.kept()) == [b"refused"]


class TestTwoProcesses:
    def test_never_send_from_one_folder_at_the_same_time(self, program):
        program.put(b"one", b"two")
        server = program.stage.enter_context(HoldingServer(program.address, 80, http_answer(YES)))
        first, second = program.start(), program.start()
        first.send("send-unsent")
        assert server.arrived.wait(60)
        assert sent(second) == (0, 0, 0, 0)
        server.release.set()
        assert first.receive() == "1 2 0 0"
        assert bodies(server.requests) == [b"one", b"two"]
        assert sent(second) == (1, 0, 0, 0)

    def test_are_not_kept_apart_by_one_that_was_killed(self, program):
        program.put(b"body")
        with HoldingServer(program.address, 80) as server:
            first = program.start()
            first.send("send-unsent")
            assert server.arrived.wait(60)
            first.process.kill()
        program.serve()
        assert program.send() == (1, 1, 0, 0)


class Kill:
    """When a program is to be killed: at a moment of the report of that number."""

    def __init__(self, process=None, moment=None, report=0, delay=0.0):
        self.process, self.moment, self.left, self.delay = process, moment, report, delay
        self.done = False


class KillingServer:
    """Confirms what arrives. Kills the program once it has come to a moment of its work."""

    MOMENTS = ("connected", "half read", "read", "half answered", "answered")

    def __init__(self):
        self.bodies = []  # that came whole while the program lived
        self._kill = Kill()
        self._lock = threading.Lock()

    def arm(self, *args, **options):
        """From now on, as Kill has it. What the program before has sent remains its own."""
        self._kill = Kill(*args, **options)

    def answer(self, client):
        kill = self._kill
        # Counted now: the program may begin the next request before this one's thread goes on.
        due = kill.left <= 0
        kill.left -= 1
        for moment in self._serve(client, kill):
            if due and moment == kill.moment:
                time.sleep(kill.delay)
                with self._lock:
                    if not kill.done:
                        os.killpg(kill.process.pid, signal.SIGKILL)
                    kill.done = True
            if kill.done:
                return

    def _serve(self, client, kill):
        yield "connected"
        _, body, length = client.read_head(piece=4096)
        if length is None:
            return
        for end, moment in ((length // 2, "half read"), (length, "read")):
            while len(body) < end:
                got = client.connection.recv(4096)
                if not got:
                    return
                body += got
            if moment == "read":
                with self._lock:
                    if not kill.done:
                        self.bodies.append(body)
            yield moment
        answer = http_answer(YES)
        client.send(answer[: len(answer) // 2])
        yield "half answered"
        client.send(answer[len(answer) // 2 :])
        yield "answered"


@pytest.mark.timeout(800)
class TestKilledProgram:
    def test_loses_nothing_and_sends_at_most_the_one_report_twice_whose_confirmation_was_arriving(self, program):
        random.seed(20)
        server = KillingServer()
        program.serve(server.answer)
        written, twice = 0, 0
        for kill in range(KILLS):
            while len(program.kept()) < 4:
                program.put(b"report %d " % written + os.urandom(30000).hex().encode())
                written += 1
            before = len(server.bodies)
            moment = server.MOMENTS[kill % len(server.MOMENTS)]
            process = program.start()
            server.arm(process.process, moment, report=kill // 5 % 4, delay=random.choice((0, 0, 0.001, 0.005, 0.02)))
            process.send("send-unsent")
            wait_until(lambda: not process.process.running(), f"the kill at {moment}")
            process.process.kill()
            confirmed = server.bodies[before:]
            kept = bodies(program.kept())  # each is whole, or this raises
            again = set(confirmed) & set(kept)
            assert len(again) <= 1, moment
            assert again <= set(confirmed[-1:]), "only the last one's confirmation was arriving"
            twice += len(again)
        server.arm()
        assert program.send() == (1, len(kept), 0, 0)
        numbers = [int(body.split()[1]) for body in server.bodies]
        assert set(numbers) == set(range(written))
        assert len(numbers) - written == twice
        print(f"{KILLS} kills, {written} reports, {twice} sent twice")

    def test_while_the_user_waits_for_an_upload_loses_nothing(self, program):
        server = KillingServer()
        program.serve(server.answer)
        log, expected = program.write_log(os.urandom(3 << 20))
        for moment in server.MOMENTS:
            process = program.start()
            program.post(log=log)
            server.arm(process.process, moment, report=0)
            process.send("upload")
            wait_until(lambda: not process.process.running(), f"the kill at {moment}")
            process.process.kill()
            server.arm()
            kept = bodies(program.kept())
            assert kept in ([expected], []) if moment == "answered" else kept == [expected], moment
            assert program.send() == (1, len(kept), 0, 0), moment
            assert program.kept() == []

    def test_while_the_report_is_written_leaves_it_whole_or_nothing(self, program):
        log, expected = program.write_log(os.urandom(48 << 20))
        server = program.serve()
        for _ in range(5):
            process = program.start()
            program.post(log=log)
            process.send("upload")
            limit = random.randrange(48 << 20)

            def far_enough():
                with contextlib.suppress(FileNotFoundError):  # one that is just being renamed
                    written = any(path.stat().st_size > limit for path in program.unsent.glob("*"))
                    return written or not process.process.running()

            while not far_enough():
                time.sleep(0.001)
            process.process.kill()
            before = len(server.requests)
            begun, sent_now, *rest = program.send()
            assert (begun, *rest) == (1, 0, 0)
            whole_ones = [body for body in bodies(server.requests[before:]) if len(body) == len(expected)]
            assert whole_ones == [expected] * sent_now
            assert list(program.unsent.iterdir()) == []
