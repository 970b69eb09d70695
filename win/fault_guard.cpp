#include "win/fault_guard.h"

#include <windows.h>

namespace win {

namespace {

constexpr DWORD cxx_exception = 0xE06D7363;

int filter(DWORD code) {
    return code == cxx_exception || code == EXCEPTION_STACK_OVERFLOW ? EXCEPTION_CONTINUE_SEARCH
                                                                     : EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

// No object with a destructor may live in a function with __try.
bool run_guarded(void (*function)(void* context), void* context) {
    __try {
        function(context);
    } __except (filter(GetExceptionCode())) {
        return false;
    }
    return true;
}

} // namespace win
