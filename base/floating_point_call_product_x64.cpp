// Unwinding notes the settings when it begins, and brings those back in the end whatever destructors did. It begins
// once a handler was found, and whoever looks for one asks the filter here on the way: so the filter puts the host's
// settings in place. A handler that lets the program go on where it was brings back those of that place.
#include "base/floating_point_scope.h"

#include <new>

namespace {

int leave(const gen::FloatingPointScope& scope) {
    constexpr int kContinueSearch = 0;
    scope.restore();
    return kContinueSearch;
}

} // namespace

// No object with a destructor may live in a function with __try, so the scope's is left out. The pointer is volatile,
// so that the compiler can't find the call to throw nothing and drop the filter.
void gen::call_with_own_floating_point(void (*function)(void* context), void* context) {
    alignas(FloatingPointScope) unsigned char place[sizeof(FloatingPointScope)];
    const FloatingPointScope* const scope = new (place) FloatingPointScope;
    void (*volatile const called)(void*) = function;
    __try {
        called(context);
    } __except (leave(*scope)) {
    }
    scope->restore();
}
