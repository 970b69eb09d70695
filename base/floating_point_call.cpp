// The settings come back by a destructor.
#include "base/floating_point_scope.h"

__attribute__((noinline)) void gen::call_with_own_floating_point(void (*function)(void* context), void* context) {
    const FloatingPointScope scope;
    function(context);
}
