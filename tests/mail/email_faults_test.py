"""Each kind of fault, committed for real, becomes the marker and a message that names it."""

import pathlib
import re
import shutil

from testing import report_dialog, runner
from testing.host import Host
from testing.processes import wait_until

MARKER = "caught SEHWendaxExceptionGenerated"

ACCESS_VIOLATION = 0xC0000005
FAULTS = {
    "read": ACCESS_VIOLATION,
    "write": ACCESS_VIOLATION,
    "execute": ACCESS_VIOLATION,
    "divide": 0xC0000094,
    "illegal": 0xC000001D,
    "privileged": 0xC0000096,
    "breakpoint": 0x80000003,
    "float": 0xC000008E,
    "nested": ACCESS_VIOLATION,
}


class Faults(runner.Case):
    def report_each(self, *args, faults):
        """Runs the host through the faults, opening a report for each; gives the messages and the host's lines."""
        desktop = self.desktop()
        host = Host(self, "fault_host.exe", helper="full", desktop=desktop)
        process = host.start(*args, *faults, limit=280)
        messages = []
        for count in range(1, len(faults) + 1):
            report_dialog.press(desktop, "Open Error Report")
            messages = host.wait_messages(count)
        process.wait_family()
        return messages, process.result().text.splitlines()

    def test_every_kind_of_fault_is_reported_with_its_code(self):
        messages, lines = self.report_each(faults=FAULTS)
        self.assertEqual(
            [hex(message.exception_code()) for message in messages], [hex(code) for code in FAULTS.values()]
        )
        self.assertEqual(lines.count(MARKER), len(FAULTS))
        self.assertEqual(lines.count("reported"), len(FAULTS))
        self.assertEqual(lines[-1], "end")
        # The nested fault came last: its two objects went before the catch block, the inner one first.
        self.assertEqual(lines[-5:-1], ["destroyed 2", "destroyed 1", MARKER, "reported"])

    @runner.wine_cannot("an overflowing division arrives as one by zero, since the processor's trap is the same")
    def test_division_overflow_has_a_code_of_its_own(self):
        messages, _ = self.report_each(faults=["overflow"])
        self.assertEqual(messages[0].exception_code(), 0xC0000095)

    def test_division_overflow_is_reported(self):
        messages, lines = self.report_each(faults=["overflow"])
        self.assertIn(messages[0].exception_code(), (0xC0000094, 0xC0000095))
        self.assertEqual(lines, [MARKER, "reported", "end"])

    def test_second_of_two_faults_is_the_one_described(self):
        messages, _ = self.report_each(faults=["divide", "write"])
        self.assertEqual(messages[0].exception_code(), FAULTS["divide"])
        self.assertEqual(messages[1].exception_code(), FAULTS["write"])

    def test_fault_on_a_second_thread_is_reported(self):
        messages, lines = self.report_each("--thread", faults=["divide"])
        self.assertEqual(messages[0].exception_code(), FAULTS["divide"])
        self.assertEqual(lines, [MARKER, "reported", "end"])

    def test_fault_elsewhere_does_not_change_a_report_that_waits_for_the_user(self):
        desktop = self.desktop()
        host = Host(self, "fault_host.exe", helper="full", desktop=desktop)
        process = host.start("--meanwhile", "divide", "write")
        wait_until(lambda: b"caught meanwhile" in process.stdout, "the other thread's fault", seen=process.output)
        report_dialog.press(desktop, "Open Error Report")
        self.assertEqual(host.wait_messages(1)[0].exception_code(), FAULTS["write"])
        process.wait_family()

    def test_thread_that_is_not_covered_is_not_translated(self):
        host = Host(self, "fault_host.exe", desktop=self.desktop())
        done = host.run("--bare", "write")
        self.assertNotIn("caught", done.text)
        self.assertNotEqual(done.returncode, 0)

    def test_stack_overflow_is_reported_as_often_as_it_happens(self):
        for args in ((), ("--thread",)):
            messages, lines = self.report_each(*args, faults=["stack", "write", "stack"])
            self.assertEqual(
                [hex(message.exception_code()) for message in messages],
                ["0xc00000fd", hex(ACCESS_VIOLATION), "0xc00000fd"],
            )
            self.assertEqual(lines, [MARKER, "reported"] * 3 + ["end"])

    def test_stack_lines_come_from_the_helper(self):
        messages, _ = self.report_each(faults=["divide"])
        description = messages[0].body[messages[0].body.index(b"Crush Expantion:") :]
        self.assertRegex(
            description,
            rb"^Crush Expantion:\nreason code C0000094 address [0-9A-F]{8}\n\nStack Trace:\n"
            rb"first line 0 options 15 code C0000094\nnext line 1 options 15 code C0000094\n"
            rb"next line 2 options 15 code C0000094\n\n",
        )


