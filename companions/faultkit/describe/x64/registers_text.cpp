// Four registers a line, as people know them from 32 bits; those that came with 64 bits follow the old eight.
#include "companions/faultkit/describe/fault_text.h"

namespace faultkit {

void write_registers(TextBuilder& text, const Registers& r) {
    const struct {
        const char* name;
        uint64_t value;
    } registers[] = {{"\nRAX ", r.rax}, {"  RBX ", r.rbx}, {"  RCX ", r.rcx}, {"  RDX ", r.rdx}, {"\nRSI ", r.rsi},
                     {"  RDI ", r.rdi}, {"  RBP ", r.rbp}, {"  RSP ", r.rsp}, {"\nR8  ", r.r8},  {"  R9  ", r.r9},
                     {"  R10 ", r.r10}, {"  R11 ", r.r11}, {"\nR12 ", r.r12}, {"  R13 ", r.r13}, {"  R14 ", r.r14},
                     {"  R15 ", r.r15}, {"\nRIP ", r.rip}};
    for (const auto& one : registers)
        text.text(one.name).address(one.value);
    text.text("  EFL ").hex(r.flags).text("  CS ").hex(r.cs, 4).text("  DS ").hex(r.ds, 4);
    text.text("  ES ").hex(r.es, 4).text("  FS ").hex(r.fs, 4).text("  GS ").hex(r.gs, 4).text("  SS ").hex(r.ss, 4);
}

} // namespace faultkit
