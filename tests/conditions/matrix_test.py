"""Reports while something is wrong: what the user sees, what is written, how the host goes on.

Each row is a host that fails for real, on a stage that all rows share: a desktop, a Wine prefix, an upload server, and an
onlooker who answers what is asked. What came of it is compared with what should, and written down for the table.
"""

import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

import table
from scene import Onlooker, Outcome, Scene
from testing.desktop import Desktop
from testing.prefix import fresh_prefix
from testing.wine import Wine
from testing.host import redirect
from testing.loopback import loopback_address
from testing.runner import Case, wine_cannot
from testing.upload_body import CONFIRMATION
from testing.web_server import WebServer, answering, http_answer

YES = b"Well: " + CONFIRMATION
DEFAULT_PRINTER = r"HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\Windows"
PRINTER = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Print\Printers\Office"
BIN = pathlib.Path(os.environ.get("WENDAX_BIN") or table.REPO / "build" / "windows" / "bin").absolute()

DIALOG, MESSAGE, FAILURE = "the dialog", "the message in the mail program", "the failure text"
FLEETING = "the dialog for a moment"
MAIL = Outcome(
    f"{DIALOG}, then {MESSAGE}", "a message with reason and stack, screenshot, notes; screenshot file", "goes on"
)
UPLOAD = Outcome(DIALOG, "screenshot file, system text; sent: notes, screenshot, system text", "goes on")
# By design a screenshot that can't be made is named in the message all the same.
MAIL_WITHOUT_PICTURE = dataclasses.replace(
    MAIL, written="a message with reason and stack, an empty screenshot, notes; no screenshot file"
)
UPLOAD_WITHOUT_PICTURE = dataclasses.replace(
    UPLOAD, written="no screenshot file, system text; sent: notes, no screenshot, system text"
)
UPLOAD_FAILED = Outcome(
    f"{DIALOG}, then {FAILURE}", "screenshot file, system text; sent: notes, screenshot, system text", "goes on"
)
NEXT_HANDLER = "its next handler gets the fault; goes on"


def mail(base=MAIL, **differences):
    return dataclasses.replace(base, **differences)


def upload(base=UPLOAD, **differences):
    return dataclasses.replace(base, **differences)


def setUpModule():
    """Sets the stage; its things are attributes of all cases."""
    table.forget()
    desktop = unittest.enterModuleContext(Desktop(width=800, height=600))
    Stage.wine = Wine(desktop, unittest.enterModuleContext(fresh_prefix()))
    Stage.wine.associate(".eml", BIN / "mail_program.exe")
    Stage.wine.import_registry(f'[{PRINTER}]\n"Name"="Office"\n"Port"="LPT1:"\n"Printer Driver"="wineps"\n')
    Stage.wine.set_registry(DEFAULT_PRINTER, "device", "Office,winspool,LPT1:")
    Stage.onlooker = Onlooker(Stage.wine, BIN / "onlooker.exe")
    unittest.addModuleCleanup(Stage.onlooker.end)
    address = loopback_address()
    Stage.server = unittest.enterModuleContext(WebServer(address, 80, answering(YES)))
    Stage.library = pathlib.Path(unittest.enterModuleContext(tempfile.TemporaryDirectory())) / "Wendax.dll"
    shutil.copy(BIN / "Wendax.dll", Stage.library)
    redirect(Stage.library, "--upload-server", address)


def tearDownModule():
    unittest.doModuleCleanups()


