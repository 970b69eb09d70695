"""What the user gets when a call fails: what the tests hold the library to, and what docs/failing-calls.md is drawn from."""

from dataclasses import replace

from outcomes import WHOLE, Also, End, Outcome, Part

PROGRAM, DISPLAY, BROWSER, PRINTERS, APPLICATION = (
    Part.PROGRAM,
    Part.DISPLAY,
    Part.BROWSER,
    Part.PRINTERS,
    Part.APPLICATION,
)
FAULT, MODULES, STACK, SCREENSHOT = Part.FAULT, Part.MODULES, Part.STACK, Part.SCREENSHOT
PROCESS = Part.PROCESS
REASON = FAULT | PROCESS | MODULES
FILE, DATE, SYSTEM = Part.FILE, Part.DATE, Part.SYSTEM

NONE, NONE_UNTOLD, NO_DIALOG = Outcome(end=End.NONE), Outcome(end=End.NONE_UNTOLD), Outcome(end=End.NO_DIALOG)
UNWRITTEN, FAILS_AS_TOLD = Outcome(end=End.UNWRITTEN), Outcome(end=End.FAILS_AS_TOLD)
TOLD_AS_FAILED = Outcome(end=End.TOLD_AS_FAILED)


def without(*parts):
    outcome = WHOLE
    for part in parts:
        outcome = replace(outcome, lost=outcome.lost | part)
    return outcome


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


