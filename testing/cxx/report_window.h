// The window of a report's dialog, for hosts that answer it themselves from another thread.
#pragma once

#include <windows.h>

// Waits until one is on the screen that is not the one named.
inline HWND wait_for_report_window(HWND but = nullptr) {
    for (;;) {
        HWND dialog = nullptr;
        while ((dialog = FindWindowExA(nullptr, dialog, nullptr, "Software Error Report")))
            if (dialog != but && IsWindowVisible(dialog))
                return dialog;
        Sleep(5);
    }
}

// Presses a button by a sent message, which no queue sees.
inline void press_button_of(HWND dialog, int button) {
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), 0);
}

// For a thread: declines the dialog that comes beside `first`.
inline DWORD WINAPI decline_second_report(void* first) {
    press_button_of(wait_for_report_window(static_cast<HWND>(first)), 2);
    return 0;
}