class Stage(Case):
    """order: the place of the class's rows in the table."""

    time_limit = 600
    order = 0

    def scene(self, road, helper="full", module="fall", temp="temp"):
        """helper, module: a folder below test-helpers, a library of the product, or None."""
        return Scene(self, road, self.variant(helper, "faultkit.dll"), self.variant(module, "fall.dll"), temp)

    def variant(self, name, file):
        if not name:
            return None
        place = BIN.parent / "test-helpers" / name / file
        return place if place.exists() else self.product(name + ".dll")

    def rows(
        self, place, condition, expected, *conditions, arrange=None, env=None, fleeting=False, hosts=(), **options
    ):
        """Makes a report by each road of which an outcome is expected. arrange(scene) comes before. fleeting: the dialog
        goes by itself, so that the onlooker may or may not have seen it. hosts: what the host may get, where Wines
        differ."""
        for outcome in expected:
            road = self.road_of(outcome)
            with self.subTest(condition, road=road):
                scene = self.scene(road, **options)
                scene.keep_earlier_message()
                if arrange:
                    arrange(scene)
                came = scene.run(*conditions, env=env)
                if fleeting and came.sees in ("nothing", DIALOG):
                    came = dataclasses.replace(came, sees=FLEETING)
                if came.host in hosts:
                    came = dataclasses.replace(came, host=" or ".join(hosts))
                table.record(self.order * 100 + place, road, condition, *dataclasses.astuple(came))
                self.assertEqual(came, outcome)

    def windows_only(self, place, condition, expected, *conditions, arrange=None):
        """Like rows, for what Wine can't do: where that shows, the table says so."""
        came = []
        for outcome in expected:
            road = self.road_of(outcome)
            scene = self.scene(road)
            if arrange:
                arrange(scene)
            came.append(scene.run(*conditions))
            shown = dataclasses.astuple(came[-1]) if came[-1] == outcome else ("(not to be tried under Wine)", "", "")
            table.record(self.order * 100 + place, road, condition, *shown)
        self.assertEqual(came, expected)

    def road_of(self, outcome):
        return "mail" if re.match("an? .*message|no message", outcome.written) else "upload"


class Nothing(Stage):
    order = 0

    def test_in_the_way(self):
        self.rows(0, "Nothing", [MAIL, UPLOAD])


class Memory(Stage):
    order = 1

    def test_that_is_gone_makes_no_report(self):
        self.rows(0, "No memory is left", [mail(sees="nothing", written="no message; no screenshot file")], "memory")
        # Which of the two depends on whose allocation is the first that fails.
        ends = ("goes on", "gets the exception for no memory and goes on")
        self.rows(
            0,
            "No memory is left",
            [
                upload(
                    sees="nothing", written="no screenshot file, no system text; nothing sent", host=" or ".join(ends)
                )
            ],
            "memory",
            hosts=ends,
        )

    def test_too_small_for_the_screenshot_costs_the_screenshot(self):
        self.rows(
            1,
            "No block of memory larger than 512 KB is left",
            [MAIL_WITHOUT_PICTURE, UPLOAD_WITHOUT_PICTURE],
            "blocks",
            "512",
        )

    def test_whose_records_are_overwritten_does_no_harm(self):
        self.rows(2, "The records of the host's heap are overwritten", [MAIL, UPLOAD], "heap")

    def test_of_the_runtime_that_is_damaged_for_good_is_not_needed(self):
        self.rows(4, "The heap of the host's runtime faults whenever it is asked", [MAIL, UPLOAD], "broken-heap")

    def test_of_the_stack_is_not_needed(self):
        self.rows(3, "The fault is a stack overflow", [MAIL, UPLOAD], "--stack")


