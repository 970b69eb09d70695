"""The reason that is given for each kind of fault."""

import re
import subprocess

from testing import runner
from describing import DescribingCase, source_line

READ, WRITTEN, EXECUTED = (
    f"EXCEPTION_ACCESS_VIOLATION (C0000005): memory at 00000000 could not be {how} (a null pointer)"
    for how in ("read", "written", "executed")
)
BY_ZERO = "EXCEPTION_INT_DIVIDE_BY_ZERO (C0000094): an integer was divided by zero"
OVERFLOW = "EXCEPTION_INT_OVERFLOW (C0000095): an integer result was too large"

# Fault: first line of the reason, faulting function, and a piece of the source line that it names.
FAULTS = {
    "read": (READ, "read_null", "sink = *"),
    "write": (WRITTEN, "write_null", "= 1;"),
    "divide": (BY_ZERO, "divide_by_zero", "sink = 7 / zero;"),
    "overflow-trap": (
        OVERFLOW,
        "overflow_trap",
        "",
    ),  # Wine names the instruction behind the trap, so no line is expected
    "illegal": (
        "EXCEPTION_ILLEGAL_INSTRUCTION (C000001D): the processor does not know the instruction",
        "illegal_instruction",
        "ud2",
    ),
    "privileged": (
        "EXCEPTION_PRIV_INSTRUCTION (C0000096): the instruction is reserved to the operating system",
        "privileged_instruction",
        "hlt",
    ),
    "breakpoint": ("EXCEPTION_BREAKPOINT (80000003): a breakpoint was reached", "breakpoint", "int3"),
    "float": (
        "EXCEPTION_FLT_DIVIDE_BY_ZERO (C000008E): a floating point number was divided by zero",
        "divide_float",
        "fdivrp",
    ),
    "nested": (WRITTEN, "write_null", "= 1;"),
}


class Reason(DescribingCase):
    def check(self, description, first_line, function, piece):
        self.assertEqual(description.reason[0], first_line)
        place = description.frames[0]
        self.assertRegex(place["function"], rf"(::|^){function}$")
        self.assertIn(piece, source_line(place))
        instruction = re.fullmatch(r"Instruction: (.*)", description.reason[1])[1]
        # A float fault is reported at the next float instruction; its own is printed with the float registers.
        if description.fault != "float":
            self.assertEqual(instruction, description.stack[0])

    def test_every_kind_of_fault_is_put_in_words_with_its_place(self):
        described = self.describe(*FAULTS)
        self.assertEqual([description.fault for description in described], list(FAULTS))
        for description in described:
            with self.subTest(description.fault):
                self.check(description, *FAULTS[description.fault])

    def test_executing_data_names_the_address_and_what_is_there(self):
        description = self.describe_one("execute")
        self.assertRegex(
            description.reason[0],
            r"^EXCEPTION_ACCESS_VIOLATION \(C0000005\): memory at ([0-9A-F]{8}) could not "
            r"be executed \((read-only memory of a module|memory that is there now)\)$",
        )
        self.assertRegex(description.reason[1], r"^Instruction: [0-9A-F]{8} describe_host\.exe\+")

    def test_call_through_a_null_pointer_is_an_execution_at_null(self):
        description = self.describe_one("call-null")
        self.assertEqual(description.reason[0], EXECUTED)
        self.assertEqual(description.reason[1], "Instruction: 00000000 no module")

    @runner.wine_cannot("an overflowing division arrives as one by zero, since the processor's trap is the same")
    def test_overflowing_division_is_an_overflow(self):
        self.assertEqual(self.describe_one("overflow").reason[0], OVERFLOW)

    def test_stack_overflow_is_described_with_its_recursion(self):
        description = self.describe_one("--thread", "stack")
        self.assertEqual(description.reason[0], "EXCEPTION_STACK_OVERFLOW (C00000FD): the thread used up its stack")
        self.assertEqual(set(description.functions[:90]), {"recurse"})
        self.assertRegex("\n".join(description.stack), r"\n\.\.\. \d+ more frames\n")
        below = description.functions[::-1]
        self.assertEqual(below[: below.index("recurse")][::-1][:2], ["overflow_stack", "commit_fault"])

    def test_exception_of_the_programs_own_shows_its_parameters(self):
        description = self.describe_one("software")
        self.assertEqual(description.reason[0], "exception (E0001234), parameters 00000011 00000022")

    def test_fault_on_a_second_thread_names_another_thread(self):
        first, second = self.describe_one("write"), self.describe_one("--thread", "write")
        self.assertEqual(second.reason[0], WRITTEN)
        self.assertIn("thread_main", second.functions)
        self.assertNotIn("thread_main", first.functions)

    def test_second_of_two_faults_gets_a_description_of_its_own(self):
        first, second = self.describe("divide", "write")
        self.assertEqual((first.reason[0], second.reason[0]), (BY_ZERO, WRITTEN))
        self.assertIn("divide_by_zero", first.functions)
        self.assertNotIn("divide_by_zero", second.functions)

    def test_registers_and_code_are_those_of_the_fault(self):
        description = self.describe_one("write")
        text = "\n".join(description.reason)
        self.assertRegex(text, r"\nEAX [0-9A-F]{8}  EBX [0-9A-F]{8}  ECX [0-9A-F]{8}  EDX [0-9A-F]{8}\nESI ")
        self.assertIn(f"\nEIP {description.frames[0]['address']}  EFL ", text)
        # mov dword ptr [eax], 1
        self.assertIn("\nCode: C7 00 01 00 00 00 ", text)

    def test_float_fault_shows_the_float_registers_and_the_failed_instruction(self):
        text = "\n".join(self.describe_one("float").reason)
        self.assertRegex(
            text, r"\nx87 control [0-9A-F]{4}, status [0-9A-F]{4}, instruction [0-9A-F]{8} describe_host\.exe\+"
        )
        self.assertRegex(text, r"\nMXCSR [0-9A-F]{8}")

    def test_reason_fits_into_its_share_of_a_report(self):
        for description in self.describe("write", "unloaded", "float"):
            self.assertLess(len("\n".join(description.reason)), 12 * 1024)


