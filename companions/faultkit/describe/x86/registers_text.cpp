// Four registers a line, in the order in which debuggers show them.
#include "companions/faultkit/describe/fault_text.h"

namespace faultkit {

void write_registers(TextBuilder& text, const Registers& r) {
    text.text("\nEAX ").hex(r.eax).text("  EBX ").hex(r.ebx).text("  ECX ").hex(r.ecx).text("  EDX ").hex(r.edx);
    text.text("\nESI ").hex(r.esi).text("  EDI ").hex(r.edi).text("  EBP ").hex(r.ebp).text("  ESP ").hex(r.esp);
    text.text("\nEIP ").hex(r.eip).text("  EFL ").hex(r.flags).text("  CS ").hex(r.cs, 4).text("  DS ").hex(r.ds, 4);
    text.text("  ES ").hex(r.es, 4).text("  FS ").hex(r.fs, 4).text("  GS ").hex(r.gs, 4).text("  SS ").hex(r.ss, 4);
}

} // namespace faultkit
