// The error mode is the whole process's, so it is put back right after the load. What another thread sets meanwhile is
// lost.
#include "win/library.h"

#include <string.h>

namespace win {

namespace {

// The result of load() with the system's boxes switched off.
template <class Load>
HMODULE quietly(Load load) {
    const UINT quiet = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;
    const UINT mode = SetErrorMode(quiet);
    SetErrorMode(mode | quiet);
    HMODULE const module = load();
    SetErrorMode(mode);
    return module;
}

} // namespace

HMODULE load_quietly(const char* path, DWORD flags) {
    return quietly([&] { return LoadLibraryExA(path, nullptr, flags); });
}

HMODULE load_quietly(const wchar_t* path) {
    return quietly([&] { return LoadLibraryExW(path, nullptr, 0); });
}

HMODULE load_system_library(const char* file_name) {
    char path[MAX_PATH];
    const size_t name_size = strlen(file_name) + 1;
    const UINT length = GetSystemDirectoryA(path, MAX_PATH);
    if (length == 0 || length + 1 + name_size > MAX_PATH)
        return nullptr;
    path[length] = '\\';
    memcpy(path + length + 1, file_name, name_size);
    return LoadLibraryA(path);
}

void keep_loaded(const void* address) {
    HMODULE module;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       static_cast<const char*>(address), &module);
}

} // namespace win
