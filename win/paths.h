// Paths in the ANSI code page, by which the ANSI functions find what has letters beyond it.
#pragma once

#include <windows.h>

#include "base/std_string.h"

namespace win {

// As GetModuleFileNameA, with a terminator in any case: puts the path of the module's file (null: the program) into the
// buffer of size bytes and returns its length, 0 on failure. A path with letters that the code page lacks comes in its
// short form, as far as there is one.
DWORD module_path(HMODULE module, char* buffer, DWORD size);

// As GetTempPathA: puts the name of the folder of temporary files into the buffer of size bytes and returns its length,
// 0 or more than fits on failure. A name with letters that the code page lacks comes in its short form likewise.
DWORD temporary_folder(char* buffer, DWORD size);

// The path of a file of that name in there. Throws gen::genlib_out_of_memory.
CStdString temporary_path(const char* name);

} // namespace win
