// Ends in the way that is named, covered by one call at its start. Built by each compiler; the comments "ends: NAME"
// mark the lines that a report should name.
//
// usage: ends_host END
#include <windows.h>
#include <assert.h>
#include <float.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include "wendax.h"

#ifdef _MSC_VER
#include "testing/cxx/microsoft_exception.h"
#else
#include <exception>
#include <stdexcept>
#endif
#include "testing/cxx/faults.h"
#include "testing/cxx/stack_guard.h"

#define APART __attribute__((noinline))

namespace {

// Volatile, so that the compiler can neither foresee the end nor drop it.
volatile int zero = 0;
volatile int sink;
int* volatile nowhere = nullptr;

APART void read() {
    sink = *nowhere; // ends: read
}

APART void write() {
    *nowhere = 1; // ends: write
}

APART void execute() {
    static unsigned char data[8] = {0xC3};
    reinterpret_cast<void (*)()>(reinterpret_cast<unsigned char*>(data) + zero)(); // ends: execute
    sink = 1;
}

APART void divide() {
    sink = 7 / zero; // ends: divide
}

APART void overflow_division() {
    int quotient = 0x80000000 + zero;
    __asm__ volatile("cltd\n\tidivl %1" : "+a"(quotient) : "r"(zero - 1) : "edx", "cc"); // ends: overflow-division
    sink = quotient;
}

APART void divide_float() {
    unsigned control = 0x1D80; // SSE division by zero unmasked
    __asm__ volatile("ldmxcsr %0" : : "m"(control));
    volatile double divisor = zero;
    volatile double dividend = 1;
    __asm__ volatile("movsd %0, %%xmm0\n\tdivsd %1, %%xmm0" // ends: divide-float
                     :
                     : "m"(dividend), "m"(divisor)
                     : "xmm0");
}

APART void illegal() {
    __asm__ volatile("ud2"); // ends: illegal
}

APART void privileged() {
    __asm__ volatile("hlt"); // ends: privileged
}

APART void breakpoint() {
    __asm__ volatile("int3"); // ends: breakpoint
}

APART void single_step() {
#ifdef _WIN64
    __asm__ volatile("pushfq\n\torl $0x100, (%%rsp)\n\tpopfq\n\tnop\n\tnop" : : : "cc", "memory"); // ends: single-step
#else
    __asm__ volatile("pushfl\n\torl $0x100, (%%esp)\n\tpopfl\n\tnop\n\tnop" : : : "cc", "memory"); // ends: single-step
#endif
}

APART void touch_guard_page() {
    auto* const page =
        static_cast<volatile int*>(VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD));
    sink = *page; // ends: guard-page
}

APART void raise() {
    sink = 0;
    RaiseException(0xE0000001, 0, 0, nullptr); // ends: raise
    sink = 1;
}

APART void throw_uncaught() {
    throw std::runtime_error("the disk is full"); // ends: uncaught
}

void (*volatile fail)() = throw_uncaught;

APART void refuse_to_throw() noexcept {
    fail(); // ends: noexcept
}

void (*volatile refuse)() = refuse_to_throw;

// There is somebody who would catch it.
APART void throw_through_noexcept() {
    try {
        refuse();
    } catch (const std::exception&) {
        puts("caught");
    }
}

APART void throw_on() {
    try {
        fail();
    } catch (const std::exception&) {
        throw;
    }
}

APART void terminate() {
    sink = 1;         // or the linker takes it for another function that only does this
    std::terminate(); // ends: terminate
}

APART void give_up() {
    abort(); // ends: abort
}

APART void fail_assertion() {
#ifdef _MSC_VER
    _wassert(L"zero == 1", L"ends_host.cpp", __LINE__); // ends: assert
    sink = 1;
#else
    assert(zero == 1); // ends: assert
#endif
}

struct Shape {
    Shape() { draw(); }
    virtual ~Shape() {}
    APART void draw();
    virtual void paint() = 0;
};
struct Square : Shape {
    void paint() override { sink = 1; }
};
void Shape::draw() {
    Shape* volatile self = this;
    self->paint(); // ends: pure-call
    sink = 1;
}