class Faults(Stage):
    order = 2

    def test_of_a_display_driver_cost_the_screenshot(self):
        self.rows(
            0, "A fault in the display's driver", [MAIL_WITHOUT_PICTURE, UPLOAD_WITHOUT_PICTURE], "fault", "BitBlt"
        )

    def test_of_a_printer_driver_cost_the_list_of_printers(self):
        self.rows(
            1,
            "A fault in a printer's driver",
            [
                mail(written="a message with reason and stack, screenshot, notes, no printers; screenshot file"),
                upload(written="screenshot file, system text, no printers; sent: notes, screenshot, system text"),
            ],
            "fault",
            "EnumPrintersA",
        )

    def test_in_the_shell_come_when_the_message_is_written(self):
        self.rows(2, "A fault in the shell", [mail(sees=DIALOG, host=NEXT_HANDLER)], "fault", "ShellExecuteA")

    def test_in_the_shell_on_a_thread_without_translator_end_the_host(self):
        self.rows(
            3,
            "The same, on a thread that isn't covered",
            [mail(sees=DIALOG, host="ends by the fault")],
            "--uncovered",
            "fault",
            "ShellExecuteA",
        )

    def test_in_the_transport_are_a_failed_upload(self):
        self.rows(
            2,
            "A fault while sending",
            [upload(UPLOAD_FAILED, written="screenshot file, system text; nothing sent")],
            "fault",
            "HttpSendRequestA",
        )

    def test_in_the_dialog_reach_the_next_handler(self):
        self.rows(
            4,
            "A fault in the dialog's message loop",
            [
                mail(sees=FLEETING, written="no message; screenshot file", host=NEXT_HANDLER),
                upload(sees=FLEETING, written="screenshot file, system text; nothing sent", host=NEXT_HANDLER),
            ],
            "fault",
            "PeekMessageA",
            fleeting=True,
        )

    # In destructors, which throw nothing in the language's own terms.
    def test_where_the_screen_is_given_back_cost_the_screenshot(self):
        self.rows(
            5,
            "A fault where the screen's device context is given back",
            [MAIL_WITHOUT_PICTURE, UPLOAD_WITHOUT_PICTURE],
            "fault",
            "DeleteDC",
        )

    def test_where_an_attachment_is_closed_reach_the_next_handler(self):
        self.rows(
            6,
            "A fault where an attachment is closed",
            [mail(sees=DIALOG, written="no message; screenshot file", host=NEXT_HANDLER)],
            "fault",
            "UnmapViewOfFile",
        )

    def test_when_GDI_plus_is_stopped_do_no_harm(self):
        self.rows(7, "A fault where GDI+ is stopped", [MAIL, UPLOAD], "fault", "GdiplusShutdown")

    def test_in_the_measurement_of_the_clock_cost_the_clock(self):
        self.rows(
            8,
            "A fault where the clock is measured",
            [
                mail(written="a message with reason and stack, screenshot, notes, no clock; screenshot file"),
                upload(written="screenshot file, system text, no clock; sent: notes, screenshot, system text"),
            ],
            "fault",
            "QueryPerformanceCounter",
        )

    def test_where_the_picture_is_made_leave_no_device_context(self):
        self.rows(
            9,
            "A fault where the bitmap of the screenshot is made",
            [MAIL_WITHOUT_PICTURE, UPLOAD_WITHOUT_PICTURE],
            "contexts",
            "fault",
            "CreateDIBSection",
        )


class ForeignExceptions(Stage):
    """C++ exceptions that others throw: hooks, in-process servers, drivers."""

    order = 9

    def test_from_a_display_driver_cost_the_screenshot(self):
        self.rows(
            0,
            "A display driver throws a C++ exception",
            [MAIL_WITHOUT_PICTURE, UPLOAD_WITHOUT_PICTURE],
            "throw",
            "BitBlt",
        )

    def test_from_a_printer_driver_cost_the_list_of_printers(self):
        self.rows(
            1,
            "A printer's driver throws one",
            [
                mail(written="a message with reason and stack, screenshot, notes, no printers; screenshot file"),
                upload(written="screenshot file, system text, no printers; sent: notes, screenshot, system text"),
            ],
            "throw",
            "EnumPrintersA",
        )

    def test_from_a_hooked_clock_cost_the_clock(self):
        self.rows(
            2,
            "The clock's counter throws one",
            [
                mail(written="a message with reason and stack, screenshot, notes, no clock; screenshot file"),
                upload(written="screenshot file, system text, no clock; sent: notes, screenshot, system text"),
            ],
            "throw",
            "QueryPerformanceCounter",
        )

    def test_while_sending_are_a_failed_upload(self):
        self.rows(
            3,
            "The transport throws one",
            [upload(UPLOAD_FAILED, written="screenshot file, system text; nothing sent")],
            "throw",
            "HttpSendRequestA",
        )


