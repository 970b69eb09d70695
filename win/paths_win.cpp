// Whether the code page lacks a letter is found by converting: a path in which no character is replaced needs no short
// form.
#include "win/paths.h"

#include <string.h>

#include "base/split_path.h"

namespace win {

namespace {

// The path in the ANSI code page with its terminator; 0 if it doesn't fit or has letters that the code page lacks.
int exact_ansi(const wchar_t* path, char* buffer, int size) {
    BOOL replaced = FALSE;
    const int length = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, path, -1, buffer, size, nullptr, &replaced);
    return replaced ? 0 : length;
}

// The short form of a path, where it has letters that the code page lacks: its length, with the form and its terminator
// in the buffer. 0, and the buffer as it was, where the path needs no other form, or has none that fits.
DWORD short_form(const wchar_t* path, char* buffer, DWORD size) {
    char ansi[3 * MAX_PATH];
    if (exact_ansi(path, ansi, sizeof ansi))
        return 0;
    wchar_t short_path[MAX_PATH + 1];
    const DWORD short_length = GetShortPathNameW(path, short_path, MAX_PATH + 1);
    if (short_length == 0 || short_length > MAX_PATH || !exact_ansi(short_path, ansi, sizeof ansi))
        return 0;
    const DWORD length = static_cast<DWORD>(strlen(ansi));
    if (length >= size)
        return 0;
    memcpy(buffer, ansi, length + 1);
    return length;
}

} // namespace

DWORD module_path(HMODULE module, char* buffer, DWORD size) {
    const DWORD length = GetModuleFileNameA(module, buffer, size);
    wchar_t path[MAX_PATH + 1];
    const DWORD wide_length = GetModuleFileNameW(module, path, MAX_PATH + 1);
    const DWORD short_length = wide_length && wide_length <= MAX_PATH ? short_form(path, buffer, size) : 0;
    if (short_length)
        return short_length;
    buffer[length < size ? length : size - 1] = '\0'; // some systems cut a path without
    return length < size ? length : size - 1;
}

DWORD temporary_folder(char* buffer, DWORD size) {
    const DWORD length = GetTempPathA(size, buffer);
    wchar_t name[MAX_PATH + 1];
    const DWORD wide_length = GetTempPathW(MAX_PATH + 1, name);
    if (length == 0 || length >= size || wide_length == 0 || wide_length > MAX_PATH)
        return length;
    const DWORD short_length = short_form(name, buffer, size);
    return short_length ? short_length : length;
}

CStdString temporary_path(const char* name) {
    constexpr DWORD kSize = 1024; // characters that the folder's name may have
    CStdString folder;
    temporary_folder(folder.get_buffer(kSize), kSize);
    folder.release_buffer();
    return gen::path_in_folder(folder.c_str(), name);
}

} // namespace win
