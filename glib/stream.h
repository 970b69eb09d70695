// The byte stream that the imaging layer and its format modules read and write through.
//
// The order of the virtual operations is part of the module contract: slot 1 is the destructor, the others follow as
// declared. Every operation has a name of its own, because the Microsoft ABI lays overloads out in reverse.
//
// Streams don't throw (a saved position may run out of memory: gen::genlib_out_of_memory). A failed operation answers 0
// or moves fewer elements. Positions and sizes are in bytes. A stream belongs to one thread at a time.
#pragma once

#include <stdint.h>

#include "base/array.h"

class VStream {
public:
    enum Origin { from_start = 0, from_current = 1, from_end = 2 };

    virtual ~VStream();                                                      //  1
    virtual unsigned OpenWide(const wchar_t* path, const wchar_t* mode) = 0; //  2: 1, or 0; modes as fopen's
    virtual unsigned Open(const char* path, const char* mode) = 0;           //  3
    virtual unsigned Seek(int64_t offset, int origin) = 0;                   //  4: 1, or 0 with the position unchanged
    virtual unsigned IsEndOfData() = 0;                  //  5: 1 once a read came up short; a successful seek clears it
    virtual unsigned IsEmpty() = 0;                      //  6: 1 if the size is 0
    virtual unsigned HasError() = 0;                     //  7: 1 after a failure that lasts
    virtual uint64_t Tell() = 0;                         //  8
    virtual unsigned SetPosition(uint64_t position) = 0; //  9: 1 or 0
    virtual uint64_t Size() = 0;                         // 10
    virtual int64_t ModificationTime() = 0;              // 11: seconds since 1970 of the underlying file, 0 without one
    virtual unsigned SetSize(uint64_t size) = 0;         // 12: cuts, or adds zero bytes; 1 or 0
    virtual uint8_t ReadByte() = 0;                      // 13: at the end 0, and the end-of-data flag is set
    virtual uint16_t ReadWord() = 0;                     // 14: 0 if fewer bytes are left, as for the next two
    virtual uint32_t ReadDword() = 0;                    // 15
    virtual uint64_t ReadQword() = 0;                    // 16
    // 17: The elements read: bytes / size, rounded down. The position advances by the bytes.
    virtual uint32_t Read(void* buffer, uint32_t size, uint32_t count) = 0;
    // 18: Up to `length` - 1 bytes, ending after a line feed, and a NUL behind them. Null at the end of the data.
    virtual char* ReadLine(char* buffer, uint32_t length) = 0;
    virtual unsigned WriteByte(uint8_t value) = 0;   // 19: 1 or 0, as for the next three
    virtual unsigned WriteWord(uint16_t value) = 0;  // 20
    virtual unsigned WriteDword(uint32_t value) = 0; // 21
    virtual unsigned WriteQword(uint64_t value) = 0; // 22
    // 23: The elements written: bytes / size, rounded down. The position advances by the bytes.
    virtual uint32_t Write(const void* buffer, uint32_t size, uint32_t count) = 0;
    virtual unsigned WriteString(const char* text) = 0;        // 24: without the terminating NUL; the bytes written
    virtual unsigned WriteFormat(const char* format, ...) = 0; // 25: printf-like; 1, or 0 also for an empty result
    virtual unsigned Flush() = 0;                              // 26: 1 or 0
    virtual unsigned Close() = 0;                              // 27: 1 or 0

    // With the flag set, 16-, 32- and 64-bit values stand in the stream big-endian; clear means little-endian.
    bool big_endian() const { return m_big_endian; }
    void set_big_endian(bool on) { m_big_endian = on; }

    // A stack of positions: push keeps the present one, pop goes back to the last kept one (0 if there is none or the
    // seek fails).
    void PushPosition();
    unsigned PopPosition();

protected:
    VStream() = default;
    VStream(const VStream&) = delete;
    VStream& operator=(const VStream&) = delete;

private:
    bool m_big_endian = false;
    gen::array<int64_t> m_positions{gen::unallocated()};
};

// What follows for every stream from its reading, writing and positions: numbers of several bytes in its byte order,
// and places counted from elsewhere than its start (ordered_stream.cpp).
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
