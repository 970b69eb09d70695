// Puts a dialog in front of the windows that a host has left on the screen.
#pragma once

#include <windows.h>

namespace report {

// Where a topmost or full-screen window of this process would hide the dialog, the dialog becomes topmost as well; else
// it comes to the front and other programs' windows may cover it later. Size and place stay. Sends the host's windows
// nothing but what a change of activation does.
void bring_to_front(HWND dialog);

} // namespace report
