// A host that fails while something is wrong, and reports it.
//
// usage: trouble_host mail|upload [--uncovered] [--stack] [CONDITION [ARGUMENT]]...
//   --uncovered  the report is made on a thread that has no translator, after the fault on one that has
//   --stack      the fault is a stack overflow
//
// The conditions are those of conditions.h; they hold from just before the fault. TROUBLE_TEMP names the folder of
// temporary files. The report has a screenshot and the host's file notes.txt. Prints a line for each thing that
// happens.
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/faults.h"
#include "tests/conditions/conditions.h"
#include "tests/conditions/notes_report.h"

namespace {

bool by_mail;
const char* fault_name = "write";
char** conditions;
int condition_count;

void say(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

void make_conditions() {
    for (int i = 0; i < condition_count; ++i) {
        const char* const name = conditions[i];
        const char* const argument = takes_argument(name) && i + 1 < condition_count ? conditions[++i] : "";
        if (!make_condition(name, argument)) {
            say("the condition could not be made");
            ExitProcess(2);
        }
    }
}

void report(const char* marker) {
    try {
        if (by_mail)
            OpenCrushReport(marker);
        else
            upload_notes_and_screenshot();
        say("reported");
    } catch (const gen::genlib_out_of_memory&) {
        say("out of memory");
    }
}

DWORD WINAPI report_uncovered(void* marker) {
    report(static_cast<const char*>(marker));
    return 0;
}

// Never inlined: Wine takes a wrong stack for the rest of a function of which one catch block ends in another.
__attribute__((noinline)) void fail_and_report(bool uncovered) {
    try {
        commit_fault(fault_name);
    } catch (char* marker) {
        if (!uncovered) {
            report(marker);
            return;
        }
        HANDLE const thread = CreateThread(nullptr, 0, report_uncovered, marker, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

// Stands for the host's own last resort, and keeps Wine's debugger away.
LONG WINAPI end_by_fault(EXCEPTION_POINTERS*) {
    say("unhandled");
    return EXCEPTION_EXECUTE_HANDLER;
}

void set_temporary_folder() {
    wchar_t folder[1024];
    if (GetEnvironmentVariableW(L"TROUBLE_TEMP", folder, 1024)) {
        SetEnvironmentVariableW(L"TMP", folder);
        SetEnvironmentVariableW(L"TEMP", folder);
    }
}

} // namespace

int main(int argc, char** argv) {
    static char buffer[4096];
    setvbuf(stdout, buffer, _IOFBF, sizeof buffer); // so that there is no need of memory later
    int i = 2;
    bool uncovered = false;
    for (; i < argc && strncmp(argv[i], "--", 2) == 0; ++i) {
        if (strcmp(argv[i], "--uncovered") == 0)
            uncovered = true;
        else if (strcmp(argv[i], "--stack") == 0)
            fault_name = "stack";
        else
            return 2;
    }
    if (argc < 2)
        return 2;
    by_mail = strcmp(argv[1], "mail") == 0;
    conditions = argv + i;
    condition_count = argc - i;
    set_temporary_folder();
    attach_notes_and_screenshot();
    SetUnhandledExceptionFilter(end_by_fault);
    WendaxCoverThread();
    make_conditions();
    try {
        fail_and_report(uncovered);
    } catch (char* marker) {
        say(FindWindowA(nullptr, "Software Error Report") ? "dialog left behind" : "next handler");
    }
    end_conditions();
    if (screen_contexts_held())
        say("device context held");
    say("end");
    return 0;
}
