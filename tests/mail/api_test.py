"""The exported functions and the dialog's message loop, driven by hosts without a person."""

from support import report_dialog, runner


class Api(runner.Case):
    def test_exported_functions_keep_their_promises(self):
        done = self.wine(self.desktop()).run(self.product("api_host.exe"))
        self.assertNotIn("FAILED", done.text)
        self.assertRegex(done.text, r"checked \d{2}\n")


    def test_fault_while_a_report_is_destroyed_destroys_it_no_second_time(self):
        done = self.wine(self.desktop()).run(self.product("free_host.exe"))
        self.assertEqual(done.text.splitlines(), ["SEHWendaxExceptionGenerated", "given back 1 times"])


class Loop(runner.Case):
    def lines(self, mode):
        return self.wine(self.desktop()).run(self.product("loop_host.exe"), mode).text.splitlines()

    def test_order_to_quit_ends_the_dialog_and_arrives_at_the_host(self):
        self.assertEqual(self.lines("quit"), ["answer 0", "cursor restored", "then quit with 7"])

    def test_button_pressed_by_a_sent_message_closes_at_once(self):
        self.assertEqual(self.lines("sent-command"), ["answer 1", "cursor restored"])

    def test_dialog_goes_on_after_another_within_its_loop(self):
        self.assertEqual(self.lines("nested"), ["inner answer 2", "answer 1", "cursor restored"])

    def test_messages_for_the_hosts_other_windows_wait_and_keep_nothing_from_showing(self):
        desktop = self.desktop()
        process = self.wine(desktop).start(self.product("loop_host.exe"), "flood")
        report_dialog.press(desktop, "Don't Open & Close")
        process.wait_family()
        self.assertEqual(process.result().text.splitlines(), ["answer 2", "cursor restored", "kept 100"])


if __name__ == "__main__":
    runner.main()
