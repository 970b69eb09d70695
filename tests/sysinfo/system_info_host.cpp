// Runs the system information as the product has it and says on its standard output what came of it.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sysinfo/machine_processor.h"
#include "sysinfo/processor_info.h"
#include "sysinfo/std_info.h"
#include "testing/cxx/import_slot.h"
#include "testing/cxx/painted_stack.h"
#include "win/guard.h"

namespace {

int write_file() {
    CStdString path;
    const bool written = write_system_info_file(path);
    printf("%s %s\n", written ? "written" : "not written", path.c_str());
    return 0;
}

// With a trap for every kind of floating-point error, as a host may set them before it faults.
int write_file_with_float_traps() {
    const unsigned short x87 = 0x0300;
    const unsigned sse = 0;
    asm volatile("fninit; fldcw %0; ldmxcsr %1" ::"m"(x87), "m"(sse));
    return write_file();
}

// Of the function that a probe is kept from calling: the calls of it that still go through, and where they go.
__attribute__((used)) int calls_left __asm__("calls_left");
__attribute__((used)) void (*real_function)() __asm__("real_function");
__attribute__((used)) void (*trouble)() __asm__("trouble");

// In the place of a function of any type: either lets the call through as it is, or never returns from it.
__attribute__((naked)) void gate() {
#ifdef _WIN64
#define FROM_HERE "(%rip)"
#else
#define FROM_HERE
#endif
    asm("decl calls_left" FROM_HERE "\n\t"
        "jl 1f\n\t"
        "jmp *real_function" FROM_HERE "\n"
        "1:\n\t"
        "incl calls_left" FROM_HERE "\n\t"
        "jmp *trouble" FROM_HERE);
}

void access_violation() {
    *reinterpret_cast<volatile int*>(4) = 0;
}

struct ForeignError {
    int code;
};

void throw_foreign_error() {
    throw ForeignError{1};
}

bool put_gate(const char* function) {
    static const char* const kLibraries[] = {"advapi32.dll", "kernel32.dll", "user32.dll", "version.dll",
                                             "winspool.drv"};
    for (const char* library : kLibraries) {
        real_function =
            reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(library), function)));
        if (real_function && replace_import(GetModuleHandleA(nullptr), library, function, gate))
            return true;
    }
    return false;
}

// FUNCTION CALLS fault|throw: the function does so from its call number CALLS + 1 on.
int write_file_in_trouble(char** words) {
    calls_left = atoi(words[1]);
    trouble = strcmp(words[2], "throw") == 0 ? throw_foreign_error : access_violation;
    return put_gate(words[0]) ? write_file() : 3;
}

int stack() {
    const unsigned bytes = stack_taken_by([] {
        CStdString path;
        write_system_info_file(path);
    });
    printf("deepest %u\n", bytes);
    return 0;
}

void illegal_instruction() {
    asm volatile("ud2");
}
void privileged_instruction() {
    asm volatile("hlt");
}
void harmless() {}

int guard() {
    printf("illegal instruction %d\n", win::run_guarded(win::kSwallowAll, illegal_instruction));
    printf("access violation %d\n", win::run_guarded(win::kSwallowAll, access_violation));
    printf("privileged instruction %d\n", win::run_guarded(win::kSwallowAll, privileged_instruction));
    printf("harmless %d\n", win::run_guarded(win::kSwallowAll, harmless));
    printf("SSE %d\n", sysinfo::sse_runs());
    printf("time stamps %d\n", sysinfo::time_stamp_counter_runs());
    return 0;
}

// The clock as measured, and the rate of the time-stamp counter over the time that all the measuring took.
int clock() {
    sysinfo::MachineClock machine;
    const uint64_t start = machine.counter();
    const uint64_t start_ticks = machine.time_stamp();
    for (int i = 0; i < 5; ++i)
        printf("measured %d\n", CProcessorInfo().GetClock());
    const uint64_t steps = machine.counter() - start;
    const uint64_t ticks = machine.time_stamp() - start_ticks;
    printf("counted %d\n", static_cast<int>(static_cast<double>(ticks) * static_cast<double>(machine.frequency()) /
                                            static_cast<double>(steps) / 1e6));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const char* const task = argc > 1 ? argv[1] : "";
    if (strcmp(task, "file") == 0)
        return write_file();
    if (strcmp(task, "file-with-float-traps") == 0)
        return write_file_with_float_traps();
    if (strcmp(task, "trouble") == 0 && argc == 5)
        return write_file_in_trouble(argv + 2);
    if (strcmp(task, "stack") == 0)
        return stack();
    if (strcmp(task, "guard") == 0)
        return guard();
    if (strcmp(task, "clock") == 0)
        return clock();
    return 2;
}
