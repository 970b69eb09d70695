// Each fault has a function of its own, whose name then stands in the report's stack trace.
#include "faults.h"

#include <windows.h>
#include <string.h>

namespace {

// Volatile, so that the compiler doesn't foresee what happens.
int* volatile nowhere = nullptr;
volatile int zero = 0;
volatile int sink;

// Runs machine code, for what can't be said in C++.
template <size_t size>
void run(const unsigned char (&code)[size]) {
    void* const page = VirtualAlloc(nullptr, size, MEM_COMMIT, PAGE_EXECUTE_READWRITE);
    if (!page)
        return;
    memcpy(page, code, size);
    FlushInstructionCache(GetCurrentProcess(), page, size);
    reinterpret_cast<void (*)()>(page)();
}

void read_nowhere() {
    sink = *nowhere;
}

void write_nowhere() {
    *nowhere = 1;
}

void execute_data() {
    static unsigned char data[] = {0xC3};
    unsigned char* volatile function = data;
    reinterpret_cast<void (*)()>(function)();
}

void divide_by_zero() {
    sink = 7 / zero;
}

void overflow_division() {
    // mov eax, 80000000h; cdq; mov ecx, -1; idiv ecx; ret
    static const unsigned char kCode[] = {0xB8, 0, 0, 0, 0x80, 0x99, 0xB9, 0xFF, 0xFF, 0xFF, 0xFF, 0xF7, 0xF9, 0xC3};
    run(kCode);
}

void divide_floats() {
    // Lets the x87 fault: push eax; fnstcw [esp]; and byte ptr [esp], not 4; fldcw [esp]; pop eax
    // fld1; fldz; fdivp; fwait; fstp st(0); ret
    static const unsigned char kCode[] = {0x50, 0xD9, 0x3C, 0x24, 0x80, 0x24, 0x24, 0xFB, 0xD9, 0x2C, 0x24,
                                          0x58, 0xD9, 0xE8, 0xD9, 0xEE, 0xDE, 0xF9, 0x9B, 0xDD, 0xD8, 0xC3};
    run(kCode);
}

void illegal_instruction() {
    static const unsigned char kCode[] = {0x0F, 0x0B}; // ud2
    run(kCode);
}

void privileged_instruction() {
    static const unsigned char kCode[] = {0xF4}; // hlt
    run(kCode);
}

void breakpoint() {
    static const unsigned char kCode[] = {0xCC, 0xC3}; // int3; ret
    run(kCode);
}

int recurse(int depth) {
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    int (*volatile again)(int) = recurse;
    return depth < 0 ? 0 : again(depth + 1) + frame[0];
}

void overflow_stack() {
    sink = recurse(1);
}

} // namespace

const Fault kFaults[] = {
    {L"Read from nowhere", read_nowhere},
    {L"Write to nowhere", write_nowhere},
    {L"Execute data", execute_data},
    {L"Divide by zero", divide_by_zero},
    {L"Overflow a division", overflow_division},
    {L"Divide floats by zero", divide_floats},
    {L"Illegal instruction", illegal_instruction},
    {L"Privileged instruction", privileged_instruction},
    {L"Breakpoint", breakpoint},
    {L"Overflow the stack", overflow_stack},
};
const int kFaultCount = sizeof(kFaults) / sizeof(kFaults[0]);
