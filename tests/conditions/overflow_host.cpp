// A host that overflows its stack and reports it.
//
// usage: overflow_host mail|upload [--thread] [--stack KB] [--reserve KB] [--times N]
//   --thread     on a second thread
//   --stack      on a stack of that size
//   --reserve    what the thread keeps back for its report, instead of what WendaxCoverThread does
//   --times      so often, one after the other
//
// The report has a screenshot and the host's file notes.txt. Prints a line for each thing that happens.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/small_stack.h"
#include "testing/cxx/stack_guard.h"
#include "tests/conditions/notes_report.h"

namespace {

bool by_mail, second_thread;
unsigned stack_size, reserve, times = 1; // sizes in KB; 0 for none
volatile int bottom = -1;

void say(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

__attribute__((noinline)) int descend(int depth) {
    volatile char frame[200];
    frame[0] = static_cast<char>(depth);
    return depth == bottom ? 0 : descend(depth + 1) + frame[0];
}
int (*volatile descend_from)(int) = descend;

__attribute__((noinline)) void fail_and_report() {
    guard_stack_reserve();
    try {
        descend_from(0);
    } catch (char* marker) {
        say("caught");
        if (by_mail)
            OpenCrushReport(marker);
        else
            say(upload_notes_and_screenshot() == 1 ? "uploaded" : "not uploaded");
        say("reported");
    }
}

void cover_and_fail() {
    if (reserve) {
        ULONG bytes = reserve * 1024;
        if (!SetThreadStackGuarantee(&bytes))
            say("the reserve is refused");
        InitCrushReport();
    } else {
        WendaxCoverThread();
    }
    for (unsigned i = 0; i < times; ++i)
        fail_and_report();
}

DWORD WINAPI run(void*) {
    if (stack_size)
        call_on_small_stack(stack_size * 1024, cover_and_fail);
    else
        cover_and_fail();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    by_mail = strcmp(argv[1], "mail") == 0;
    for (int i = 2; i < argc; ++i) {
        if (strcmp(argv[i], "--thread") == 0)
            second_thread = true;
        else if (i + 1 == argc)
            return 2;
        else if (strcmp(argv[i], "--stack") == 0)
            stack_size = static_cast<unsigned>(atoi(argv[++i]));
        else if (strcmp(argv[i], "--reserve") == 0)
            reserve = static_cast<unsigned>(atoi(argv[++i]));
        else if (strcmp(argv[i], "--times") == 0)
            times = static_cast<unsigned>(atoi(argv[++i]));
        else
            return 2;
    }
    attach_notes_and_screenshot();
    if (second_thread) {
        HANDLE const thread = CreateThread(nullptr, 0, run, nullptr, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    } else {
        run(nullptr);
    }
    say("end");
    return 0;
}
