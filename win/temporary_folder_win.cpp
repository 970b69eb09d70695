#include "win/temporary_folder.h"

#include "base/split_path.h"
#include "win/ansi_path.h"

namespace win {

unsigned long temporary_folder(char* buffer, unsigned long size) {
    const DWORD length = GetTempPathA(size, buffer);
    wchar_t name[MAX_PATH + 1];
    const DWORD wide_length = GetTempPathW(MAX_PATH + 1, name);
    if (length == 0 || length >= size || wide_length == 0 || wide_length > MAX_PATH)
        return length;
    const DWORD short_length = short_form(name, buffer, size);
    return short_length ? short_length : length;
}

CStdString temporary_path(const char* name) {
    constexpr unsigned long kSize = 1024; // characters that the folder's name may have
    CStdString folder;
    temporary_folder(folder.get_buffer(kSize), kSize);
    folder.release_buffer();
    return gen::path_in_folder(folder.c_str(), name);
}

} // namespace win
