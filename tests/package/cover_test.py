"""WendaxCoverThread covers hosts with the C runtime of the library and with others."""

from testing import runner

CAUGHT = "caught the marker"


class Cover(runner.Case):
    program = "cover_host.exe"

    def lines(self, way):
        return self.wine().run(self.product(self.program), way).text.splitlines()

    def test_fault_becomes_the_marker(self):
        self.assertEqual(self.lines("cover"), ["before bare", "stack reserved", CAUGHT])

    def test_second_call_finds_the_translator(self):
        self.assertEqual(self.lines("twice"), ["before bare", "again covered", "stack reserved", CAUGHT])

    def test_translator_of_the_host_comes_first(self):
        self.assertEqual(self.lines("chain"), ["stack reserved", "code C0000005", CAUGHT])

    def asked_for(self, room):
        told = self.wine().run(self.product(self.program), "small", room, check=True).text
        return [int(line.removeprefix("asked for ")) for line in told.splitlines()]

    def test_thread_that_is_too_small_keeps_as_much_stack_back_as_it_can(self):
        self.assertEqual(self.asked_for(131072), [131072])
        self.assertEqual(self.asked_for(100000), [131072, 65536])
        self.assertEqual(self.asked_for(40000), [131072, 65536, 32768])
        self.assertEqual(self.asked_for(0), [131072, 65536, 32768])

    def test_abort_becomes_a_fault_where_the_host_lets_it(self):
        self.assertEqual(self.lines("abort"), ["stack reserved", "code E0000001", CAUGHT])


class CoverWithMsvcr120(Cover):
    program = "cover_msvcr120_host.exe"

    def test_library_alone_does_not_cover_it(self):
        self.assertNotIn(CAUGHT, self.lines("init"))


class CoverWithVcruntime140(CoverWithMsvcr120):
    program = "cover_vcruntime140_host.exe"
