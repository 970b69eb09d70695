// Controls that the upload dialog's template doesn't have, and the space that its text leaves for them. Places are in
// dialog units.
#pragma once

#include <windows.h>

namespace report {

// The dialog's text as the template places it.
constexpr RECT kUploadText = {86, 47, 86 + 203, 47 + 96};

// Makes a visible control with the dialog's font. Null where the system can't.
HWND add_control(HWND dialog, const char* window_class, const char* text, DWORD style, int id, RECT place);

// Lets the dialog's text end there.
void end_text_at(HWND dialog, LONG bottom);

} // namespace report
