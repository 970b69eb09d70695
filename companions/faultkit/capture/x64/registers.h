#pragma once

#include <stdint.h>

namespace faultkit {

struct Registers {
    uint64_t rax, rbx, rcx, rdx, rsi, rdi, rbp, rsp, r8, r9, r10, r11, r12, r13, r14, r15, rip;
    uint32_t flags;
    uint16_t cs, ds, es, fs, gs, ss;
};

} // namespace faultkit
