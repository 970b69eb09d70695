// A host that faults on request and prints what faultkit.dll beside it says, in the form of a report's fault text.
//
// usage: describe_host [--thread | --race] [--options BITS] [--dump PATH] [--pointers KIND] [--ask-again]
// [--vectored] FAULT...
//   --thread    the faults happen on a second thread, whose stack has 1 MB
//   --race      they happen on four threads at the same time, and each prints only how many were described to it
//   --options   the option bits of the stack trace, 15 if not given
//   --dump      writes a minidump of each fault, too
//   --pointers  hands over worse exception pointers than it got: null, wild, guarded (on a page that must not be
//               touched), no-record, no-context, wild-context, stale (good ones, but asks for the next line with
//               others), reused (good ones for the reason; then they lead to a fault in thread_main)
//   --vectored  describes the first fault before any frame is asked to handle it, and ends there
//   --ask-again asks for the reason once more behind the first line of the stack
// FAULT is one of testing/cxx/faults.cpp or of stack_faults.cpp, or descent-SEED for one of random_descent.cpp.
#include <windows.h>
#include <eh.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "companions/faultkit/faultkit.h"
#include "testing/cxx/random_descent.h"
#include "tests/faultkit/machine_faults.h"
#include "tests/faultkit/stack_faults.h"
#include "testing/cxx/faults.h"
#include "win/library.h"

namespace {

struct Faultkit {
    decltype(GetFaultReason)* reason;
    decltype(GetFirstStackTraceString)* first;
    decltype(GetNextStackTraceString)* next;
    decltype(WriteFaultDump)* dump;
};

unsigned options = 15;
const char* dump_path;
const char* pointers_kind = "good";
bool asks_again;
char** faults;
int fault_count;
EXCEPTION_POINTERS* caught_pointers;

DWORD WINAPI thread_main(void*);

void __cdecl translate(unsigned, EXCEPTION_POINTERS* pointers) {
    caught_pointers = pointers;
    throw const_cast<char*>("translated");
}

// Loaded for each description and freed behind it, as the library does.
HMODULE load_beside_executable(Faultkit* kit) {
    wchar_t path[MAX_PATH + 16];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    wcscpy(wcsrchr(path, L'\\'), L"\\faultkit.dll");
    const HMODULE module = LoadLibraryW(path);
    if (module)
        *kit = {win::function_of<decltype(GetFaultReason)>(module, "GetFaultReason"),
                win::function_of<decltype(GetFirstStackTraceString)>(module, "GetFirstStackTraceString"),
                win::function_of<decltype(GetNextStackTraceString)>(module, "GetNextStackTraceString"),
                win::function_of<decltype(WriteFaultDump)>(module, "WriteFaultDump")};
    return module;
}

// A page like the one at the end of a stack: the first access, even a read, takes its guard away.
void* guard_page() {
    static void* const kPage = VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD);
    return kPage;
}

void print_guard() {
    MEMORY_BASIC_INFORMATION region;
    VirtualQuery(guard_page(), &region, sizeof region);
    printf("--- the page %s\n", region.Protect & PAGE_GUARD ? "is still guarded" : "has lost its guard");
}

// The pointers to hand over; copies live in static storage.
EXCEPTION_POINTERS* worsened(EXCEPTION_POINTERS* good) {
    static EXCEPTION_POINTERS worse;
    static CONTEXT context;
    worse = *good;
    if (strcmp(pointers_kind, "null") == 0)
        return nullptr;
    if (strcmp(pointers_kind, "wild") == 0)
        return reinterpret_cast<EXCEPTION_POINTERS*>(0x1001);
    if (strcmp(pointers_kind, "guarded") == 0)
        return static_cast<EXCEPTION_POINTERS*>(guard_page());
    if (strcmp(pointers_kind, "no-record") == 0)
        worse.ExceptionRecord = nullptr;
    else if (strcmp(pointers_kind, "no-context") == 0)
        worse.ContextRecord = nullptr;
    else if (strcmp(pointers_kind, "wild-context") == 0)
        worse.ContextRecord = reinterpret_cast<CONTEXT*>(0xFFFFFFF0);
    else if (strcmp(pointers_kind, "reused") == 0)
        *(worse.ContextRecord = &context) = *good->ContextRecord;
    else
        return good;
    return &worse;
}