class Helpers(runner.Case):
    """What the report says with a helper library of each kind."""

    def description_with(self, helper, stray=None):
        """stray: where on the system's search path, by its name, another helper lies."""
        desktop = self.desktop()
        host = Host(self, "fault_host.exe", helper=helper, desktop=desktop)
        if stray:
            shutil.copy(
                self.product("Wendax.dll").parent.parent / "test-helpers" / "full" / "faultkit.dll",
                host.prefix.to_unix(stray),
            )
        process = host.start("divide")
        report_dialog.press(desktop, "Open Error Report")
        body = host.wait_messages(1)[0].body
        process.wait_family()
        # The printers' section comes last in the system text; the fault's description follows the host application's.
        return re.split(rb"Cannot extract version number of Lumivale\n", body)[1]

    def test_without_a_helper_the_report_says_so(self):
        self.assertEqual(self.description_with(None).rstrip(b"\r\n"), b"faultkit.dll was not found")

    def test_helper_that_is_not_beside_the_host_is_not_taken(self):
        self.assertEqual(
            self.description_with(None, stray="C:\\windows\\system32").rstrip(b"\r\n"), b"faultkit.dll was not found"
        )

    def test_without_a_reason_the_description_begins_with_the_stack(self):
        self.assertTrue(self.description_with("no_reason").startswith(b"Stack Trace:\nfirst line 0 options 15"))

    def test_without_one_of_the_stack_functions_there_is_no_line(self):
        for helper in ("no_first", "no_next"):
            with self.subTest(helper):
                self.assertRegex(
                    self.description_with(helper).rstrip(b"\r\n"),
                    rb"^Crush Expantion:\nreason code C0000094 address [0-9A-F]{8}\n\nStack Trace:$",
                )

    def test_helper_without_reason_text_and_lines_leaves_the_captions(self):
        self.assertEqual(self.description_with("silent").rstrip(b"\r\n"), b"Crush Expantion:\n\n\nStack Trace:")

    def test_helper_that_clears_the_stack_itself_does_no_harm(self):
        self.assertEqual(
            self.description_with("stdcall").rstrip(b"\r\n"),
            b"Crush Expantion:\nstdcall reason\n\nStack Trace:\n" + b"\n".join([b"stdcall line"] * 501),
        )

    # A helper gone wrong: the report takes no more of a text than it could show.
    def test_helper_with_300_MB_of_reason_costs_neither_the_report_nor_the_memory(self):
        desktop = self.desktop()
        host = Host(self, "fault_host.exe", helper="endless_reason", desktop=desktop)
        process = host.start("divide", "none")
        report_dialog.press(desktop, "Open Error Report")
        body = host.wait_messages(1)[0].body
        report_dialog.wait(desktop)
        peaks = [
            int(re.search(r"VmHWM:\s+(\d+) kB", pathlib.Path(f"/proc/{pid}/status").read_text())[1])
            for pid, name in process.family().items()
            if name == "fault_host.exe"
        ]
        self.assertIn(b"Crush Expantion:\n" + b"endless" * 1000, body)
        self.assertEqual(len(peaks), 1)
        self.assertLess(peaks[0], 256 * 1024)
        report_dialog.press(desktop, "Don't Open & Close")
        process.wait_family()
