// Paths in the ANSI code page, by which the ANSI functions find what has letters beyond it.
#pragma once

#include <windows.h>

namespace win {

// The short form of a path, where it has letters that the ANSI code page lacks: its length, with the form and its
// terminator in the buffer of size bytes. 0, and the buffer as it was, where the path needs no other form, or has none
// that fits.
DWORD short_form(const wchar_t* path, char* buffer, DWORD size);

// As GetModuleFileNameA, with a terminator in any case: puts the path of the module's file (null: the program) into the
// buffer of size bytes and returns its length, 0 on failure. A path with letters that the code page lacks comes in its
// short form, as far as there is one.
DWORD module_path(HMODULE module, char* buffer, DWORD size);

} // namespace win
