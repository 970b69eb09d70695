// The text that names a fault, from plain values.
#pragma once

#include "companions/faultkit/capture/fault_facts.h"
#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/describe/place_text.h"
#include "companions/faultkit/text_builder.h"

namespace faultkit {

// The exception's name, with how memory was touched or what was thrown: "EXCEPTION_ACCESS_VIOLATION, written". What
// faults of one bug have in common on all machines.
void write_kind(TextBuilder& text, const FaultFacts& facts);

// The first lines: exception in words, instruction, registers. No line end behind the last one.
// place: of the faulting instruction.
void describe_fault(TextBuilder& text, const FaultFacts& facts, const SourcePlace& place, const ModuleTable& modules);

// One line per module, the executable and the faulting module first, those of the system last; then the ones that are
// gone. Leaves `reserve` characters of the text free: what does not fit is counted in a last line. Each line begins
// with "\n".
void list_modules(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules, unsigned reserve);

// Characters that the list's first lines take: of all modules but the system's and those that are gone. Nothing is
// added to the text.
unsigned length_of_own_modules(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules);

// Two to six lines. One source for each kind of process.
void write_registers(TextBuilder& text, const Registers& registers);

// Names of exception codes (exception_names.cpp)

struct ExceptionName {
    uint32_t code;
    const char* name;  // the constant of the system's headers, or what its maker calls it
    const char* words; // what happened, for a reader who doesn't know the constant; may be empty
};

// The entry of a code, or null when it is not a common one. Points to constant storage.
const ExceptionName* find_exception_name(uint32_t code);

// Whether the code is one of the floating point exceptions, whose registers are worth printing.
bool is_float_exception(uint32_t code);

} // namespace faultkit
