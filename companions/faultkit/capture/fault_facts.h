// What is known about a fault, in plain values.
#pragma once

#include "companions/faultkit/address.h"
#if FAULTKIT_BITS == 64
#include "companions/faultkit/capture/x64/registers.h"
#else
#include "companions/faultkit/capture/x86/registers.h"
#endif

namespace faultkit {

// Codes of exceptions that are treated specially.
constexpr uint32_t kAccessViolation = 0xC0000005;
constexpr uint32_t kInPageError = 0xC0000006;
constexpr uint32_t kCxxException = 0xE06D7363;

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
    uint32_t thread;
    bool has_registers;
    Registers registers;
    FloatState floating;
    const char* memory;       // what is at the accessed address, in words; null when not known
    char thrown_type[128];    // of a C++ exception: its decorated type name
    uint32_t code_byte_count; // bytes at the faulting instruction
    uint8_t code_bytes[16];
    Address executable; // base of the host's executable
};

} // namespace faultkit
