// The lock of the exported functions: the debugging library allows one caller at a time, and the storage is static.
#pragma once

namespace faultkit {

// Holds the lock until its end. Waits for another thread with a timeout of some seconds; a thread that comes again
// while it already holds the lock (a fault inside a fault's description) is refused at once.
class Lock {
public:
    Lock();
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    explicit operator bool() const { return m_held; }

private:
    bool m_held;
};

} // namespace faultkit
