// A value that can't be read in full is 0: streams don't throw.
#include "glib/stream.h"

namespace {

// The value as it must lie in memory of this (little-endian) machine, so that its bytes come in the wanted order; and
// back.
template <typename T>
T in_order(T value, bool big_endian) {
    if (!big_endian)
        return value;
    T swapped = 0;
    for (unsigned i = 0; i < sizeof(T); ++i) {
        swapped = static_cast<T>(swapped << 8 | (value & 0xFF));
        value = static_cast<T>(value >> 8);
    }
    return swapped;
}

} // namespace

unsigned VOrderedStream::Seek(int64_t offset, int origin) {
    uint64_t base;
    switch (origin) {
    case from_start:
        base = 0;
        break;
    case from_current:
        base = Tell();
        break;
    case from_end:
        base = Size();
        break;
    default:
        return 0;
    }
    return SetPosition(base + static_cast<uint64_t>(offset));
}

unsigned VOrderedStream::IsEmpty() {
    return Size() == 0;
}

template <typename T>
T VOrderedStream::read_value() {
    T value;
    return Read(&value, sizeof(T), 1) ? in_order(value, big_endian()) : T(0);
}

template <typename T>
unsigned VOrderedStream::write_value(T value) {
    value = in_order(value, big_endian());
    return Write(&value, sizeof(T), 1);
}

uint16_t VOrderedStream::ReadWord() {
    return read_value<uint16_t>();
}

uint32_t VOrderedStream::ReadDword() {
    return read_value<uint32_t>();
}

uint64_t VOrderedStream::ReadQword() {
    return read_value<uint64_t>();
}

unsigned VOrderedStream::WriteWord(uint16_t value) {
    return write_value(value);
}

unsigned VOrderedStream::WriteDword(uint32_t value) {
    return write_value(value);
}

unsigned VOrderedStream::WriteQword(uint64_t value) {
    return write_value(value);
}
