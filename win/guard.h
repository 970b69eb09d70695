// The guard: runs what may fault or throw, such as code of other makers (drivers, helpers, whatever the host's process
// has loaded) or a read of memory that may not be there, and keeps it from ending more than itself.
#pragma once

#include <stdint.h>

// What the translator throws, as a char*, in place of a fault. Nobody may write to it.
inline constexpr char kExceptionMarker[] = "SEHWendaxExceptionGenerated";

struct _EXCEPTION_RECORD;

namespace win {

// The code of what `throw` raises in the Microsoft ABI.
inline constexpr uint32_t kCxxException = 0xE06D7363;

// What ended a guarded call: the exception's code and the address of its instruction.
struct Fault {
    uint32_t code;
    uintptr_t address;
};

// What a guard does with a hardware fault or a C++ exception. What passes goes on to the frames outside; all else ends
// at the guard, a stack overflow with the stack's guard page put back.
struct GuardPolicy {
    bool (*passes)(const _EXCEPTION_RECORD& record); // null: nothing does
    Fault* noted = nullptr;                          // is told what ended at the guard, if not null
};

// Whether it is the library's own exception (gen::genlib_error), the translator's marker, or a stack overflow. Under a
// guard that lets these pass, no exception is caught to be thrown again: what a bare `throw` throws can't be told and
// counts as foreign.
bool is_own_or_overflow(const _EXCEPTION_RECORD& record);

// For code of other makers.
inline constexpr GuardPolicy kSwallowForeign = {is_own_or_overflow};

// For what must come back whatever happens.
inline constexpr GuardPolicy kSwallowAll = {nullptr};

// The same, with what ended it noted in *met, which stays as it is when nothing did.
constexpr GuardPolicy swallow_and_note(Fault* met) {
    return {nullptr, met};
}

// Calls function(context). True when it returned, false when it ended at the guard. What it held is released on the way
// out where its source keeps count of that (see wendax_layer); what a foreign exception owned is not. Without
// structured exceptions in the compiler it is a plain call.
#ifdef _MSC_VER
bool run_guarded(GuardPolicy policy, void (*function)(void* context), void* context);
bool run_guarded(void (*function)(void* context), void* context); // by kSwallowForeign
#else
inline bool run_guarded(GuardPolicy, void (*function)(void* context), void* context) {
    function(context);
    return true;
}
inline bool run_guarded(void (*function)(void* context), void* context) {
    function(context);
    return true;
}
#endif

// The same for anything that can be called without arguments.
template <class Callable>
bool run_guarded(GuardPolicy policy, Callable callable) {
    return run_guarded(policy, [](void* context) { (*static_cast<Callable*>(context))(); }, &callable);
}
template <class Callable>
bool run_guarded(Callable callable) {
    return run_guarded([](void* context) { (*static_cast<Callable*>(context))(); }, &callable);
}

} // namespace win
