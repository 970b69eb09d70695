"""What the user gets when a call fails: what the tests hold the library to, and what docs/failing-calls.md is drawn from."""

import functools
import operator
from dataclasses import replace

from outcomes import SYSTEM, WHOLE, Also, End, Outcome, Part

FAULT, PROCESS, MODULES, STACK = Part.FAULT, Part.PROCESS, Part.MODULES, Part.STACK
PROGRAM, DISPLAY, BROWSER, PRINTERS = Part.PROGRAM, Part.DISPLAY, Part.BROWSER, Part.PRINTERS
APPLICATION, SCREENSHOT, FILE, DATE = Part.APPLICATION, Part.SCREENSHOT, Part.FILE, Part.DATE
REASON = FAULT | PROCESS | MODULES

NONE, NONE_UNTOLD, NO_DIALOG = Outcome(end=End.NONE), Outcome(end=End.NONE_UNTOLD), Outcome(end=End.NO_DIALOG)
UNWRITTEN, FAILS_AS_TOLD = Outcome(end=End.UNWRITTEN), Outcome(end=End.FAILS_AS_TOLD)
TOLD_AS_FAILED = Outcome(end=End.TOLD_AS_FAILED)


def without(*parts):
    return replace(WHOLE, lost=functools.reduce(operator.or_, parts))


def each(*parts):
    return map(without, parts)


def and_also(also, outcome):
    return replace(outcome, also=outcome.also | also)


def and_exception(outcome):
    return and_also(Also.OUT_OF_MEMORY, outcome)


def and_box(outcome):
    return and_also(Also.BOX, outcome)


def and_next(outcome):
    return and_also(Also.NEXT_TOO, outcome)


# The outcomes of the several calls of one function in the reports that make it.


def mail(*outcomes):
    return {"message": set(outcomes)}


def upload(*outcomes):
    return {"upload": set(outcomes)}


def both(*outcomes):
    return mail(*outcomes) | upload(*outcomes)


