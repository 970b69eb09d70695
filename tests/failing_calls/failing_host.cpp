// Makes whole reports of real faults while one call after the other fails, once each.
//
// usage: failing_host CALLS message|upload ATTACHED
//   CALLS is calls.txt. Standard input has a line for each function: LIBRARY NAME NUMBER..., which of its calls fail.
//   The library is loaded anew for each report.
//
// Prints how often each function is called in a whole report, and a line for each report: its number, whether the call
// failed, how it came back to the host, how many dialogs and message boxes it showed, how many uploads it sent, how
// much more than a whole report it left behind, and the message that was handed to the shell. Where one left behind
// more or less, a whole one follows, with the number 0: it must come to the same.
#include <windows.h>
#include <wininet.h>
#include <winspool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tests/failing_calls/gate.h"
#include "tests/failing_calls/held.h"
#include "tests/failing_calls/reports.h"

namespace {

constexpr DWORD kRoundSeconds = 60;

bool by_email;
const char* attached;
Library library;

struct Outcome {
    Return returned;
    bool has_failed;
    unsigned dialogs, boxes, uploads, answer;
    char message[MAX_PATH];
};
Outcome outcome;

volatile LONG round_number;

// Ends a program that hangs, with the number of the round.
DWORD WINAPI watch(void*) {
    for (LONG before = -1;; before = round_number) {
        Sleep(kRoundSeconds * 1000);
        if (before == round_number) {
            printf("hangs %ld\n", before);
            fflush(stdout);
            ExitProcess(5);
        }
    }
}

LONG WINAPI tell_crash(EXCEPTION_POINTERS* pointers) {
    printf("crashes %ld %08lX %p\n", round_number, pointers->ExceptionRecord->ExceptionCode,
           pointers->ExceptionRecord->ExceptionAddress);
    fflush(stdout);
    ExitProcess(6);
}

// The user: presses the first button, and the second one if the dialog stays.
void CALLBACK answer(HWND dialog, UINT, UINT_PTR timer, DWORD) {
    PostMessageA(dialog, WM_COMMAND, timer, 0);
    if (timer == IDCANCEL)
        return;
    KillTimer(dialog, timer);
    SetTimer(dialog, IDCANCEL, USER_TIMER_MINIMUM, answer);
}

// Before its first look for messages, which otherwise may or may not find one.
void greet_dialog(HWND dialog) {
    ++outcome.dialogs;
    answer(dialog, WM_TIMER, IDOK, 0);
}

HINSTANCE WINAPI take_message(HWND, LPCSTR, LPCSTR file, LPCSTR, LPCSTR, INT) {
    strncpy(outcome.message, file, MAX_PATH - 1);
    return reinterpret_cast<HINSTANCE>(33);
}

// A spooler with two printers: this machine may have none.
BOOL WINAPI list_printers(DWORD, LPSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD count) {
    auto* const printers = reinterpret_cast<PRINTER_INFO_4A*>(buffer);
    static char names[2][8] = {"Laser%s", "Plotter"};
    *needed = 2 * sizeof *printers;
    *count = 0;
    if (level != 4 || size < *needed) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    for (char(&name)[8] : names)
        printers[(*count)++] = {name, nullptr, PRINTER_ATTRIBUTE_LOCAL};
    return TRUE;
}

int WINAPI close_box(HWND, LPCSTR, LPCSTR, UINT) {
    ++outcome.boxes;
    return IDOK;
}

BOOL WINAPI send_request(HINTERNET request, LPCSTR headers, DWORD headers_length, LPVOID body, DWORD length) {
    const BOOL done = HttpSendRequestA(request, headers, headers_length, body, length);
    outcome.uploads += done;
    return done;
}

// The library measures the processor's clock by this counter for 50 ms. Here they pass in a few calls.
BOOL WINAPI fast_counter(LARGE_INTEGER* value) {
    static LONGLONG frequency, count;
    if (!frequency) {
        LARGE_INTEGER real;
        QueryPerformanceFrequency(&real);
        frequency = real.QuadPart;
    }
    value->QuadPart = count += frequency / 40;
    return TRUE;
}

// The picture of the report before, so that it is not taken for this one's.
void remove_picture() {
    char path[MAX_PATH];
    GetTempPathA(sizeof path - 20, path);
    DeleteFileA(strcat(path, "screen_copy.jpg"));
}

void report(const Call* failing, unsigned number) {
    InterlockedIncrement(&round_number);
    outcome = {};
    remove_picture();
    arm(failing, number);
    outcome.returned = by_email ? library.email(attached) : library.upload(attached, &outcome.answer);
    outcome.has_failed = disarm();
    // Out of the way of later messages: the system makes the same name again.
    char kept[MAX_PATH];
    wsprintfA(kept, "C:\\message-%ld.eml", round_number);
    if (*outcome.message && MoveFileExA(outcome.message, kept, MOVEFILE_REPLACE_EXISTING))
        strcpy(outcome.message, kept);
}

void load() {
    if (!library.load()) {
        puts("no library");
        exit(3);
    }
    gate_module(library.module());
    gate_module(GetModuleHandleA("KOBRTL.dll"));
}

void print_held(const Held& held) {
    HMODULE module = nullptr;
    char path[MAX_PATH] = "?";
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<const char*>(held.caller), &module);
    GetModuleFileNameA(module, path, MAX_PATH);
    const char* const backslash = strrchr(path, '\\');
    const auto offset = reinterpret_cast<uintptr_t>(held.caller) - reinterpret_cast<uintptr_t>(module);
    printf("held %s %s+%lx\n", held.kind, backslash ? backslash + 1 : path, static_cast<unsigned long>(offset));
}

