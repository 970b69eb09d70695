"""The reason that is given for each kind of fault."""

import re

import pytest

from testing.product import MACHINE
from describing import source_line

NULL = "0" * 2 * MACHINE.pointer
READ, WRITTEN, EXECUTED = (
    f"EXCEPTION_ACCESS_VIOLATION (C0000005): memory at {NULL} could not be {how} (a null pointer)"
    for how in ("read", "written", "executed")
)
BY_ZERO = "EXCEPTION_INT_DIVIDE_BY_ZERO (C0000094): an integer was divided by zero"
OVERFLOW = "EXCEPTION_INT_OVERFLOW (C0000095): an integer result was too large"

# Fault: first line of the reason, faulting function, and a piece of the source line that it names.
ILLEGAL = "EXCEPTION_ILLEGAL_INSTRUCTION (C000001D): the processor does not know the instruction"
PRIVILEGED = "EXCEPTION_PRIV_INSTRUCTION (C0000096): the instruction is reserved to the operating system"
FLOAT = "EXCEPTION_FLT_DIVIDE_BY_ZERO (C000008E): a floating point number was divided by zero"
FAULTS = {
    "read": (READ, "read_null", "sink = *"),
    "write": (WRITTEN, "write_null", "= 1;"),
    "divide": (BY_ZERO, "divide_by_zero", "sink = 7 / zero;"),
    "overflow-trap": (OVERFLOW, "trap_overflow", ""),  # Wine names the instruction behind the trap: no line is expected
    "illegal": (ILLEGAL, "illegal_instruction", "ud2"),
    "privileged": (PRIVILEGED, "privileged_instruction", "hlt"),
    "breakpoint": ("EXCEPTION_BREAKPOINT (80000003): a breakpoint was reached", "breakpoint", "int3"),
    "float": (FLOAT, "divide_float", "fdivrp"),
    "nested": (WRITTEN, "write_null", "= 1;"),
}


