// One caller at a time: the debugging library allows no more, and the storage is static.
#pragma once

namespace faultkit {

// Holds the turn until its end. Waits for another thread at most some seconds; a thread that comes again while it
// already has the turn (a fault inside a fault's description) is refused at once.
class Turn {
public:
    Turn();
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    explicit operator bool() const { return m_held; }

private:
    bool m_held;
};

} // namespace faultkit
