#include "win/fault_guard.h"

const char kExceptionMarker[] = "SEHWendaxExceptionGenerated";

namespace win {

bool run_guarded(void (*function)(void* context), void* context) {
    function(context);
    return true;
}

} // namespace win
