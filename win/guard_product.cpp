// A __try block, and a filter that knows the library's own exceptions by the type names that the compiler leaves in
// every throw.
#include "win/guard.h"

#include <malloc.h>
#include <string.h>
#include <windows.h>

namespace win {

namespace {

constexpr bool kWide = sizeof(void*) == 8;

// Where something is: its address in 32-bit programs, in 64-bit ones how far from the start of the throwing image.
template <class T>
struct Place {
    uint32_t value;
    const T* in(uintptr_t image) const { return reinterpret_cast<const T*>(image + value); }
};

// What the compiler says of a throw expression, as every runtime of this ABI reads it.
struct TypeDescriptor {
    const void* table;
    void* spare;
    char name[1]; // decorated, as ".?AVgenlib_error@gen@@"
};

struct CatchableType {
    uint32_t properties;
    Place<TypeDescriptor> type;
};

struct CatchableTypes {
    int count;
    Place<CatchableType> types[1];
};

struct ThrowInfo {
    uint32_t attributes;
    uint32_t destructor;
    uint32_t compatibility;
    Place<CatchableTypes> catchable; // the type itself and its bases
};

bool is_our_own(const EXCEPTION_RECORD& record) {
    if (record.NumberParameters < (kWide ? 4 : 3))
        return false;
    const uintptr_t image = kWide ? record.ExceptionInformation[3] : 0;
    auto* const object = reinterpret_cast<const char* const*>(record.ExceptionInformation[1]);
    auto* const info = reinterpret_cast<const ThrowInfo*>(record.ExceptionInformation[2]);
    if (!info)
        return false;
    const CatchableTypes* const types = info->catchable.in(image);
    for (int i = 0; i < types->count; ++i) {
        const char* const name = types->types[i].in(image)->type.in(image)->name;
        if (strcmp(name, ".?AVgenlib_error@gen@@") == 0 || (strcmp(name, ".PAD") == 0 && *object == kExceptionMarker))
            return true;
    }
    return false;
}

int filter(const GuardPolicy& policy, const EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (policy.passes && policy.passes(record))
        return EXCEPTION_CONTINUE_SEARCH;
    if (policy.noted)
        *policy.noted = {record.ExceptionCode, reinterpret_cast<uintptr_t>(record.ExceptionAddress)};
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

bool is_own_or_overflow(const EXCEPTION_RECORD& record) {
    return record.ExceptionCode == EXCEPTION_STACK_OVERFLOW ||
           (record.ExceptionCode == kCxxException && is_our_own(record));
}

// No object with a destructor may live in a function with __try. The pointer is volatile, so that the compiler can't
// find the call to throw nothing and drop the guard. The filter can't name an argument that comes by reference, as the
// policy does with 64 bits.
bool run_guarded(GuardPolicy policy, void (*function)(void* context), void* context) {
    const GuardPolicy* const rules = &policy;
    void (*volatile const guarded)(void*) = function;
    __try {
        guarded(context);
    } __except (filter(*rules, GetExceptionInformation())) {
        // Without its guard page the stack would end the process the next time it overflows.
        if (GetExceptionCode() == EXCEPTION_STACK_OVERFLOW)
            _resetstkoflw();
        return false;
    }
    return true;
}

bool run_guarded(void (*function)(void* context), void* context) {
    return run_guarded(kSwallowForeign, function, context);
}

} // namespace win
