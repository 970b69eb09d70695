// Numbers of several bytes in a stream's byte order, for every stream that can read and write bytes.
#pragma once

#include "glib/stream.h"

class VOrderedStream : public VStream {
public:
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
