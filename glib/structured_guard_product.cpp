// Swallows whatever comes, the library's own exceptions included; win/fault_guard.h lets those pass.
#include "glib/structured_guard.h"

#include <malloc.h>
#include <windows.h>

namespace glib {

// No object with a destructor may live in a function with __try.
bool call_guarded(void (*function)(void* context), void* context) {
    __try {
        function(context);
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        // Without its guard page the stack would end the process the next time it overflows.
        if (GetExceptionCode() == EXCEPTION_STACK_OVERFLOW)
            _resetstkoflw();
        return false;
    }
    return true;
}

} // namespace glib