class TestReason:
    def check(self, description, first_line, function, piece):
        assert description.reason[0] == first_line, description.fault
        place = description.frames[0]
        assert re.search(rf"(::|^){function}$", place["function"]), description.fault
        assert piece in source_line(place), description.fault
        instruction = re.fullmatch(r"Instruction: (.*)", description.reason[1])[1]
        # A float fault is reported at the next float instruction; its own is printed with the float registers.
        if description.fault != "float":
            assert instruction == description.stack[0], description.fault

    def test_every_kind_of_fault_is_put_in_words_with_its_place(self, describer):
        described = describer.describe(*FAULTS)
        assert [description.fault for description in described] == list(FAULTS)
        for description in described:
            self.check(description, *FAULTS[description.fault])

    def test_executing_data_names_the_address_and_what_is_there(self, describer):
        description = describer.describe_one("execute")
        assert re.search(
            rf"^EXCEPTION_ACCESS_VIOLATION \(C0000005\): memory at ({MACHINE.address}) could not "
            r"be executed \((read-only memory of a module|memory that is there now)\)$",
            description.reason[0],
        )
        assert re.search(rf"^Instruction: {MACHINE.address} describe_host\.exe\+", description.reason[1])

    def test_call_through_a_null_pointer_is_an_execution_at_null(self, describer):
        description = describer.describe_one("call-null")
        assert description.reason[0] == EXECUTED
        assert description.reason[1] == f"Instruction: {NULL} no module"

    @pytest.mark.xfail(
        strict=True,
        raises=AssertionError,
        reason="not under Wine: an overflowing division arrives as one by zero, since the processor's trap is the same",
    )
    def test_overflowing_division_is_an_overflow(self, describer):
        assert describer.describe_one("overflow").reason[0] == OVERFLOW

    def test_stack_overflow_is_described_with_its_recursion(self, describer):
        description = describer.describe_one("--thread", "stack")
        assert description.reason[0] == "EXCEPTION_STACK_OVERFLOW (C00000FD): the thread used up its stack"
        assert set(description.functions[:90]) == {"recurse"}
        assert re.search(r"\n\.\.\. \d+ more frames\n", "\n".join(description.stack))
        below = description.functions[::-1]
        assert below[: below.index("recurse")][::-1][:2] == ["overflow_stack", "commit_fault"]

    def test_exception_of_the_programs_own_shows_its_parameters(self, describer):
        description = describer.describe_one("software")
        assert description.reason[0] == f"exception (E0001234), parameters {NULL[2:]}11 {NULL[2:]}22"

    def test_fault_on_a_second_thread_has_the_stack_of_that_thread(self, describer):
        first, second = describer.describe_one("write"), describer.describe_one("--thread", "write")
        assert second.reason[0] == WRITTEN
        assert "thread_main" in second.functions
        assert "thread_main" not in first.functions

    def test_second_of_two_faults_gets_a_description_of_its_own(self, describer):
        first, second = describer.describe("divide", "write")
        assert (first.reason[0], second.reason[0]) == (BY_ZERO, WRITTEN)
        assert "divide_by_zero" in first.functions
        assert "divide_by_zero" not in second.functions

    def test_registers_and_code_are_those_of_the_fault(self, describer):
        description = describer.describe_one("write")
        text = "\n".join(description.reason)
        digits, r = MACHINE.address, MACHINE.choose("E", "R")
        assert re.search(rf"\n{r}AX {digits}  {r}BX {digits}  {r}CX {digits}  {r}DX {digits}\n{r}SI ", text)
        assert f"\n{r}IP {description.frames[0]['address']}  EFL " in text
        # mov dword ptr [eax], 1
        assert "\nCode: C7 00 01 00 00 00 " in text

    def test_float_fault_shows_the_float_registers_and_the_failed_instruction(self, describer):
        text = "\n".join(describer.describe_one("float").reason)
        assert re.search(
            rf"\nx87 control [0-9A-F]{{4}}, status [0-9A-F]{{4}}, instruction {MACHINE.address} describe_host\.exe\+",
            text,
        )
        assert re.search(r"\nMXCSR [0-9A-F]{8}", text)

    @pytest.mark.parametrize("fault", ("write", "unloaded", "float"))
    def test_reason_fits_into_its_share_of_a_report(self, describer, fault):
        assert len("\n".join(describer.describe_one(fault).reason)) < 12 * 1024


class TestModules:
    """The list of modules, compared with what another reader finds in their files."""

    def headers(self, stage, name):
        text = stage.image(name).read("--file-headers", "--coff-debug-directory")
        stamp = re.search(r"TimeDateStamp: .*\(0x([0-9A-F]+)\)", text)[1]
        size = re.search(r"SizeOfImage: (\d+)", text)[1]
        guid = re.search(r"PDBGUID: \{([0-9A-F-]+)\}", text)[1].replace("-", "")
        age = re.search(r"PDBAge: (\d+)", text)[1]
        return f"{int(size):08X}", f"{int(stamp, 16):08X}", f"{guid}{int(age):X}"

    def test_each_line_identifies_its_file(self, describer, stage):
        listed = describer.describe_one("guest").modules()
        for name in ("describe_host.exe", "fault_guest.dll", "faultkit.dll"):
            _, size, stamp, _, key = listed[name]
            assert (size, stamp, key) == self.headers(stage, name), name

    def test_version_is_that_of_the_resource(self, describer):
        listed = describer.describe_one("write").modules()
        assert re.search(r"^\d+\.\d+\.\d+\.0$", listed["faultkit.dll"][3])
        assert listed["describe_host.exe"][3] == "-"

    def test_executable_comes_first_and_the_systems_last(self, describer):
        names = list(describer.describe_one("guest").modules())
        assert names[:2] == ["describe_host.exe", "fault_guest.dll"]
        assert "ntdll.dll" in names[3:]

    def test_unloaded_module_is_listed_with_its_time_stamp(self, describer, stage):
        listed = describer.describe_one("unloaded").modules()
        _, size, stamp, version, key = listed["fault_guest.dll [unloaded]"]
        assert (size, stamp) == self.headers(stage, "fault_guest.dll")[:2]
        assert (version, key) == ("-", "-")
