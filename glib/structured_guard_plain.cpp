#include "glib/structured_guard.h"

namespace glib {

bool call_guarded(void (*function)(void* context), void* context) {
    function(context);
    return true;
}

} // namespace glib
