// What is known about a fault, in plain values.
#pragma once

#include "companions/faultkit/memory.h"
#include "win/guard.h"

namespace faultkit {

#if FAULTKIT_BITS == 64
struct Registers {
    uint64_t rax, rbx, rcx, rdx, rsi, rdi, rbp, rsp, r8, r9, r10, r11, r12, r13, r14, r15, rip;
    uint32_t flags;
    uint16_t cs, ds, es, fs, gs, ss;
};
#else
struct Registers {
    uint32_t eax, ebx, ecx, edx, esi, edi, ebp, esp, eip, flags;
    uint16_t cs, ds, es, fs, gs, ss;
};
#endif

// Codes of exceptions that are treated specially.
constexpr uint32_t kAccessViolation = 0xC0000005;
constexpr uint32_t kInPageError = 0xC0000006;
using win::kCxxException;

// Raised by the crash-report library where a program ends without a fault. Their parameters are pointers into it.
constexpr uint32_t kTerminate = 0xE0575801; // type and what() of the exception, pointers of its throw; each may be 0
constexpr uint32_t kPureCall = 0xE0575802;  // none
constexpr uint32_t kInvalidParameter = 0xE0575803; // expression, function and file in UTF-16, each may be 0; line
constexpr uint32_t kAbort = 0xE0575804;            // none

struct FloatState {
    bool has_x87;
    uint16_t x87_control, x87_status;
    Address x87_instruction; // that failed: the report of it comes later
    bool has_sse;
    uint32_t mxcsr;
};

struct FaultFacts {
    bool has_record; // otherwise there is nothing but registers
    uint32_t code;   // of the exception
    Address address; // of the faulting instruction
    uint32_t parameter_count;
    Address parameters[4];
    uint32_t thread;    // that failed
    uint32_t describer; // the thread that has it described, mostly the same
    bool has_registers;
    Registers registers;
    FloatState floating;
    const char* memory;       // what is at the accessed address, in words; null when not known
    char thrown_type[128];    // of a C++ exception: its decorated type name
    char thrown_text[204];    // what it says, where that is known
    bool of_throw;            // registers and address are those of the throw that ended in std::terminate
    char invalid[3][128];     // of an invalid parameter: expression, function, file; empty where not known
    uint32_t code_byte_count; // bytes at the faulting instruction
    uint8_t code_bytes[16];
    Address executable; // base of the host's executable

    bool is_of_cover() const { return code >= kTerminate && code <= kAbort; }
};

// What a C++ exception's parameters lead to (thrown_type.cpp)

// Copies the decorated name (".?AVCFileException@@") of the most derived type of a C++ exception's object. `type`
// becomes empty when the parameters don't lead to one.
void read_thrown_type(Memory& memory, const Address* parameters, uint32_t count, char (&type)[128]);

// Copies what a C++ exception's object says: the text of a std::exception, which its what() gives unless a class
// overrides it, or the one that a thrown char* points to. Runs no code of the object's. `text` becomes empty when there
// is none.
void read_thrown_text(Memory& memory, const Address* parameters, uint32_t count, char* text, uint32_t size);

} // namespace faultkit
