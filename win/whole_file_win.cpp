#include "win/whole_file.h"

#include "win/handle.h"

namespace win {

bool write_whole_file(const char* path, const void* data, size_t size) {
    FileHandle file(CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file || !WriteFile(file.get(), data, static_cast<DWORD>(size), &written, nullptr) || written != size)
        return false;
    return CloseHandle(file.release());
}

} // namespace win
