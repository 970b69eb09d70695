// The host's values: texts by name.
#pragma once

#include "companions/faultkit/notes/store_lock.h"

namespace faultkit {

struct FaultValue {
    static constexpr unsigned kMostKey = 31, kMostText = 127; // bytes

    char key[kMostKey + 1];
    char text[kMostText + 1];
};

// Copies a text up to its NUL, at most `most` bytes; `to` has space for one more. Returns the length.
unsigned copy_bounded(char* to, const char* from, unsigned most);

// Whether a key has 1 to kMostKey characters, all of them letters, digits, spaces, '.', '-' or '_'.
bool is_key(const char* key);

// In static storage, where all zeros is empty.
class ValueStore {
public:
    static constexpr unsigned kMostValues = 32;

    // Sets the text of value.key; an empty text takes the value out. Returns false when there is no space for another
    // key, or the lock could not be had.
    bool set(const FaultValue& value, GiveWay give_way);

    // Copies all values, in the order in which their keys were first set; one that is being written by a thread that
    // was stopped is left out. Returns how many there are.
    unsigned copy(FaultValue (&to)[kMostValues], GiveWay give_way);

private:
    struct Slot {
        uint32_t whole; // 0 while the value is written
        FaultValue value;
    };

    StoreLock m_lock;
    unsigned m_count;
    Slot m_slots[kMostValues];
};

} // namespace faultkit
