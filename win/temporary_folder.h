// The folder of temporary files.
#pragma once

#include "base/std_string.h"

namespace win {

// As GetTempPathA: puts the folder's name into the buffer of size bytes and returns its length, 0 or more than fits on
// failure. A name with letters that the ANSI code page lacks comes in its short form, as far as the folder has one: in
// the other form no ANSI function finds it.
unsigned long temporary_folder(char* buffer, unsigned long size);

// The path of a file of that name in there. Throws gen::genlib_out_of_memory.
CStdString temporary_path(const char* name);

} // namespace win
