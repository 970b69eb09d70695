// Clears the way to a dialog from what a host has left behind.
#pragma once

#include <windows.h>

namespace report {

// Where a topmost or full-screen window of this process would hide the dialog, the dialog becomes topmost as well; else
// it comes to the front and other programs' windows may cover it later. Size and place stay. To be called before the
// dialog is shown: a window manager may put one that becomes topmost later behind those that are.
void bring_to_front(HWND dialog);

// Gives the user the pointer, which the host may have captured, confined or hidden. Returns by how much its show count
// was raised. Stays apart from its caller, which has something to put back after a fault: calls are dear there.
__attribute__((noinline)) int free_pointer();

} // namespace report
