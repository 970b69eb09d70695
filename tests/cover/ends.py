"""How a program may end, and what comes of it with one call at its start: what the tests hold the library to, and what the
table in docs/host-guide.md is drawn from."""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Outcome:
    """words: as the table has it. code: by which the program ends, as the report has it; of 32 and of 64 bits where they
    differ, None where the program goes on. at: the function that the report names with its line; name: how the lines that
    count are marked in ends_host.cpp. prints: what a program that goes on prints. says: how the report's first line goes on
    behind the code."""

    words: str
    code: int | tuple | None
    at: str = ""
    name: str = ""
    prints: str = ""
    says: str = ""


@dataclasses.dataclass(frozen=True)
class End:
    """argument: of ends_host. title: as the table calls it. microsoft, gcc: what comes of it, by compiler."""

    argument: str
    title: str
    microsoft: Outcome
    gcc: Outcome


TERMINATE, PURE_CALL, INVALID_PARAMETER, ABORT = 0xE0575801, 0xE0575802, 0xE0575803, 0xE0575804
CXX_EXCEPTION = 0xE06D7363
ACCESS_VIOLATION, STACK_OVERFLOW = 0xC0000005, 0xC00000FD

OF_THROW = "report of the throw with type and `what()`"
THROWN = ', what() "the disk is full"'
TERMINATED = "the program was ended by std::terminate"


def fault(argument, title, code, function, name=None, words=None, says=""):
    outcome = Outcome(words or f"report, {code:08X}", code, function, name or argument, says=says)
    return End(argument, title, outcome, outcome)


# By either compiler.
UNCAUGHT = (
    Outcome(f"{OF_THROW}, E06D7363", CXX_EXCEPTION, "throw_uncaught", "uncaught", says=THROWN),
    Outcome(f"{OF_THROW}, E0575801", TERMINATE, "throw_uncaught", "uncaught", says=THROWN),
)


ENDS = (
    fault("read", "read of an address that can't be read", ACCESS_VIOLATION, "read"),
    fault("write", "write to one that can't be written", ACCESS_VIOLATION, "write"),
    fault("execute", "call of data", ACCESS_VIOLATION, "execute"),
    fault("divide", "division of integers by zero", 0xC0000094, "divide"),
    fault(
        "overflow-division",
        "quotient that is too large",
        0xC0000094,
        "overflow_division",
        words="report, C0000095; under Wine C0000094",
    ),
    fault(
        "divide-float",
        "unmasked floating-point exception",
        (0xC00002B5, 0xC000008E),
        "divide_float",
        words="report, C000008E, of SSE code with 32 bits C00002B5",
    ),
    fault("illegal", "illegal instruction", 0xC000001D, "illegal"),
    fault("privileged", "privileged instruction", 0xC0000096, "privileged"),
    fault("breakpoint", "breakpoint", 0x80000003, "breakpoint"),
    fault("single-step", "single step", 0x80000004, "single_step"),
    fault("guard-page", "touch of a guard page", 0x80000001, "touch_guard_page"),
    fault("raise", "`RaiseException` with a code of the host's", 0xE0000001, "raise"),
    End("uncaught", "uncaught C++ exception", *UNCAUGHT),
    End("uncaught-thread", "the same on another thread", *UNCAUGHT),
    fault(
        "noexcept",
        "throw out of `noexcept`",
        TERMINATE,
        "throw_uncaught",
        "uncaught",
        f"{OF_THROW}, E0575801",
        THROWN,
    ),
    fault("terminate", "`std::terminate` without an exception", TERMINATE, "terminate", says=TERMINATED),
    fault("abort", "`abort`", ABORT, "give_up", says="the program called abort"),
    fault("assert", "failed `assert`", ABORT, "fail_assertion", says="the program called abort"),
    End(
        "pure-call",
        "call of a pure virtual function",
        Outcome("report, E0575802", PURE_CALL, "draw", "pure-call", says="that the object does not have"),
        Outcome("report of a jump to address 0, C0000005", ACCESS_VIOLATION, "draw", "pure-call"),
    ),
    End(
        "invalid-parameter",
        "invalid argument of a C function",
        Outcome("report, E0575803", INVALID_PARAMETER, "pass_invalid", "invalid-parameter", says="an invalid argument"),
        Outcome("no end: with `msvcrt.dll` the function answers an error", None, prints="answered"),
    ),
    fault("overflow-covered", "stack overflow, stack kept back", STACK_OVERFLOW, "recurse", "overflow"),
    fault(
        "overflow",
        "stack overflow, none kept back",
        STACK_OVERFLOW,
        "recurse",
        "overflow",
        "report, C00000FD, by the waiting thread",
    ),
    fault("static-destructor", "fault in a static destructor", ACCESS_VIOLATION, "~Static"),
    fault("callback", "fault in a callback of the system (`EnumWindows`)", ACCESS_VIOLATION, "look_at_window"),
    End(
        "window-procedure",
        "fault in a window procedure that the system calls",
        *(Outcome("no end: the system takes the fault, as 64-bit Windows may", None, prints="CreateWindow succeeded"),)
        * 2,
    ),
    End(
        "dll-main",
        "fault in `DllMain`",
        *(Outcome("no end: the loader takes it, and `LoadLibrary` fails", None, prints="LoadLibrary failed"),) * 2,
    ),
)


def drawn():
    """The table of the document."""
    lines = ["| End | Visual C++'s runtime since 2015 (clang) | GCC |", "|" + " --- |" * 3]
    lines += [f"| {end.title} | {end.microsoft.words} | {end.gcc.words} |" for end in ENDS]
    return "\n".join([*lines, "", ""])
