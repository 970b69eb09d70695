#include "glib/structured_guard.h"

namespace glib {

// No object with a destructor may live in a function with __try.
bool call_guarded(void (*function)(void* context), void* context) {
    __try {
        function(context);
    } __except (1) {
        return false;
    }
    return true;
}

} // namespace glib
