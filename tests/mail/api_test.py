"""The exported functions and the dialog's message loop, driven by hosts without a person."""

import re

from testing.product import MACHINE
from testing import report_dialog

EXCEPTION_OBJECT = {
    "size": MACHINE.choose("16", "32"),
    MACHINE.choose("auto-delete flag at 4", "auto-delete flag at 8"): "1",
    MACHINE.choose("code at 8", "code at 16"): "C0000094",
    MACHINE.choose("pointers at 12", "pointers at 24"): "1",
    "slot 1 class": "CSeException",
    "slot 1 base": "CException",
    "slot 1 root": "CObject",
    "slot 2 destroys": "1",
    "slots 1 and 2 are its own": "1",
    "slots 3 to 7 are the base's": "1",
    "slot 6 has no text": "1",
}


def test_exported_functions_keep_their_promises(stage):
    done = stage.wine(stage.desktop()).run(stage.product("api_host.exe"))
    assert "FAILED" not in done.text
    assert re.search(r"checked \d{2}\n", done.text)


def test_fault_while_a_report_is_destroyed_destroys_it_no_second_time(stage):
    done = stage.wine(stage.desktop()).run(stage.product("free_host.exe"))
    assert done.text.splitlines() == ["SEHWendaxExceptionGenerated", "given back 1 times"]


def test_fault_in_the_freeing_of_any_block_of_a_screenshot_ends_no_host(stage):
    wine = stage.wine(stage.desktop(width=800, height=600))
    came = []
    while "no fault" not in came:
        done = wine.run(stage.product("free_host.exe"), "screenshot", str(len(came)))
        outcome, end = done.text.splitlines()
        assert end == "end"
        came.append(outcome)
    assert came.count("costs the screenshot") >= 15
    assert set(came) == {"costs the screenshot", "passes on", "no fault"}


def test_exception_object_has_its_functions_and_fields_where_a_visual_cpp_caller_looks(stage):
    done = stage.wine().run(stage.product("exception_host.exe"), check=True)
    assert dict(line.split(": ", 1) for line in done.text.splitlines()) == EXCEPTION_OBJECT


def loop_lines(stage, *mode):
    """What the host of the dialog's message loop says in that mode."""
    return stage.wine(stage.desktop()).run(stage.product("loop_host.exe"), *mode).text.splitlines()


class TestLoop:
    def test_order_to_quit_ends_the_dialog_and_arrives_at_the_host(self, stage):
        assert loop_lines(stage, "quit") == ["answer 0", "cursor restored", "then quit with 7"]

    def test_program_that_is_quitting_already_gets_its_report_and_quits_afterwards(self, stage):
        assert loop_lines(stage, "waiting-quit") == ["answer 1", "cursor restored", "then quit with 5"]

    def test_program_that_is_quitting_already_gets_the_upload_dialog_too(self, stage):
        assert loop_lines(stage, "waiting-quit", "upload") == ["answer 2", "cursor restored", "then quit with 5"]

    def test_order_to_quit_ends_the_dialog_of_a_program_that_is_quitting_already(self, stage):
        assert loop_lines(stage, "quit-both") == ["answer 0", "cursor restored", "then quit with 7"]

    def test_button_pressed_by_a_sent_message_closes_at_once(self, stage):
        assert loop_lines(stage, "sent-command") == [
            "answer 1",
            "the first of 2 cursors was the arrow",
            "cursor restored",
        ]

    def test_dialog_that_others_destroy_answers_nothing(self, stage):
        assert loop_lines(stage, "destroyed") == ["answer 0", "cursor restored"]

    def test_dialog_that_cannot_be_made_answers_nothing_and_the_next_one_works(self, stage):
        assert loop_lines(stage, "refused") == ["answer 0", "cursor restored", "then answer 1"]

    def test_dialog_goes_on_after_another_within_its_loop(self, stage):
        assert loop_lines(stage, "nested") == ["inner answer 2", "answer 1", "cursor restored"]

    def test_messages_for_the_hosts_other_windows_wait_and_keep_nothing_from_showing(self, stage):
        desktop = stage.desktop()
        process = stage.wine(desktop).start(stage.product("loop_host.exe"), "flood")
        report_dialog.press(desktop, "Don't Open & Close")
        process.wait_family()
        assert process.result().text.splitlines() == ["answer 2", "cursor restored", "kept 100"]
