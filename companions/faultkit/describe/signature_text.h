// What one bug's faults have in common, whatever the machine: the kind of the fault, and the first places of the
// program's own modules on its stack.
#pragma once

#include "companions/faultkit/capture/fault_facts.h"
#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/text_builder.h"
#include "companions/faultkit/walk/trace.h"

namespace faultkit {

// Whether the module is the program's own: neither the system's nor a compiler's runtime, wherever that lies.
bool is_own(const Module& module);

// Two lines, each beginning with "\n". Fields are separated by " | "; the first is the kind, the others are places, the
// fault's first:
//   Signature: EXCEPTION_ACCESS_VIOLATION written | host.exe@526135762C3B5AB04C4C44205044422E1+10E3
//   Signature names: EXCEPTION_ACCESS_VIOLATION written | host.exe!copy_title
// Of a module that names no PDB the identity is time stamp and size. Where the stack has no place in a module of the
// program's own, the first module of all stands alone. Names are left out where none is known. lines: of the stack,
// from the fault on.
void write_signature(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules, const TraceLine* lines,
                     unsigned count);

} // namespace faultkit
