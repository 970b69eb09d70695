// What a dialog shows of the program, in place of what its template has.
#pragma once

#include <windows.h>

#include "report/destinations.h"

namespace report {

// For WM_INITDIALOG. Where the record names product or company, the dialog's texts do. Anything that fails leaves a
// text as it is.
void name_program(HWND dialog, const Destinations& record);

// The bitmap of the host's module takes the place of the dialog's, where the host has one. Returns it, to be deleted
// once the dialog is gone, or null.
HBITMAP show_own_banner(HWND dialog, HINSTANCE host);

} // namespace report
