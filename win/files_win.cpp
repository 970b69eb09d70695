// A file is reached by one call of the system for each step, none of which takes memory of the process.
#include "win/files.h"

#include "win/handle.h"

namespace win {

bool write_whole_file(const char* path, const void* data, size_t size) {
    FileHandle file(CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    // What the disk has no space for may only come out when the file is closed.
    return file && write_all(file.get(), data, size) && CloseHandle(file.release());
}

bool write_all(HANDLE file, const void* data, size_t size) {
    DWORD written = 0;
    return WriteFile(file, data, static_cast<DWORD>(size), &written, nullptr) && written == size;
}

Claim claim_file(const char* path) {
    const FileHandle file(CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file)
        return Claim::kMade;
    return GetLastError() == ERROR_FILE_EXISTS ? Claim::kTaken : Claim::kFailed;
}

int64_t file_size(HANDLE file) {
    ULARGE_INTEGER size;
    SetLastError(NO_ERROR);
    size.LowPart = GetFileSize(file, &size.HighPart);
    // All ones can also be the lower half of a size: only the last error tells.
    if (size.LowPart == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
        return -1;
    return static_cast<int64_t>(size.QuadPart);
}

} // namespace win
