"""The cross toolchain's glue, seen from programs that run on it."""

import re

STATUS_STACK_BUFFER_OVERRUN = 0xC0000409


def test_glue_keeps_its_promises(stage):
    done = stage.wine().run(stage.product("toolchain_host.exe"), "one", "two words")
    assert "FAILED" not in done.text
    assert re.search(r"checked \d{5,}", done.text)
    assert "host global destroyed" in done.text
    assert "dll global destroyed" in done.text
    assert done.returncode == 7


def test_function_whose_buffer_was_overrun_never_returns(stage):
    safe = stage.wine().run(stage.product("toolchain_host.exe"), "a" * 16)
    assert "came back with 97" in safe.text
    smashed = stage.wine().run(stage.product("toolchain_host.exe"), "a" * 17)
    assert smashed.returncode == STATUS_STACK_BUFFER_OVERRUN & 0xFF
    assert "came back" not in smashed.text


def test_window_program_gets_its_arguments_without_its_name(stage):
    done = stage.wine().run(stage.product("toolchain_gui_host.exe"), "abc", "de")
    assert done.returncode == len("abc de")


def test_image_with_handlers_carries_the_security_marks(stage):
    headers = stage.image("toolchain_host.exe").read("--file-headers", "--coff-load-config")
    assert "IMAGE_DLL_CHARACTERISTICS_DYNAMIC_BASE" in headers
    assert "IMAGE_DLL_CHARACTERISTICS_NX_COMPAT" in headers
    # 32-bit programs list their handlers; those of 64 bits have a table of functions with what to unwind them by.
    assert "IMAGE_DLL_CHARACTERISTICS_NO_SEH" not in headers
    table = stage.machine.choose(r"SEHandlerCount: [1-9]", r"ExceptionTableSize: 0x[1-9A-F]")
    assert re.search(table, headers)
