// The handle is kept as a number, so that the header, which builds natively too, needs no windows.h.
#include "net/upload_file.h"

#include "win/files.h"
#include "win/handle.h"

namespace {

HANDLE system_handle(intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

UploadFile::~UploadFile() {
    if (IsOpen())
        win::nothrow(CloseHandle)(system_handle(m_handle));
}

bool UploadFile::Open(const char* path) {
    m_handle = reinterpret_cast<intptr_t>(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return IsOpen();
}

int64_t UploadFile::Length() const {
    return win::file_size(system_handle(m_handle));
}

unsigned UploadFile::Read(char* to, unsigned capacity) const {
    DWORD got = 0;
    return ReadFile(system_handle(m_handle), to, capacity, &got, nullptr) ? got : 0;
}
