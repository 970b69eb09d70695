// An object as a caller sees it that was compiled without its header: virtual functions by their numbers, fields at
// their offsets.
#pragma once

#include <string.h>

inline void** slots_of(void* object) {
    return *static_cast<void***>(object);
}

// Virtual function number `slot`, counted from 1.
template <class Function>
Function* slot_of(void* object, unsigned slot) {
    return reinterpret_cast<Function*>(slots_of(object)[slot - 1]);
}

template <class T>
T field(const void* object, unsigned offset) {
    T value;
    memcpy(&value, static_cast<const char*>(object) + offset, sizeof(value));
    return value;
}