APART void call_pure() {
    Square square;
    square.paint();
}

APART void pass_invalid() {
    fopen_s(nullptr, "notes.txt", "r"); // ends: invalid-parameter
    puts("answered");
}

APART int recurse(int depth) {
    volatile char frame[200];
    frame[0] = static_cast<char>(depth);                     // ends: overflow
    return depth < zero ? 0 : recurse(depth + 1) + frame[0]; // ends: overflow
}

// What WendaxCoverThread keeps back, by any compiler.
APART void overflow_with_reserve() {
    ULONG bytes = 128 << 10;
    SetThreadStackGuarantee(&bytes);
    guard_stack_reserve();
    sink = recurse(0);
}

// As Windows has it for a thread that keeps nothing back: some pages are left.
APART void overflow_stack() {
    printf("thread %08lX\n", GetCurrentThreadId());
    guard_stack_at(16 << 10);
    sink = recurse(0);
}

bool faults_at_exit;

struct Static {
    APART ~Static() {
        if (faults_at_exit)
            *nowhere = 1; // ends: static-destructor
    }
} at_exit;

void exit_with_fault() {
    faults_at_exit = true;
}

APART void load_faulting_library() {
    printf("LoadLibrary %s\n", LoadLibraryA("ends_library.dll") ? "succeeded" : "failed");
}

LRESULT CALLBACK window_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_CREATE)
        *nowhere = 1; // ends: window-procedure
    return DefWindowProcA(window, message, wparam, lparam);
}

BOOL CALLBACK look_at_window(HWND, LPARAM) {
    *nowhere = 1; // ends: callback
    return TRUE;
}

APART void list_windows() {
    EnumWindows(look_at_window, 0);
}

APART void create_window() {
    WNDCLASSA kind = {};
    kind.lpfnWndProc = window_procedure;
    kind.lpszClassName = "ends_host";
    RegisterClassA(&kind);
    const bool created = CreateWindowA("ends_host", "", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    printf("CreateWindow %s\n", created ? "succeeded" : "failed");
}

DWORD WINAPI run(void* end) {
    reinterpret_cast<void (*)()>(end)();
    return 0;
}

HANDLE start(void (*end)()) {
    return CreateThread(nullptr, 0, run, reinterpret_cast<void*>(end), 0, nullptr);
}

void throw_on_thread() {
    WaitForSingleObject(start(throw_uncaught), INFINITE);
}

volatile LONG ready;

// In turns: what a thread fails by.
void fail_among_many() {
    static void (*const kTurns[])() = {write, overflow_stack, give_up, divide};
    const LONG number = InterlockedIncrement(&ready);
    while (ready < 16)
        SwitchToThread();
    kTurns[number % 4]();
}

void fail_at_once() {
    HANDLE last = nullptr;
    for (int i = 0; i < 16; ++i)
        last = start(fail_among_many);
    WaitForSingleObject(last, INFINITE);
}

const Fault kEnds[] = {
    {"read", read},
    {"write", write},
    {"execute", execute},
    {"divide", divide},
    {"overflow-division", overflow_division},
    {"divide-float", divide_float},
    {"illegal", illegal},
    {"privileged", privileged},
    {"breakpoint", breakpoint},
    {"single-step", single_step},
    {"guard-page", touch_guard_page},
    {"raise", raise},
    {"uncaught", throw_uncaught},
    {"uncaught-thread", throw_on_thread},
    {"thrown-on", throw_on},
    {"noexcept", throw_through_noexcept},
    {"terminate", terminate},
    {"abort", give_up},
    {"assert", fail_assertion},
    {"pure-call", call_pure},
    {"invalid-parameter", pass_invalid},
    {"overflow-covered", overflow_with_reserve},
    {"overflow", overflow_stack},
    {"static-destructor", exit_with_fault},
    {"dll-main", load_faulting_library},
    {"callback", list_windows},
    {"window-procedure", create_window},
    {"sixteen-threads", fail_at_once},
};

} // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    WendaxCover();
    void (*const end)() = argc == 2 ? find_fault(kEnds, argv[1]) : nullptr;
    if (!end)
        return 2;
    end();
    return 0;
}