class TemporaryFolder(Stage):
    order = 3
    NOT_WRITTEN = [
        mail(sees=DIALOG, written="no message; no screenshot file"),
        upload(written="no screenshot file, no system text; sent: notes, no screenshot, no system text"),
    ]

    def mount(self, scene, size, read_only=False):
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "none", scene.temp], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", scene.temp], check=True)
        scene.keep_earlier_message()
        if read_only:
            subprocess.run(["mount", "-o", "remount,ro", scene.temp], check=True)

    def fill(self, scene, left):
        """left: bytes that are free in the end, in whole pages."""
        self.mount(scene, "64k")
        with open(scene.temp / "filler", "wb") as file:
            while os.statvfs(scene.temp).f_bavail * os.statvfs(scene.temp).f_frsize > left:
                file.write(bytes(4096))
                file.flush()

    def test_that_is_full_takes_an_empty_message(self):
        self.rows(
            0,
            "The folder of temporary files is full",
            [
                mail(written="an empty message; no screenshot file"),
                upload(
                    written="no screenshot file, an empty system text; " "sent: notes, no screenshot, no system text"
                ),
            ],
            arrange=lambda scene: self.fill(scene, 0),
        )

    def test_that_is_nearly_full_takes_a_part(self):
        self.rows(
            1,
            "It has room for 4 KB",
            [
                mail(written="a message cut short; no screenshot file"),
                upload(written="no screenshot file, system text; sent: notes, no screenshot, system text"),
            ],
            arrange=lambda scene: self.fill(scene, 4096),
        )

    def test_that_is_missing_takes_nothing(self):
        def arrange(scene):
            scene.temp_name = "C:\\nowhere\\at all"

        self.rows(2, "It is missing", self.NOT_WRITTEN, arrange=arrange)

    def test_that_is_a_file_is_left_as_it_is(self):
        def arrange(scene):
            scene.temp_name = scene.prefix.to_windows(scene.folder / "notes.txt")

        self.rows(3, "It is a file", self.NOT_WRITTEN, arrange=arrange)

    def test_that_is_read_only_takes_nothing(self):
        self.rows(4, "It can't be written", self.NOT_WRITTEN, arrange=lambda scene: self.mount(scene, "64k", True))

    def long(self, scene, length):
        """A name below the scene's folder that is so long in all."""
        start = len(scene.prefix.to_windows(scene.folder)) + 1
        name = "/".join(["l" * 99] * 3)[: length - start]
        scene.temp = scene.folder / name
        scene.temp.mkdir(parents=True)

    def test_with_a_long_name_takes_all(self):
        self.rows(5, "Its name has 240 characters", [MAIL, UPLOAD], arrange=lambda scene: self.long(scene, 240))

    def test_with_a_name_beyond_what_windows_takes_takes_nothing(self):
        self.rows(6, "Its name has 300 characters", self.NOT_WRITTEN[:1], arrange=lambda scene: self.long(scene, 300))

    @wine_cannot("it takes names of any length")
    def test_with_a_name_beyond_what_windows_takes_takes_nothing_for_the_upload_either(self):
        self.windows_only(
            6, "Its name has 300 characters", self.NOT_WRITTEN[1:], arrange=lambda scene: self.long(scene, 300)
        )

    def test_with_letters_of_the_code_page_takes_all(self):
        self.rows(7, "Its name has other letters than English", [MAIL, UPLOAD], temp="Übermäßig viele Dateien")

    def test_with_letters_beyond_the_code_page_takes_all(self):
        self.rows(8, "Its name has letters that the code page lacks", [MAIL, UPLOAD], temp="временные файлы")


