// What the host says of itself: its values and notes, kept by the library as long as it is loaded.
#pragma once

#include "companions/faultkit/notes/note_ring.h"
#include "companions/faultkit/notes/value_store.h"

namespace faultkit {

// SetFaultValue and AddFaultNote. Both return 0 or the system's error code, and read the caller's texts before they
// take a lock, as a bad pointer faults.
uint32_t set_value(const char* key, const char* text);
uint32_t add_note(const char* text);

// Copies for a report; large, so in static storage.
struct HostWords {
    FaultValue values[ValueStore::kMostValues];
    FaultNote notes[NoteRing::kMostNotes];
    unsigned value_count, note_count;
    uint32_t notes_before; // that are gone already

    void take();
    // Whether the host asked for what may be private.
    bool with_private() const;
};

} // namespace faultkit
