// What a 32-bit context holds, as far as its flags say that it does. The x87 state is the old one; MXCSR is in the
// extended registers alone.
#include "companions/faultkit/capture/snapshot.h"

#include <stddef.h>

namespace faultkit {

const uint32_t kShortestContext = offsetof(CONTEXT, ExtendedRegisters);

Address instruction_of(const CONTEXT& context) {
    return context.Eip;
}

void copy_registers(const CONTEXT& from, Registers* to) {
    *to = {from.Eax,
           from.Ebx,
           from.Ecx,
           from.Edx,
           from.Esi,
           from.Edi,
           from.Ebp,
           from.Esp,
           from.Eip,
           from.EFlags,
           static_cast<uint16_t>(from.SegCs),
           static_cast<uint16_t>(from.SegDs),
           static_cast<uint16_t>(from.SegEs),
           static_cast<uint16_t>(from.SegFs),
           static_cast<uint16_t>(from.SegGs),
           static_cast<uint16_t>(from.SegSs)};
}

void copy_float_state(const CONTEXT& from, FloatState* to) {
    *to = FloatState();
    if ((from.ContextFlags & CONTEXT_FLOATING_POINT) == CONTEXT_FLOATING_POINT) {
        to->has_x87 = true;
        to->x87_control = static_cast<uint16_t>(from.FloatSave.ControlWord);
        to->x87_status = static_cast<uint16_t>(from.FloatSave.StatusWord);
        to->x87_instruction = from.FloatSave.ErrorOffset;
    }
    if ((from.ContextFlags & CONTEXT_EXTENDED_REGISTERS) == CONTEXT_EXTENDED_REGISTERS) {
        constexpr unsigned kMxcsrAt = 24; // in the processor's own layout (FXSAVE)
        to->has_sse = true;
        to->mxcsr = *reinterpret_cast<const uint32_t*>(from.ExtendedRegisters + kMxcsrAt);
    }
}

} // namespace faultkit