class MailProgram(Stage):
    order = 4

    def associate(self, command):
        self.wine.dissociate(".eml")
        self.addCleanup(self.wine.associate, ".eml", BIN / "mail_program.exe")
        if command:
            self.wine.associate(".eml", command)

    def test_that_is_none_leaves_the_message_where_it_is(self):
        self.associate(None)
        self.rows(0, "No program opens messages", [mail(sees=DIALOG)])

    def test_that_is_missing_leaves_the_message_where_it_is(self):
        self.associate("C:\\gone\\mail.exe")
        self.rows(1, "The program that opens messages is missing", [mail(sees=DIALOG)])

    def test_that_fails_leaves_the_message_where_it_is(self):
        self.rows(
            2,
            "The program that opens messages ends at once with an error",
            [mail(sees=DIALOG)],
            env={"MAIL_PROGRAM_LOG": None},
        )


class System(Stage):
    order = 5
    NO_GDIPLUS = {"WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree,mshtml=;gdiplus=d"}  # Wine's way to say it

    def test_without_a_spooler_lists_no_printers(self):
        no_printers = [
            mail(written="a message with reason and stack, screenshot, notes, no printers; screenshot file"),
            upload(written="screenshot file, system text, no printers; sent: notes, screenshot, system text"),
        ]
        self.rows(0, "The spooler isn't running", no_printers, "printers")
        self.rows(1, "The spooler answers after three seconds, with an error", no_printers, "slow-printers")

    def test_without_a_registry_has_fixed_texts(self):
        self.rows(2, "The registry doesn't answer", [MAIL, UPLOAD], "registry")

    def test_without_gdiplus_still_has_the_screenshot(self):
        self.rows(3, "There is no GDI+", [MAIL, UPLOAD], env=self.NO_GDIPLUS)

    def test_without_gdi_handles_has_no_screenshot(self):
        self.rows(4, "No GDI handle is left", [MAIL_WITHOUT_PICTURE, UPLOAD_WITHOUT_PICTURE], "gdi")


class FormatModule(Stage):
    order = 6

    def without_picture(self, place, condition, module, box=None):
        before = f"a box “{box}”, then " if box else ""
        self.rows(
            place,
            condition,
            [
                mail(MAIL_WITHOUT_PICTURE, sees=before + MAIL.sees),
                upload(UPLOAD_WITHOUT_PICTURE, sees=before + UPLOAD.sees),
            ],
            module=module,
        )

    def test_that_is_missing_is_not_missed(self):
        self.without_picture(0, "`fall.dll` is missing", None)

    def test_of_another_version_is_passed_over(self):
        self.without_picture(1, "`fall.dll` is of another version", "module_of_another_version")

    def test_without_discovery_is_complained_about(self):
        self.without_picture(
            2, "`fall.dll` has no `GetFilterInfo`", "module_without_discovery", "Bad format for 'fall.dll'"
        )

    def test_without_entries_is_complained_about(self):
        self.without_picture(
            3,
            "`fall.dll` has none of the entries of its format",
            "module_without_entries",
            "Bad format for JPG, 'fall.dll'",
        )

    def test_that_faults_while_it_is_asked_is_passed_over(self):
        self.without_picture(4, "`fall.dll` faults in `GetFilterInfo`", "faulty_discovery")

    def test_that_faults_while_it_saves_leaves_no_picture(self):
        self.without_picture(5, "`fall.dll` faults while it saves", "faulty_module")


