// What follows for every stream from its reading, writing and positions: numbers of several bytes in its byte order,
// and places counted from elsewhere than its start.
#pragma once

#include "glib/stream.h"

class VOrderedStream : public VStream {
public:
    // Beyond the end is a legal place for a position, before the start is not.
    unsigned Seek(int64_t offset, int origin) override;
    unsigned IsEmpty() override;
    uint16_t ReadWord() override;
    uint32_t ReadDword() override;
    uint64_t ReadQword() override;
    unsigned WriteWord(uint16_t value) override;
    unsigned WriteDword(uint32_t value) override;
    unsigned WriteQword(uint64_t value) override;

private:
    template <typename T>
    T read_value();
    template <typename T>
    unsigned write_value(T value);
};
