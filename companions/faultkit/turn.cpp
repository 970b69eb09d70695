#include "companions/faultkit/turn.h"

#include <windows.h>

namespace faultkit {
namespace {

constexpr DWORD kPatience = 5000; // milliseconds

// The thread that has the turn, 0 for none. Not a critical section: its owner may have died with it, and it would let
// the same thread in twice.
volatile LONG owner;

} // namespace

Turn::Turn() : held_(false) {
    const LONG self = static_cast<LONG>(GetCurrentThreadId());
    const DWORD begin = GetTickCount();
    while (!held_) {
        const LONG before = InterlockedCompareExchange(&owner, self, 0);
        held_ = before == 0;
        if (before == self || (!held_ && GetTickCount() - begin >= kPatience))
            return;
        if (!held_)
            Sleep(1);
    }
}

Turn::~Turn() {
    if (held_)
        InterlockedExchange(&owner, 0);
}

} // namespace faultkit
