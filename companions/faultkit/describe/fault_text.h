// The text that names a fault, from plain values.
#pragma once

#include <stdint.h>

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/describe/place_text.h"
#include "companions/faultkit/text_builder.h"

namespace faultkit {

struct Registers {
    uint32_t eax, ebx, ecx, edx, esi, edi, ebp, esp, eip, flags;
    uint16_t cs, ds, es, fs, gs, ss;
    bool has_float;
    uint16_t x87_control, x87_status;
    uint32_t x87_instruction; // address of the x87 instruction that failed: the report of it comes later
    bool has_sse;
    uint32_t mxcsr;
};

struct FaultFacts {
    bool has_record;        // otherwise there is nothing but registers
    uint32_t code, address; // exception code and address
    uint32_t parameter_count;
    uint32_t parameters[4];
    uint32_t thread;
    bool has_registers;
    Registers registers;
    SourcePlace place;        // of the faulting instruction
    const char* memory;       // what is at the accessed address, in words; null when not known
    char thrown_type[128];    // of a C++ exception: its decorated type name
    uint32_t code_byte_count; // bytes at the faulting instruction
    uint8_t code_bytes[16];
    uint32_t executable; // base of the host's executable
};

// The first lines: exception in words, instruction, registers. No line end behind the last one.
void describe_fault(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules);

// One line per module, the executable and the faulting module first, those of the system last; then the ones that are
// gone. Leaves `reserve` characters of the text free: what does not fit is counted in a last line. Each line begins
// with
// "\n".
void list_modules(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules, unsigned reserve);

} // namespace faultkit
