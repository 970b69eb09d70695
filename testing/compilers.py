"""The compilers of Windows hosts, as commands."""

from testing.processes import REPO


def gcc(machine):
    return [f"{machine.processor}-w64-mingw32-gcc-posix"]


def clang(machine):
    """In the mode of Visual C++, with what the project has in the place of its headers, exceptions as by /EHa."""
    return [
        *("clang-19", f"--target={machine.processor}-pc-windows-msvc", "-nostdlibinc", f"-isystem{REPO}/crt/include"),
        *(f"-isystem/usr/{machine.processor}-w64-mingw32/include", "-fgnuc-version=12.2"),
        *(f"-D{machine.choose('_X86_', '_AMD64_')}=1", "-D__declspec=__declspec", "-fexceptions", "-fasync-exceptions"),
    ]