# The names of the functions that have the same outcomes, by library.
_EXPECTED = {
    "advapi32.dll": {
        "RegCloseKey RegOpenKeyA RegQueryValueA": both(WHOLE),
    },
    "dbghelp.dll": {
        "StackWalk64 SymAddrIncludeInlineTrace SymCleanup SymFromAddr SymFunctionTableAccess64": mail(WHOLE),
        "SymGetLineFromAddr64 SymGetModuleBase64 SymGetModuleInfo64 SymInitialize SymLoadModuleEx": mail(WHOLE),
    },
    "fall.dll": {
        "GetFilterInfo": mail(and_next(without(SCREENSHOT))) | upload(without(SCREENSHOT)),
        "SaveJPGImageData": both(without(SCREENSHOT)),
    },
    "faultkit.dll": {
        "GetFaultReason": mail(without(REASON)),
        "GetFirstStackTraceString": mail(without(STACK)),
        "GetNextStackTraceString": mail(WHOLE),
    },
    "gdi32.dll": {
        "BitBlt DeleteDC DeleteObject": both(WHOLE),
        "CreateCompatibleDC CreateDCA CreateDIBSection GetDIBits GetDeviceCaps": both(without(SCREENSHOT)),
        "SelectObject": both(without(SCREENSHOT)),
    },
    "gdiplus.dll": {
        "GdiplusStartup": both(WHOLE),
    },
    "kernel32.dll": {
        "CloseHandle HeapCreate LoadLibraryExA": both(WHOLE, without(SCREENSHOT)),
        "CreateEventA DeleteFileA DuplicateHandle FileTimeToLocalFileTime GetEnvironmentVariableA": mail(WHOLE),
        "GetProcessHandleCount GetSystemDirectoryA GetThreadContext GetThreadId IsWow64Process": mail(WHOLE),
        "ReadProcessMemory SetThreadPriority SuspendThread UnmapViewOfFile WaitForSingleObject": mail(WHOLE),
        "CreateFileA": mail(WHOLE, without(SCREENSHOT), without(FILE), UNWRITTEN)
        | upload(WHOLE, without(SCREENSHOT), without(FILE), without(SYSTEM)),
        "CreateFileMappingA MapViewOfFileEx": mail(without(SCREENSHOT), without(FILE)),
        "FindClose FreeLibrary GetModuleFileNameW GetProfileStringA GetTempPathW": both(WHOLE),
        "QueryPerformanceCounter QueryPerformanceFrequency VirtualFree": both(WHOLE),
        "FindFirstFileA": mail(WHOLE, without(FILE), without(APPLICATION)) | upload(WHOLE, without(APPLICATION)),
        "FindResourceA LoadResource LockResource": both(NO_DIALOG),
        "GetFileSize": mail(without(SCREENSHOT), without(FILE))
        | upload(without(SCREENSHOT), without(FILE), without(SYSTEM)),
        "GetModuleFileNameA": mail(WHOLE, without(PROGRAM), without(REASON, STACK)) | upload(WHOLE, without(PROGRAM)),
        "GetModuleHandleA": mail(WHOLE, without(PROCESS)) | upload(WHOLE),
        "GetProcAddress": mail(
            WHOLE,
            without(STACK),
            and_box(WHOLE),
            without(BROWSER),
            and_next(without(SCREENSHOT)),
            without(PROCESS),
            without(REASON),
            and_next(and_box(without(SCREENSHOT))),
        )
        | upload(WHOLE, without(SCREENSHOT), and_box(WHOLE), without(BROWSER), and_box(without(SCREENSHOT))),
        "GetProcessTimes GetUserDefaultLocaleName GlobalMemoryStatusEx": mail(without(PROCESS)),
        "GetTempFileNameA": mail(NONE),
        "GetTempPathA": mail(NONE, without(SCREENSHOT)) | upload(WHOLE),
        "GetVersionExA": both(WHOLE, without(PRINTERS)),
        "HeapAlloc": mail(
            WHOLE, NONE, NO_DIALOG, *each(SCREENSHOT, FILE, STACK, PROGRAM, SYSTEM, APPLICATION), without(REASON, STACK)
        )
        | upload(
            WHOLE,
            FAILS_AS_TOLD,
            TOLD_AS_FAILED,
            *each(SCREENSHOT, PROGRAM, APPLICATION),
            *map(and_exception, (WHOLE, NO_DIALOG, *each(SCREENSHOT, PROGRAM, SYSTEM, APPLICATION))),
        ),
        "IsBadCodePtr": mail(without(REASON, STACK)),
        "IsBadReadPtr": mail(WHOLE, without(FILE)),
        "LoadLibraryA": mail(WHOLE, without(BROWSER)) | upload(without(BROWSER)),
        "ReadFile": upload(without(SCREENSHOT), without(FILE), without(SYSTEM)),
        "VirtualAlloc": both(WHOLE, NO_DIALOG, without(SCREENSHOT)),
        "VirtualQuery": mail(WHOLE, *each(MODULES, FAULT, REASON), without(PROCESS, MODULES), without(FAULT, MODULES)),
        "WideCharToMultiByte": both(WHOLE),
        "WriteFile": mail(without(SCREENSHOT), UNWRITTEN) | upload(without(SCREENSHOT), without(SYSTEM)),
    },
    "KOBRTL.dll": {
        "?CalcDestBpp@Scale@glib@@QBEIH@Z ?ScaleTo@Scale@glib@@QBEHPAXIIHH@Z": both(WHOLE),
    },
    "msvcrt.dll": {
        "_localtime64 strftime": mail(without(DATE)),
        "_vsnprintf": both(WHOLE),
    },
    "ntdll.dll": {
        "NtCreateThreadEx NtGetNextThread NtQueryVirtualMemory": mail(WHOLE),
        "NtOpenProcessToken NtQueryInformationToken RtlGetVersion": mail(without(PROCESS)),
    },
    "shdocvw.dll": {
        "DllGetVersion": both(without(BROWSER)),
    },
    "shell32.dll": {
        "ShellExecuteA": mail(NONE),
    },
    "user32.dll": {
        "ClipCursor DestroyWindow EndMenu EnumWindows GetDC GetWindowInfo GetWindowRect": both(WHOLE),
        "GetWindowThreadProcessId LoadCursorA LoadIconA MoveWindow PeekMessageA PostMessageA": both(WHOLE),
        "ReleaseCapture ReleaseDC SendMessageA SetFocus SetWindowPos SystemParametersInfoA": both(WHOLE),
        "CreateDialogIndirectParamA": both(NO_DIALOG),
        "EnumDisplaySettingsA": both(without(DISPLAY)),
        "GetDlgItem SetWindowTextA UpdateWindow": upload(WHOLE),
        "GetGuiResources": mail(WHOLE),
        "GetMessageA": mail(NONE) | upload(NONE_UNTOLD),
        "GetSystemMetrics": both(WHOLE, without(SCREENSHOT)),
    },
    "version.dll": {
        "GetFileVersionInfoA GetFileVersionInfoSizeA": both(without(PROGRAM), without(APPLICATION)),
        "VerQueryValueA": both(WHOLE, without(PROGRAM), without(APPLICATION)),
    },
    "wininet.dll": {
        "HttpOpenRequestA HttpSendRequestA InternetConnectA InternetCrackUrlA": upload(FAILS_AS_TOLD),
        "InternetOpenA": upload(FAILS_AS_TOLD),
        "InternetCloseHandle InternetSetOptionA": upload(WHOLE),
        "InternetQueryDataAvailable InternetReadFile": upload(WHOLE, TOLD_AS_FAILED),
    },
    "winspool.drv": {
        "EnumPrintersA": both(without(PRINTERS)),
    },
}
EXPECTED = {
    library: {name: outcomes for names, outcomes in calls.items() for name in names.split()}
    for library, calls in _EXPECTED.items()
}

# Of these, what 64-bit programs don't call: faultkit.dll unwinds their stacks by itself.
OF_32_BITS = {("dbghelp.dll", name) for name in ("StackWalk64", "SymFunctionTableAccess64", "SymGetModuleBase64")}


def drawn():
    """The tables of the document."""
    lines = []
    for library, calls in EXPECTED.items():
        lines += [f"## {library}", "", "| Call | E-mail report | Upload report |", "| --- | --- | --- |"]
        for name, outcomes in sorted(calls.items()):
            cells = (
                sorted((outcome.words(road) for outcome in outcomes.get(road, ())), key=_order)
                for road in ("message", "upload")
            )
            lines.append(f"| `{name}` | {' | '.join('<br>'.join(cell) or '-' for cell in cells)} |")
        lines.append("")
    return "\n".join(lines)


def _order(words):
    return words != WHOLE.words(""), len(words), words