void print_round(unsigned number, int left) {
    static const char* const kReturns[] = {"plain", "out-of-memory", "fault", "other-exception"};
    printf("round %u %s %s %u %u %u %u %d %s\n", number, outcome.has_failed ? "failed" : "spared",
           kReturns[static_cast<int>(outcome.returned)], outcome.dialogs, outcome.boxes, outcome.uploads,
           outcome.answer, left, *outcome.message ? outcome.message : "-");
    fflush(stdout);
}

// Makes two whole reports. The answer is what the library holds after the first; each report keeps one description of
// its fault.
unsigned whole_reports() {
    load();
    report(nullptr, 0);
    for_each_call([](Call& call) {
        if (call.count)
            printf("calls %s %s %u\n", call.library, call.name, call.count);
    });
    print_round(0, 0);
    const unsigned after_first = held_count();
    report(nullptr, 0);
    print_round(0, 0);
    const unsigned after_second = held_count();
    if (after_second != after_first + 1) {
        printf("leaks without a failure: %u, then %u\n", after_first, after_second);
        for_each_held(print_held);
        exit(7);
    }
    library.unload();
    return after_first;
}

void fail(const Call& failing, unsigned number, unsigned whole) {
    load();
    report(&failing, number);
    const int more = static_cast<int>(held_count() - whole);
    print_round(number, more);
    if (more != 0) {
        report(nullptr, 0);
        const int left = static_cast<int>(held_count() - whole - 1);
        print_round(0, left);
        if (left > 0)
            for_each_held(print_held);
    }
    library.unload();
}

// Obeys a line of standard input.
void fail_each(char* line, unsigned whole) {
    const char* const name = strtok(line, " \r\n");
    const char* const function = strtok(nullptr, " \r\n");
    const Call* const failing = name && function ? find_call(name, function) : nullptr;
    if (!failing) {
        printf("unlisted %s\n", line);
        return;
    }
    printf("failing %s %s\n", failing->library, failing->name);
    while (const char* const number = strtok(nullptr, " \r\n"))
        fail(*failing, static_cast<unsigned>(atoi(number)), whole);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4 || !read_calls(argv[1]))
        return 2;
    by_email = strcmp(argv[2], "message") == 0;
    attached = argv[3];
    dialog_made = greet_dialog;
    find_call("shell32.dll", "ShellExecuteA")->replacement = reinterpret_cast<const void*>(take_message);
    find_call("kernel32.dll", "QueryPerformanceCounter")->replacement = reinterpret_cast<const void*>(fast_counter);
    find_call("wininet.dll", "HttpSendRequestA")->replacement = reinterpret_cast<const void*>(send_request);
    find_call("winspool.drv", "EnumPrintersA")->replacement = reinterpret_cast<const void*>(list_printers);
    find_call("user32.dll", "MessageBoxA")->replacement = reinterpret_cast<const void*>(close_box);
    SetUnhandledExceptionFilter(tell_crash);
    CloseHandle(CreateThread(nullptr, 0, watch, nullptr, 0, nullptr));
    // Loaded for good, so that a round costs no more than it must.
    static const char* const kSystemNames[] = {"gdiplus.dll", "wininet.dll", "winspool.drv", "version.dll",
                                               "shell32.dll", "shdocvw.dll", "dbghelp.dll"};
    for (const char* system : kSystemNames)
        LoadLibraryA(system);
    const unsigned whole = whole_reports();
    static char line[16384];
    while (fgets(line, sizeof line, stdin))
        fail_each(line, whole);
    puts("end");
    fflush(stdout);
    return 0;
}
