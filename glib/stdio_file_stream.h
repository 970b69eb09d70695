// A stream over a file of the C runtime. Files beyond 4 GB are fine.
#pragma once

#include <stdio.h>

#include "glib/stream.h"

// Before a file is open, and after Close, every operation fails. Reads and writes may follow each other freely: the
// stream repositions between them, which the runtime demands. Use binary modes ("rb", "wb", "r+b"): sizes and
// positions are those of the bytes in the file.
class VStdioFileStream : public VOrderedStream {
public:
    VStdioFileStream() = default;
    ~VStdioFileStream() override; // closes the file

    // Closes what was open first. Null arguments and files that can't be opened: 0.
    unsigned OpenWide(const wchar_t* path, const wchar_t* mode) override;
    unsigned Open(const char* path, const char* mode) override;
    unsigned IsEndOfData() override;
    unsigned HasError() override; // until the next open
    uint64_t Tell() override;
    unsigned SetPosition(uint64_t position) override;
    uint64_t Size() override; // flushes first, so that bytes just written count
    int64_t ModificationTime() override;
    unsigned SetSize(uint64_t size) override; // the position stays
    uint8_t ReadByte() override;
    uint32_t Read(void* buffer, uint32_t size, uint32_t count) override;
    char* ReadLine(char* buffer, uint32_t length) override;
    unsigned WriteByte(uint8_t value) override;
    uint32_t Write(const void* buffer, uint32_t size, uint32_t count) override;
    unsigned WriteString(const char* text) override;
    unsigned WriteFormat(const char* format, ...) override; // of any length
    unsigned Flush() override;                              // the position stays
    unsigned Close() override; // 1, or 0 when the last bytes could not be written or nothing was open

private:
    enum class Last { neither, read, write };

    bool begin(Last operation);
    unsigned adopt(FILE* file);

    FILE* m_file = nullptr;
    char* m_buffer = nullptr; // of the file; the runtime would take one from its own heap, which may be damaged
    Last m_last = Last::neither;
    bool m_failed = false; // there was an error before the last seek
};
