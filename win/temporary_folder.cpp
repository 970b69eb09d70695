#include "win/temporary_folder.h"

#include <string.h>
#include <windows.h>

namespace win {

namespace {

// The name in the ANSI code page with its terminator; 0 if it doesn't fit or has letters that the code page lacks.
int to_ansi(const wchar_t* name, char* buffer, unsigned long size) {
    BOOL replaced = FALSE;
    const int length =
        WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, name, -1, buffer, static_cast<int>(size), nullptr, &replaced);
    return replaced ? 0 : length;
}

} // namespace

unsigned long temporary_folder(char* buffer, unsigned long size) {
    const DWORD length = GetTempPathA(size, buffer);
    wchar_t name[MAX_PATH + 1];
    const DWORD wide_length = GetTempPathW(MAX_PATH + 1, name);
    if (length == 0 || length >= size || wide_length == 0 || wide_length > MAX_PATH)
        return length;
    char ansi[3 * MAX_PATH];
    if (to_ansi(name, ansi, sizeof ansi))
        return length;
    wchar_t short_name[MAX_PATH + 1];
    const DWORD short_length = GetShortPathNameW(name, short_name, MAX_PATH + 1);
    if (short_length == 0 || short_length > MAX_PATH || !to_ansi(short_name, ansi, sizeof ansi))
        return length;
    const size_t ansi_length = strlen(ansi);
    if (ansi_length >= size)
        return length;
    memcpy(buffer, ansi, ansi_length + 1);
    return ansi_length;
}

} // namespace win
