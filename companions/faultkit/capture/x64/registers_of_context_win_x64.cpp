// What a 64-bit context holds. It has both floating-point states or neither, and its flags say which.
#include "companions/faultkit/capture/snapshot.h"

namespace faultkit {

const uint32_t kShortestContext = sizeof(CONTEXT);

Address instruction_of(const CONTEXT& context) {
    return context.Rip;
}

void copy_registers(const CONTEXT& from, Registers* to) {
    *to = {from.Rax, from.Rbx,    from.Rcx,   from.Rdx,   from.Rsi,   from.Rdi,   from.Rbp,   from.Rsp,
           from.R8,  from.R9,     from.R10,   from.R11,   from.R12,   from.R13,   from.R14,   from.R15,
           from.Rip, from.EFlags, from.SegCs, from.SegDs, from.SegEs, from.SegFs, from.SegGs, from.SegSs};
}

void copy_float_state(const CONTEXT& from, FloatState* to) {
    *to = FloatState();
    if ((from.ContextFlags & CONTEXT_FLOATING_POINT) != CONTEXT_FLOATING_POINT)
        return;
    to->has_x87 = to->has_sse = true;
    to->x87_control = from.FltSave.ControlWord;
    to->x87_status = from.FltSave.StatusWord;
    // Saved in full, or with the code segment in the place of its upper half.
    const Address upper = from.FltSave.ErrorSelector | static_cast<Address>(from.FltSave.Reserved2) << 16;
    to->x87_instruction = from.FltSave.ErrorOffset | (upper == from.SegCs ? 0 : upper << 32);
    to->mxcsr = from.FltSave.MxCsr;
}

} // namespace faultkit
