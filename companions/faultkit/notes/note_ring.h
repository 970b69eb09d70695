// The host's notes: the last ones of what it did.
#pragma once

#include "companions/faultkit/notes/store_lock.h"

namespace faultkit {

struct FaultNote {
    static constexpr unsigned kMostText = 200; // bytes

    uint64_t time;   // UTC, in 100 nanoseconds since 1601
    uint32_t thread; // that added it
    char text[kMostText + 1];
};

// In static storage, where all zeros is empty.
class NoteRing {
public:
    static constexpr unsigned kMostNotes = 64;

    // Adds a copy of the text, with the time that now() gives then, so that times are in the order of the notes.
    // Returns false when the lock could not be had.
    bool add(const char* text, unsigned length, uint32_t thread, uint64_t (*now)(), GiveWay give_way);

    // Copies the last notes, oldest first; one that is being written by a thread that was stopped is left out. Returns
    // how many there are, and in *before how many older ones are gone.
    unsigned copy(FaultNote (&to)[kMostNotes], uint32_t* before, GiveWay give_way);

private:
    struct Slot {
        uint32_t whole; // 0 while the note is written
        FaultNote note;
    };

    StoreLock m_lock;
    uint32_t m_count; // of all that were ever added
    Slot m_slots[kMostNotes];
};

} // namespace faultkit
