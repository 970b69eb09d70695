// Polls a variable once a millisecond, up to the timeout, instead of waiting for an object of the system's.
#include "companions/faultkit/lock.h"

#include <windows.h>

namespace faultkit {
namespace {

constexpr DWORD kTimeout = 5000; // milliseconds

// The thread that holds the lock, 0 for none. Not a critical section: its owner may have died with it, and it would let
// the same thread in twice.
volatile LONG owner;

} // namespace

Lock::Lock() : m_held(false) {
    const LONG self = static_cast<LONG>(GetCurrentThreadId());
    const DWORD begin = GetTickCount();
    while (!m_held) {
        const LONG before = InterlockedCompareExchange(&owner, self, 0);
        m_held = before == 0;
        if (before == self || (!m_held && GetTickCount() - begin >= kTimeout))
            return;
        if (!m_held)
            Sleep(1);
    }
}

Lock::~Lock() {
    if (m_held)
        InterlockedExchange(&owner, 0);
}

} // namespace faultkit
