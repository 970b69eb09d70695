// A file that is read for the upload.
#pragma once

#include <stdint.h>

// Closed at its end. Others may go on writing the file meanwhile. Takes nothing from the runtime's heap.
class UploadFile {
public:
    UploadFile() = default;
    ~UploadFile();

    UploadFile(const UploadFile&) = delete;
    UploadFile& operator=(const UploadFile&) = delete;

    // Once. False for a file that isn't there or can't be opened (a folder, say).
    bool Open(const char* path);
    bool IsOpen() const { return m_handle != kNone; }
    // Bytes; negative where there is no telling (a pipe).
    int64_t Length() const;
    // How many bytes were read, at most so many; 0 at the end and on failure.
    unsigned Read(char* to, unsigned capacity) const;

private:
    static constexpr intptr_t kNone = -1;

    intptr_t m_handle = kNone; // the system's
};
