// Measures the deepest stack use of a whole report, for each road: the stack below the catch block is painted, the
// report is made with the dialog answered by a second thread, and the paint that is left tells how deep everything
// went, the system's own frames included. After a stack overflow a report has to fit into what the thread has reserved.
//
// usage: bench_stack
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/painted_stack.h"
#include "testing/cxx/report_window.h"

namespace {

int button;

DWORD WINAPI answer(void*) {
    PostMessageA(wait_for_report_window(), WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), 0);
    return 0;
}

HANDLE answer_with(int number) {
    button = number;
    return CreateThread(nullptr, 64 * 1024, answer, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
}

void fault() {
    volatile int* null = nullptr;
    *null = 1;
}
void (*volatile faulting)() = fault;

void mail() {
    OpenCrushReport("SEHWendaxExceptionGenerated");
}

void mail_with_screenshot() {
    SetCreateScreenCopy(1);
    mail();
    SetCreateScreenCopy(0);
}

// The default server can't be reached; the body is built and the connection tried all the same.
void upload() {
    CCrashReport2 report(nullptr);
    report.CreateScreenCopy();
    report.CreateSystemInfo();
    report.Upload();
}

struct Road {
    const char* name;
    void (*run)();
    int button; // that answers the dialog; 0 for a road without one
};

const Road kRoads[] = {
    {"e-mail, declined", mail, 2},
    {"e-mail, opened", mail, 1},
    {"e-mail with screenshot, opened", mail_with_screenshot, 1},
    {"upload: screenshot, system text, sending", upload, 0},
};

__attribute__((noinline)) void measure(const Road& road) {
    HANDLE const thread = road.button ? answer_with(road.button) : nullptr;
    try {
        faulting();
    } catch (char*) {
        printf("%-42s %8u bytes\n", road.name, stack_taken_by(road.run));
        fflush(stdout);
    }
    if (thread) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

} // namespace

int main() {
    InitCrushReport();
    for (const Road& road : kRoads)
        measure(road); // the first round loads DLLs; its figures are those of a process that meets its first fault
    return 0;
}