class Helper(Stage):
    order = 7

    def described(self, place, condition, helper, description):
        self.rows(
            place,
            condition,
            [mail(written=f"a message with “{description}”, screenshot, notes; screenshot file")],
            helper=helper,
        )

    def test_that_is_missing_is_named(self):
        self.described(0, "`faultkit.dll` is missing", None, "faultkit.dll was not found")

    def test_that_faults_is_named_in_place_of_what_it_should_have_said(self):
        self.described(
            1,
            "`faultkit.dll` faults while it gives the reason",
            "helper_faulting_in_reason",
            "Crush Expantion: / (faultkit.dll met a fault) /  / Stack Trace: / frame / …",
        )
        self.described(
            2,
            "`faultkit.dll` faults while it gives the stack",
            "helper_faulting_in_stack",
            "Crush Expantion: / the reason /  / Stack Trace: / frame / frame / (faultkit.dll met a fault)",
        )

    def test_that_throws_is_named_in_place_of_what_it_should_have_said(self):
        self.described(
            4,
            "`faultkit.dll` throws a C++ exception in place of the reason",
            "helper_throwing_in_reason",
            "Crush Expantion: / (faultkit.dll met a fault) /  / Stack Trace: / frame / …",
        )
        self.described(
            5,
            "`faultkit.dll` throws one in place of the first line of the stack",
            "helper_throwing_in_first_line",
            "Crush Expantion: / the reason /  / Stack Trace: / (faultkit.dll met a fault)",
        )
        self.described(
            6,
            "`faultkit.dll` throws one in place of a later line",
            "helper_throwing_in_stack",
            "Crush Expantion: / the reason /  / Stack Trace: / frame / frame / (faultkit.dll met a fault)",
        )

    def test_without_end_is_cut(self):
        self.described(
            3,
            "`faultkit.dll` gives frames without end",
            "helper_without_end",
            "Crush Expantion: / the reason /  / Stack Trace: / frame / …",
        )


def breaking_off(client):
    client.read_request()
    client.send(http_answer(YES + b" " * 1000)[:-1000].replace(CONFIRMATION, b"Data has upl"))
    client.reset()


class Server(Stage):
    order = 8

    def answered(self, place, condition, answer, outcome, *conditions):
        before, self.server.answer = self.server.answer, answer
        self.addCleanup(setattr, self.server, "answer", before)
        self.rows(place, condition, [outcome], *conditions)

    def test_that_refuses_is_a_failure(self):
        self.server.end()
        self.addCleanup(self.server.__enter__)
        self.rows(
            0,
            "The server refuses the connection",
            [upload(UPLOAD_FAILED, written="screenshot file, system text; nothing sent")],
        )

    def test_that_hangs_up_is_a_failure(self):
        self.answered(1, "The server hangs up before it answers", lambda client: client.read_request(), UPLOAD_FAILED)
        self.answered(2, "The server hangs up in the middle of its answer", breaking_off, UPLOAD_FAILED)

    def test_that_answers_with_an_error_is_a_failure(self):
        for place, status in enumerate(("404 Not Found", "413 Content Too Large", "500 Internal Server Error"), 3):
            self.answered(place, f"The server answers “{status}”", answering(b"no", status), UPLOAD_FAILED)

    def test_whose_answer_is_long_is_heard_to_the_end(self):
        long = answering(b"Data " * (12 << 20 >> 2) + CONFIRMATION)
        self.answered(6, "The server answers with 15 MB, the confirmation last", long, UPLOAD)

    def test_whose_answer_is_huge_is_heard_up_to_16_MB(self):
        huge = answering(b"Data " * (64 << 20 >> 2) + CONFIRMATION)
        self.answered(9, "The server answers with 80 MB, the confirmation last", huge, UPLOAD_FAILED)

    def test_whose_answer_is_beyond_memory_is_a_failure(self):
        huge = answering(b"Data " * (8 << 20 >> 2) + CONFIRMATION)
        self.answered(
            7,
            "The server answers with 10 MB, and no block of memory larger than 5 MB is left",
            huge,
            UPLOAD_FAILED,
            "blocks",
            "5120",
        )

    def test_that_never_answers_keeps_the_user_waiting_until_the_connection_ends(self):
        self.answered(
            8,
            "The server never answers; the connection ends after a while",
            lambda client: (client.read_request(), client.server.wait_end(4)),
            UPLOAD_FAILED,
        )
