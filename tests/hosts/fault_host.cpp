// A host that faults on request, catches the marker and asks for the e-mail report.
//
// usage: fault_host [--bare] [--screen N] [--attach PATH] [--text TEXT | --null] [--thread] [--meanwhile FAULT]
//                   FAULT...
//   --bare       does not cover its thread
//   --text, --null  calls OpenCrushReport with that instead of what it caught; the FAULT "none" makes no fault
//   --thread     the faults happen on a second thread
//   --meanwhile  while a report waits for the user, another thread has that fault, and asks for no report
// Prints a line for each thing that happens.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/faults.h"
#include "testing/cxx/report_window.h"

namespace {

struct Options {
    bool cover = true;
    bool own_text = false;
    bool second_thread = false;
    const char* text = nullptr;
    const char* meanwhile = nullptr;
    char** faults = nullptr;
    int count = 0;
};
Options options;

void say(const char* format, const char* text) {
    printf(format, text);
    fflush(stdout);
}

DWORD WINAPI fault_meanwhile(void*) {
    InitCrushReport();
    wait_for_report_window();
    try {
        commit_fault(options.meanwhile);
    } catch (char*) {
        say("%s\n", "caught meanwhile");
    }
    return 0;
}

void report(const char* caught) {
    HANDLE const other = options.meanwhile ? CreateThread(nullptr, 0, fault_meanwhile, nullptr, 0, nullptr) : nullptr;
    OpenCrushReport(options.own_text ? options.text : caught);
    if (other) {
        WaitForSingleObject(other, INFINITE);
        CloseHandle(other);
    }
    if (GetModuleHandleA("faultkit.dll"))
        say("%s\n", "faultkit.dll is still loaded");
    if (GetErrorMode() & SEM_FAILCRITICALERRORS)
        say("%s\n", "the error mode has changed");
    say("%s\n", "reported");
}

void run_faults() {
    if (options.cover)
        InitCrushReport();
    for (int i = 0; i < options.count; ++i) {
        const char* const name = options.faults[i];
        if (strcmp(name, "none") == 0) {
            report(nullptr);
            continue;
        }
        try {
            say(commit_fault(name) ? "no consequence: %s\n" : "unknown fault: %s\n", name);
        } catch (char* marker) {
            say("caught %s\n", marker);
            report(marker);
        }
    }
}

DWORD WINAPI thread_main(void*) {
    run_faults();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    int i = 1;
    for (; i < argc && strncmp(argv[i], "--", 2) == 0; ++i) {
        const char* const name = argv[i] + 2;
        if (strcmp(name, "bare") == 0) {
            options.cover = false;
        } else if (strcmp(name, "thread") == 0) {
            options.second_thread = true;
        } else if (strcmp(name, "null") == 0) {
            options.own_text = true;
        } else if (i + 1 < argc && strcmp(name, "text") == 0) {
            options.own_text = true;
            options.text = argv[++i];
        } else if (i + 1 < argc && strcmp(name, "meanwhile") == 0) {
            options.meanwhile = argv[++i];
        } else if (i + 1 < argc && strcmp(name, "screen") == 0) {
            SetCreateScreenCopy(atoi(argv[++i]));
        } else if (i + 1 < argc && strcmp(name, "attach") == 0) {
            SetAttachment(argv[++i]);
        } else {
            say("unknown option: %s\n", argv[i]);
            return 2;
        }
    }
    options.faults = argv + i;
    options.count = argc - i;
    if (options.second_thread) {
        HANDLE const thread = CreateThread(nullptr, 0, thread_main, nullptr, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    } else {
        run_faults();
    }
    say("%s\n", "end");
    return 0;
}
