#include "tests/faultkit/stack_faults.h"

#include <windows.h>
#include <stdlib.h>

#include "testing/cxx/faults.h"
#include "tests/faultkit/guest.h"
#include "tests/faultkit/machine_faults.h"
#include "win/library.h"

extern "C" void* _AddressOfReturnAddress();

namespace {

volatile int zero = 0;
volatile int sink;

__attribute__((noinline)) void write_to_null() {
    *reinterpret_cast<volatile int*>(zero) = 1; // mark: write_to_null
}

// A descent through every kind of call: plain, __stdcall, virtual, through the system, and an inlined function. None of
// them needs a frame pointer.
struct Shape {
    virtual int draw(int depth) = 0;
};

__attribute__((always_inline)) inline int inlined_step(int depth) {
    write_to_null(); // mark: inlined_step
    return depth + 1;
}

struct Circle : Shape {
    __attribute__((noinline)) int draw(int depth) override {
        sink = inlined_step(depth);
        return sink + depth;
    }
};
Circle circle;
Shape* volatile shape = &circle;

BOOL CALLBACK on_locale(char*) {
    sink = shape->draw(3) + 1; // mark: on_locale
    return FALSE;
}

__attribute__((noinline)) int __stdcall standard_step(int depth, int more) {
    volatile char buffer[3000];
    buffer[0] = static_cast<char>(depth);
    EnumSystemLocalesA(on_locale, LCID_INSTALLED); // mark: standard_step
    return buffer[0] + more;
}

__attribute__((noinline)) int __fastcall fast_step(int depth) {
    return standard_step(depth + 1, sink) + depth; // mark: fast_step
}

void mixed_calls() {
    sink = fast_step(sink) + 1; // mark: mixed_calls
}

__attribute__((noinline)) int descend(int depth) {
    if (depth == 0) {
        write_to_null(); // mark: bottom
        return 0;
    }
    const int below = descend(depth - 1); // mark: descend
    return below + (sink ^ depth);
}

void deep() {
    sink = descend(100000); // mark: deep
}

void shallow() {
    sink = descend(100); // mark: shallow
}

// A buffer overrun: everything from the local variable up to and over the return address.
__attribute__((noinline)) void overrun() {
    char buffer[16];
    char* volatile to = buffer;
    char* const end = static_cast<char*>(_AddressOfReturnAddress()) + sizeof(void*);
    for (; to != end; to = to + 1)
        *to = 'A';
    write_to_null();
}

void smashed() {
    overrun();
    sink = 1;
}

void bad_frame_pointer() {
    fault_with_bad_frame_pointer();
    sink = 1;
}

void circular_chain() {
    fault_with_circular_chain();
    sink = 1;
}

void undescribed() {
    fault_without_unwind_data();
    sink = 1;
}

void call_null() {
    reinterpret_cast<void (*)()>(zero)(); // mark: call_null
    sink = 1;
}

HMODULE load_guest() {
    const HMODULE guest = LoadLibraryA("fault_guest.dll");
    if (!guest)
        ExitProcess(3);
    return guest;
}

void in_guest() {
    win::function_of<decltype(guest_fault)>(load_guest(), "guest_fault")(); // mark: in_guest
    sink = 1;
}

void in_unloaded_guest() {
    const HMODULE guest = load_guest();
    auto* fault = win::function_of<decltype(guest_fault)>(guest, "guest_fault");
    FreeLibrary(guest);
    fault(); // mark: in_unloaded_guest
    sink = 1;
}

HMODULE called_guest;

void __cdecl unload_and_fault() {
    FreeLibrary(called_guest);
    write_to_null(); // mark: unload_and_fault
    sink = 1;
}

void below_unloaded_guest() {
    called_guest = load_guest();
    win::function_of<decltype(guest_call)>(called_guest, "guest_call")(unload_and_fault); // mark: below_unloaded_guest
    sink = 1;
}

// Faults when only some kilobytes of stack are left.
__attribute__((noinline)) int use_up_stack(unsigned left) {
    volatile char frame[1024];
    MEMORY_BASIC_INFORMATION region;
    VirtualQuery(const_cast<char*>(frame), &region, sizeof region);
    frame[0] = 0;
    if (const_cast<char*>(frame) - static_cast<char*>(region.AllocationBase) < static_cast<int>(left)) {
        write_to_null();
        return 0;
    }
    return use_up_stack(left) + frame[0];
}

constexpr unsigned kStackLeft = 32 * 1024; // bytes

void little_stack() {
    sink = use_up_stack(kStackLeft);
}

void software_exception() {
    const ULONG_PTR parameters[] = {0x11, 0x22};
    RaiseException(0xE0001234, 0, 2, parameters);
}

const Fault kFaults[] = {
    {"mixed", mixed_calls},
    {"deep", deep},
    {"shallow", shallow},
    {"smashed", smashed},
    {"bad-frame-pointer", bad_frame_pointer},
    {"circular-chain", circular_chain},
    {"undescribed", undescribed},
    {"call-null", call_null},
    {"guest", in_guest},
    {"unloaded", in_unloaded_guest},
    {"below-unloaded", below_unloaded_guest},
    {"little-stack", little_stack},
    {"overflow-trap", trap_overflow},
    {"software", software_exception},
};

} // namespace

bool commit_stack_fault(const char* name) {
    void (*volatile commit)() = find_fault(kFaults, name);
    if (!commit)
        return false;
    commit();
    return true;
}
