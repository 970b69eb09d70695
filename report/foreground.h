// Clears the way to a dialog from what a host has left behind. These functions stay apart from their caller, which has
// something to put back after each fault: calls are dear there.
#pragma once

#include <windows.h>

namespace report {

// Where a topmost or full-screen window of this process would hide the dialog, the dialog becomes topmost as well; else
// it comes to the front and other programs' windows may cover it later. Size and place stay. Sends the host's windows
// nothing but what a change of activation does.
__attribute__((noinline)) void bring_to_front(HWND dialog);

// Gives the user the pointer, which the host may have captured, confined or hidden. Returns by how much its show count
// was raised.
__attribute__((noinline)) int free_pointer();

} // namespace report