EXPECTED = {
    "advapi32.dll": {
        "RegCloseKey": both(WHOLE),
        "RegOpenKeyA": both(WHOLE),
        "RegQueryValueA": both(WHOLE),
    },
    "dbghelp.dll": {
        "StackWalk64": mail(WHOLE),
        "SymAddrIncludeInlineTrace": mail(WHOLE),
        "SymCleanup": mail(WHOLE),
        "SymFromAddr": mail(WHOLE),
        "SymFunctionTableAccess64": mail(WHOLE),
        "SymGetLineFromAddr64": mail(WHOLE),
        "SymGetModuleBase64": mail(WHOLE),
        "SymGetModuleInfo64": mail(WHOLE),
        "SymInitialize": mail(WHOLE),
        "SymLoadModuleEx": mail(WHOLE),
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
        "BitBlt": both(WHOLE),
        "CreateCompatibleDC": both(without(SCREENSHOT)),
        "CreateDCA": both(without(SCREENSHOT)),
        "CreateDIBSection": both(without(SCREENSHOT)),
        "DeleteDC": both(WHOLE),
        "DeleteObject": both(WHOLE),
        "GetDIBits": both(without(SCREENSHOT)),
        "GetDeviceCaps": both(without(SCREENSHOT)),
        "SelectObject": both(without(SCREENSHOT)),
    },
    "gdiplus.dll": {
        "GdiplusStartup": both(WHOLE),
    },
    "kernel32.dll": {
        "CloseHandle": both(WHOLE, without(SCREENSHOT)),
        "CreateEventA": mail(WHOLE),
        "CreateFileA": mail(WHOLE, without(SCREENSHOT), without(FILE), UNWRITTEN)
        | upload(WHOLE, without(SCREENSHOT), without(FILE), without(SYSTEM)),
        "CreateFileMappingA": mail(without(SCREENSHOT), without(FILE)),
        "DeleteFileA": mail(WHOLE),
        "DuplicateHandle": mail(WHOLE),
        "FileTimeToLocalFileTime": mail(WHOLE),
        "FindClose": both(WHOLE),
        "FindFirstFileA": mail(WHOLE, without(FILE), without(APPLICATION)) | upload(WHOLE, without(APPLICATION)),
        "FindResourceA": both(NO_DIALOG),
        "FreeLibrary": both(WHOLE),
        "GetEnvironmentVariableA": mail(WHOLE),
        "GetFileSize": mail(without(SCREENSHOT), without(FILE))
        | upload(without(SCREENSHOT), without(FILE), without(SYSTEM)),
        "GetModuleFileNameA": mail(WHOLE, without(PROGRAM), without(REASON, STACK)) | upload(WHOLE, without(PROGRAM)),
        "GetModuleFileNameW": both(WHOLE),
        "GetModuleHandleA": mail(WHOLE, without(PROCESS), without(FAULT, MODULES), without(REASON)) | upload(WHOLE),
        "GetProcAddress": mail(
            WHOLE,
            without(STACK),
            and_box(WHOLE),
            without(BROWSER),
            and_next(without(SCREENSHOT)),
            without(FAULT, MODULES),
            and_next(and_box(without(SCREENSHOT))),
        )
        | upload(WHOLE, without(SCREENSHOT), and_box(WHOLE), without(BROWSER), and_box(without(SCREENSHOT))),
        "GetProcessHandleCount": mail(WHOLE),
        "GetProcessTimes": mail(without(PROCESS)),
        "GetProfileStringA": both(WHOLE),
        "GetSystemDirectoryA": mail(WHOLE),
        "GetTempFileNameA": mail(NONE),
        "GetTempPathA": mail(NONE, without(SCREENSHOT)) | upload(WHOLE),
        "GetTempPathW": both(WHOLE),
        "GetThreadContext": mail(WHOLE),
        "GetThreadId": mail(WHOLE),
        "GetUserDefaultLocaleName": mail(without(PROCESS)),
        "GetVersionExA": both(WHOLE, without(PRINTERS)),
        "GlobalMemoryStatusEx": mail(without(PROCESS)),
        "HeapAlloc": mail(
            WHOLE,
            NONE,
            NO_DIALOG,
            without(SCREENSHOT),
            without(FILE),
            without(STACK),
            without(PROGRAM),
            without(SYSTEM),
            without(APPLICATION),
            without(REASON, STACK),
        )
        | upload(
            WHOLE,
            FAILS_AS_TOLD,
            without(SCREENSHOT),
            without(PROGRAM),
            without(APPLICATION),
            TOLD_AS_FAILED,
            and_exception(WHOLE),
            and_exception(NO_DIALOG),
            and_exception(without(SCREENSHOT)),
            and_exception(without(PROGRAM)),
            and_exception(without(SYSTEM)),
            and_exception(without(APPLICATION)),
        ),
        "HeapCreate": both(WHOLE, without(SCREENSHOT)),
        "IsBadCodePtr": mail(without(REASON, STACK)),
        "IsBadReadPtr": mail(WHOLE, without(FILE)),
        "IsWow64Process": mail(WHOLE),
        "LoadLibraryA": mail(WHOLE, without(BROWSER)) | upload(without(BROWSER)),
        "LoadLibraryExA": both(WHOLE, without(SCREENSHOT)),
        "LoadResource": both(NO_DIALOG),
        "LockResource": both(NO_DIALOG),
        "MapViewOfFileEx": mail(without(SCREENSHOT), without(FILE)),
        "QueryPerformanceCounter": both(WHOLE),
        "QueryPerformanceFrequency": both(WHOLE),
        "ReadFile": upload(without(SCREENSHOT), without(FILE), without(SYSTEM)),
        "ReadProcessMemory": mail(WHOLE),
        "SetThreadPriority": mail(WHOLE),
        "SuspendThread": mail(WHOLE),
        "UnmapViewOfFile": mail(WHOLE),
        "VirtualAlloc": both(WHOLE, NO_DIALOG, without(SCREENSHOT)),
        "VirtualFree": both(WHOLE),
        "VirtualQuery": mail(
            WHOLE,
            without(MODULES),
            without(FAULT),
            without(PROCESS),
            without(PROCESS, MODULES),
            without(FAULT, MODULES),
            without(REASON),
        ),
        "WaitForSingleObject": mail(WHOLE),
        "WideCharToMultiByte": mail(WHOLE, without(MODULES), without(PROCESS), without(FAULT, MODULES), without(REASON))
        | upload(WHOLE),
        "WriteFile": mail(without(SCREENSHOT), UNWRITTEN) | upload(without(SCREENSHOT), without(SYSTEM)),
    },
    "KOBRTL.dll": {
        "?CalcDestBpp@Scale@glib@@QBEIH@Z": both(WHOLE),
        "?ScaleTo@Scale@glib@@QBEHPAXIIHH@Z": both(WHOLE),
    },
    "msvcrt.dll": {
        "_localtime64": mail(without(DATE)),
        "_vsnprintf": both(WHOLE),
        "strftime": mail(without(DATE)),
    },
    "ntdll.dll": {
        "NtCreateThreadEx": mail(WHOLE),
        "NtGetNextThread": mail(WHOLE),
        "NtOpenProcessToken": mail(without(PROCESS)),
        "NtQueryInformationToken": mail(without(PROCESS)),
        "NtQueryVirtualMemory": mail(WHOLE, without(MODULES), without(FAULT, MODULES), without(REASON)),
        "RtlGetVersion": mail(without(PROCESS)),
    },
    "shdocvw.dll": {
        "DllGetVersion": both(without(BROWSER)),
    },
    "shell32.dll": {
        "ShellExecuteA": mail(NONE),
    },
    "user32.dll": {
        "ClipCursor": both(WHOLE),
        "CreateDialogIndirectParamA": both(NO_DIALOG),
        "DestroyWindow": both(WHOLE),
        "EndMenu": both(WHOLE),
        "EnumDisplaySettingsA": both(without(DISPLAY)),
        "EnumWindows": both(WHOLE),
        "GetDC": both(WHOLE),
        "GetDlgItem": upload(WHOLE),
        "GetGuiResources": mail(WHOLE),
        "GetMessageA": mail(NONE) | upload(NONE_UNTOLD),
        "GetSystemMetrics": both(WHOLE, without(SCREENSHOT)),
        "GetWindowInfo": both(WHOLE),
        "GetWindowRect": both(WHOLE),
        "GetWindowThreadProcessId": both(WHOLE),
        "LoadCursorA": both(WHOLE),
        "LoadIconA": both(WHOLE),
        "MoveWindow": both(WHOLE),
        "PeekMessageA": both(WHOLE),
        "PostMessageA": both(WHOLE),
        "ReleaseCapture": both(WHOLE),
        "ReleaseDC": both(WHOLE),
        "SendMessageA": both(WHOLE),
        "SetFocus": both(WHOLE),
        "SetWindowPos": both(WHOLE),
        "SetWindowTextA": upload(WHOLE),
        "SystemParametersInfoA": both(WHOLE),
        "UpdateWindow": upload(WHOLE),
    },
    "version.dll": {
        "GetFileVersionInfoA": both(without(PROGRAM), without(APPLICATION)),
        "GetFileVersionInfoSizeA": both(without(PROGRAM), without(APPLICATION)),
        "VerQueryValueA": both(WHOLE, without(PROGRAM), without(APPLICATION)),
    },
    "wininet.dll": {
        "HttpOpenRequestA": upload(FAILS_AS_TOLD),
        "HttpSendRequestA": upload(FAILS_AS_TOLD),
        "InternetCloseHandle": upload(WHOLE),
        "InternetConnectA": upload(FAILS_AS_TOLD),
        "InternetCrackUrlA": upload(FAILS_AS_TOLD),
        "InternetOpenA": upload(FAILS_AS_TOLD),
        "InternetQueryDataAvailable": upload(WHOLE, TOLD_AS_FAILED),
        "InternetReadFile": upload(WHOLE, TOLD_AS_FAILED),
        "InternetSetOptionA": upload(WHOLE),
    },
    "winspool.drv": {
        "EnumPrintersA": both(without(PRINTERS)),
    },
}

