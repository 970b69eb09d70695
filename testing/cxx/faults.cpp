#include "testing/cxx/faults.h"

#include <windows.h>
#include <float.h>
#include <limits.h>
#include <stdio.h>

#include "testing/cxx/stack_guard.h"

namespace {

// Volatile, so that the compiler can neither foresee the fault nor drop it.
volatile int zero = 0;
volatile int minus_one = -1;
volatile int smallest = INT_MIN;
volatile int sink;

void read_null() {
    sink = *reinterpret_cast<volatile int*>(zero);
}

void write_null() {
    *reinterpret_cast<volatile int*>(zero) = 1;
}

void execute_data() {
    static unsigned char page[8] = {0xC3};
    reinterpret_cast<void (*)()>(reinterpret_cast<unsigned char*>(page) + zero)();
}

void divide_by_zero() {
    sink = 7 / zero;
}

void overflow_division() {
    int quotient;
    __asm__ volatile("cltd\n\tidivl %2" : "=a"(quotient) : "0"(smallest), "r"(minus_one) : "edx", "cc");
    sink = quotient;
}

void illegal_instruction() {
    __asm__ volatile("ud2");
}

void privileged_instruction() {
    __asm__ volatile("hlt");
}

void breakpoint() {
    __asm__ volatile("int3");
}

__attribute__((noinline)) int recurse(int depth) {
    volatile char frame[512];
    frame[0] = static_cast<char>(depth);
    return depth < zero ? 0 : recurse(depth + 1) + frame[0];
}

void overflow_stack() {
    ULONG guarantee = 64 * 1024;
    SetThreadStackGuarantee(&guarantee);
    guard_stack_reserve();
    sink = recurse(0);
}

void divide_float() {
    _controlfp(_controlfp(0, 0) & ~_EM_ZERODIVIDE, _MCW_EM);
    // With 64 bits that is about SSE alone.
    unsigned short control;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    control &= ~4;
    __asm__ volatile("fldcw %0" : : "m"(control));
    __asm__ volatile("fld1\n\tfldz\n\tfdivrp\n\tfwait\n\tfstp %%st(0)" : : : "st");
}

// Objects between the fault and the catch block: they must be destroyed on the way.
struct Witness {
    explicit Witness(int number) : number(number) {}
    ~Witness() {
        printf("destroyed %d\n", number);
        fflush(stdout);
    }
    int number;
};

void (*volatile innermost)() = write_null;

__attribute__((noinline)) void inner() {
    Witness witness(2);
    innermost();
}
void (*volatile middle)() = inner;

void nested() {
    Witness witness(1);
    middle();
}

const Fault kFaults[] = {
    {"read", read_null},
    {"write", write_null},
    {"execute", execute_data},
    {"divide", divide_by_zero},
    {"overflow", overflow_division},
    {"illegal", illegal_instruction},
    {"privileged", privileged_instruction},
    {"breakpoint", breakpoint},
    {"stack", overflow_stack},
    {"float", divide_float},
    {"nested", nested},
};

} // namespace

bool commit_fault(const char* name) {
    void (*volatile commit)() = find_fault(kFaults, name);
    if (!commit)
        return false;
    commit();
    return true;
}
