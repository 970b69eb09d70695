#include "win/library.h"

#include "base/std_string.h"

namespace win {

HMODULE load_system_library(const char* file_name) {
    CStdString path;
    const UINT length = GetSystemDirectoryA(path.get_buffer(MAX_PATH), MAX_PATH + 1);
    if (length == 0 || length > MAX_PATH)
        return nullptr;
    path.release_buffer();
    path += "\\";
    path += file_name;
    return LoadLibraryA(path.c_str());
}

} // namespace win
