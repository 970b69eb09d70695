#include "win/fault_guard.h"

namespace win {

bool run_guarded(void (*function)(void* context), void* context) {
    function(context);
    return true;
}

} // namespace win
