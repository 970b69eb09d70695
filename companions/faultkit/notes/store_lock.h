// A lock for stores that every thread of a host writes to, and that are read after a fault. Nothing may fault while it
// is held.
#pragma once

#include <stdint.h>

namespace faultkit {

// Lets other threads run: milliseconds 0 gives up the rest of the time slice, others sleep.
using GiveWay = void (*)(unsigned milliseconds);

// All zeros is free. Its owner may be stopped for good while it holds the lock, so nobody waits for ever.
class StoreLock {
public:
    // Waits a second or two at most. Returns whether the lock is held now.
    bool acquire(GiveWay give_way) {
        for (unsigned i = 0; i < kAtOnce + kSoon + kLate; ++i) {
            if (__atomic_exchange_n(&m_held, 1, __ATOMIC_ACQUIRE) == 0)
                return true;
            if (i >= kAtOnce)
                give_way(i >= kAtOnce + kSoon ? 1 : 0);
        }
        return false;
    }
    void release() { __atomic_store_n(&m_held, 0, __ATOMIC_RELEASE); }

private:
    static constexpr unsigned kAtOnce = 64, kSoon = 64, kLate = 1000; // tries

    uint32_t m_held;
};

} // namespace faultkit
