// A host for any compiler: it faults as it is told and prints what faultkit.dll beside it says about it, out of an
// exception filter, which is what hosts have whose compiler knows no __try.
//
// usage: compiled_host FAULT...      one of three_calls.cpp, or descent-SEED for one of random_descent.cpp
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "companions/faultkit/faultkit.h"
#include "tests/faultkit/compilers/three_calls.h"
#include "testing/cxx/random_descent.h"

namespace {

constexpr unsigned kAllOptions = 15;
const char* fault;

template <class Function>
Function* function_of(HMODULE module, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Each fault ends the thread that had it.
LONG WINAPI describe(EXCEPTION_POINTERS* pointers) {
    if (strncmp(fault, "descent-", 8) != 0)
        print_noted_return_addresses();
    const HMODULE kit = LoadLibraryA("faultkit.dll");
    auto* const reason = function_of<decltype(GetFaultReason)>(kit, "GetFaultReason");
    auto* const first = function_of<decltype(GetFirstStackTraceString)>(kit, "GetFirstStackTraceString");
    auto* const next = function_of<decltype(GetNextStackTraceString)>(kit, "GetNextStackTraceString");
    printf("=== %s\nCrush Expantion:\n%s\n\nStack Trace:\n", fault, reason(pointers));
    for (const char* line = first(kAllOptions, pointers); line; line = next(kAllOptions, pointers))
        printf("%s\n", line);
    fflush(stdout);
    FreeLibrary(kit);
    ExitThread(0);
}

DWORD WINAPI thread_main(void*) {
    if (strncmp(fault, "descent-", 8) == 0)
        commit_random_descent(static_cast<unsigned>(atoi(fault + 8)));
    else if (!commit_three_calls(fault))
        printf("unknown fault: %s\n", fault);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    SetUnhandledExceptionFilter(describe);
    for (int i = 1; i < argc; ++i) {
        fault = argv[i];
        const HANDLE thread = CreateThread(nullptr, 0, thread_main, nullptr, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
    return 0;
}
