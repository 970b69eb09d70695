"""The exported functions and the dialog's message loop, driven by hosts without a person."""

from testing import report_dialog, runner


class Api(runner.Case):
    def test_exported_functions_keep_their_promises(self):
        done = self.wine(self.desktop()).run(self.product("api_host.exe"))
        self.assertNotIn("FAILED", done.text)
        self.assertRegex(done.text, r"checked \d{2}\n")

    def test_fault_while_a_report_is_destroyed_destroys_it_no_second_time(self):
        done = self.wine(self.desktop()).run(self.product("free_host.exe"))
        self.assertEqual(done.text.splitlines(), ["SEHWendaxExceptionGenerated", "given back 1 times"])


class TheExceptionObject(runner.Case):
    EXPECTED = {
        "size": "16",
        "auto-delete flag at 4": "1",
        "code at 8": "C0000094",
        "pointers at 12": "1",
        "slot 1 class": "CSeException",
        "slot 1 base": "CException",
        "slot 1 root": "CObject",
        "slot 2 destroys": "1",
        "slots 1 and 2 are its own": "1",
        "slots 3 to 7 are the base's": "1",
        "slot 6 has no text": "1",
    }

    def test_has_its_functions_and_fields_where_a_visual_cpp_caller_looks(self):
        done = self.wine().run(self.product("exception_host.exe"), check=True)
        self.assertEqual(dict(line.split(": ", 1) for line in done.text.splitlines()), self.EXPECTED)


class Loop(runner.Case):
    def lines(self, *mode):
        return self.wine(self.desktop()).run(self.product("loop_host.exe"), *mode).text.splitlines()

    def test_order_to_quit_ends_the_dialog_and_arrives_at_the_host(self):
        self.assertEqual(self.lines("quit"), ["answer 0", "cursor restored", "then quit with 7"])

    def test_program_that_is_quitting_already_gets_its_report_and_quits_afterwards(self):
        self.assertEqual(self.lines("waiting-quit"), ["answer 1", "cursor restored", "then quit with 5"])

    def test_program_that_is_quitting_already_gets_the_upload_dialog_too(self):
        self.assertEqual(self.lines("waiting-quit", "upload"), ["answer 2", "cursor restored", "then quit with 5"])

    def test_order_to_quit_ends_the_dialog_of_a_program_that_is_quitting_already(self):
        self.assertEqual(self.lines("quit-both"), ["answer 0", "cursor restored", "then quit with 7"])

    def test_button_pressed_by_a_sent_message_closes_at_once(self):
        self.assertEqual(
            self.lines("sent-command"), ["answer 1", "the first of 2 cursors was the arrow", "cursor restored"]
        )

    def test_dialog_that_others_destroy_answers_nothing(self):
        self.assertEqual(self.lines("destroyed"), ["answer 0", "cursor restored"])

    def test_dialog_that_cannot_be_made_answers_nothing_and_the_next_one_works(self):
        self.assertEqual(self.lines("refused"), ["answer 0", "cursor restored", "then answer 1"])

    def test_dialog_goes_on_after_another_within_its_loop(self):
        self.assertEqual(self.lines("nested"), ["inner answer 2", "answer 1", "cursor restored"])

    def test_messages_for_the_hosts_other_windows_wait_and_keep_nothing_from_showing(self):
        desktop = self.desktop()
        process = self.wine(desktop).start(self.product("loop_host.exe"), "flood")
        report_dialog.press(desktop, "Don't Open & Close")
        process.wait_family()
        self.assertEqual(process.result().text.splitlines(), ["answer 2", "cursor restored", "kept 100"])