# Of these, what no report of a 64-bit program comes to: faultkit.dll unwinds its stack by itself, and dbghelp and psapi of the
# 64-bit Wine find modules by other calls.
OF_32_BITS = {
    ("dbghelp.dll", "StackWalk64"): {WHOLE},
    ("dbghelp.dll", "SymFunctionTableAccess64"): {WHOLE},
    ("dbghelp.dll", "SymGetModuleBase64"): {WHOLE},
    ("kernel32.dll", "GetModuleHandleA"): {without(FAULT, MODULES)},
    ("kernel32.dll", "WideCharToMultiByte"): {without(MODULES), without(FAULT, MODULES)},
    ("ntdll.dll", "NtQueryVirtualMemory"): {without(MODULES), without(FAULT, MODULES)},
}


def drawn():
    """The tables of the document."""
    lines = []
    for library, calls in EXPECTED.items():
        lines += [f"## {library}", "", "| Call | E-mail report | Upload report |", "| --- | --- | --- |"]
        for name, outcomes in calls.items():
            cells = (
                sorted((outcome.words(road) for outcome in outcomes.get(road, ())), key=_order)
                for road in ("message", "upload")
            )
            lines.append(f"| `{name}` | {' | '.join('<br>'.join(cell) or '-' for cell in cells)} |")
        lines.append("")
    return "\n".join(lines)


def _order(words):
    return words != WHOLE.words(""), len(words), words