// Texts are shared between the threads, so there is nothing to be said about what they hold.
void describe_quietly(EXCEPTION_POINTERS* pointers) {
    Faultkit kit;
    const HMODULE module = load_beside_executable(&kit);
    kit.reason(pointers);
    for (const char* line = kit.first(options, pointers); line; line = kit.next(options, pointers)) {
    }
    FreeLibrary(module);
}

void describe(const char* fault) {
    Faultkit kit;
    const HMODULE module = load_beside_executable(&kit);
    if (!module) {
        printf("faultkit.dll was not found\n");
        return;
    }
    EXCEPTION_POINTERS* const pointers = worsened(caught_pointers);
    EXCEPTION_POINTERS other = *caught_pointers;
    EXCEPTION_POINTERS* const later = strcmp(pointers_kind, "stale") == 0 ? &other : pointers;
    printf("=== %s\nCrush Expantion:\n%s\n\nStack Trace:\n", fault, kit.reason(pointers));
    if (strcmp(pointers_kind, "reused") == 0)
        set_instruction(pointers->ContextRecord, reinterpret_cast<const void*>(&thread_main));
    for (const char* line = kit.first(options, pointers); line; line = kit.next(options, later)) {
        printf("%s\n", line);
        if (asks_again)
            kit.reason(pointers);
        asks_again = false;
    }
    if (dump_path) {
        const int written = kit.dump(dump_path, pointers);
        printf("--- dump %d error %lu\n", written, GetLastError());
    }
    if (strcmp(pointers_kind, "guarded") == 0)
        print_guard();
    fflush(nullptr);
    FreeLibrary(module);
}

LONG CALLBACK describe_first(EXCEPTION_POINTERS* pointers) {
    caught_pointers = pointers;
    describe(faults[0]);
    ExitProcess(0);
}

bool commit(const char* name) {
    if (strncmp(name, "descent-", 8) == 0) {
        commit_random_descent(static_cast<unsigned>(atoi(name + 8)));
        return true;
    }
    return commit_stack_fault(name) || commit_fault(name);
}

void run_faults() {
    _set_se_translator(translate);
    for (int i = 0; i < fault_count; ++i) {
        try {
            printf(commit(faults[i]) ? "no consequence: %s\n" : "unknown fault: %s\n", faults[i]);
        } catch (char*) {
            describe(faults[i]);
        }
        fflush(nullptr);
    }
}

DWORD WINAPI thread_main(void*) {
    run_faults();
    return 0;
}

void __cdecl translate_to_pointers(unsigned, EXCEPTION_POINTERS* pointers) {
    throw pointers;
}

DWORD WINAPI racing_thread(void*) {
    _set_se_translator(translate_to_pointers);
    int described = 0;
    for (int i = 0; i < fault_count; ++i) {
        try {
            commit(faults[i]);
        } catch (EXCEPTION_POINTERS* pointers) {
            describe_quietly(pointers);
            ++described;
        }
    }
    printf("%d described\n", described);
    fflush(nullptr);
    return 0;
}

template <unsigned Count>
void run_threads(DWORD(WINAPI* function)(void*)) {
    HANDLE threads[Count];
    for (HANDLE& thread : threads)
        thread = CreateThread(nullptr, 1024 * 1024, function, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    WaitForMultipleObjects(Count, threads, TRUE, INFINITE);
    for (HANDLE thread : threads)
        CloseHandle(thread);
}

} // namespace

int main(int argc, char** argv) {
    void (*run)() = run_faults;
    int i = 1;
    for (; i < argc && strncmp(argv[i], "--", 2) == 0; ++i) {
        const char* const option = argv[i] + 2;
        if (strcmp(option, "thread") == 0)
            run = [] { run_threads<1>(thread_main); };
        else if (strcmp(option, "race") == 0)
            run = [] { run_threads<4>(racing_thread); };
        else if (strcmp(option, "ask-again") == 0)
            asks_again = true;
        else if (strcmp(option, "vectored") == 0)
            AddVectoredExceptionHandler(1, describe_first);
        else if (++i == argc)
            return 2;
        else if (strcmp(option, "options") == 0)
            options = static_cast<unsigned>(atoi(argv[i]));
        else if (strcmp(option, "dump") == 0)
            dump_path = argv[i];
        else if (strcmp(option, "pointers") == 0)
            pointers_kind = argv[i];
        else
            return 2;
    }
    faults = argv + i;
    fault_count = argc - i;
    run();
    return 0;
}