class Modules(DescribingCase):
    """The list of modules, compared with what another reader finds in their files."""

    def headers(self, name):
        path = self.product(name)
        text = subprocess.run(
            ["llvm-readobj-19", "--file-headers", "--coff-debug-directory", path],
            capture_output=True,
            text=True,
            check=True,
        ).stdout
        stamp = re.search(r"TimeDateStamp: .*\(0x([0-9A-F]+)\)", text)[1]
        size = re.search(r"SizeOfImage: (\d+)", text)[1]
        guid = re.search(r"PDBGUID: \{([0-9A-F-]+)\}", text)[1].replace("-", "")
        age = re.search(r"PDBAge: (\d+)", text)[1]
        return f"{int(size):08X}", f"{int(stamp, 16):08X}", f"{guid}{int(age):X}"

    def test_each_line_identifies_its_file(self):
        listed = self.describe_one("guest").modules()
        for name in ("describe_host.exe", "fault_guest.dll", "faultkit.dll"):
            with self.subTest(name):
                _, size, stamp, _, key = listed[name]
                self.assertEqual((size, stamp, key), self.headers(name))

    def test_version_is_that_of_the_resource(self):
        listed = self.describe_one("write").modules()
        self.assertRegex(listed["faultkit.dll"][3], r"^\d+\.\d+\.\d+\.0$")
        self.assertEqual(listed["describe_host.exe"][3], "-")

    def test_executable_comes_first_and_the_systems_last(self):
        names = list(self.describe_one("guest").modules())
        self.assertEqual(names[:2], ["describe_host.exe", "fault_guest.dll"])
        self.assertIn("ntdll.dll", names[3:])

    def test_unloaded_module_is_listed_with_its_time_stamp(self):
        listed = self.describe_one("unloaded").modules()
        _, size, stamp, version, key = listed["fault_guest.dll [unloaded]"]
        self.assertEqual((size, stamp), self.headers("fault_guest.dll")[:2])
        self.assertEqual((version, key), ("-", "-"))
