// Whether the host's windows hide the dialog is asked of the system, never of a window by a message: after a fault the
// thread behind it may not answer any more.
#include "report/report_dialog.h"

#include "report/dialog_layout.h"

namespace report {

namespace {

struct Search {
    HWND dialog;
    RECT place;
    RECT screen;
    bool hidden;
};

bool fills_screen(const WINDOWINFO& window, const RECT& screen) {
    // A maximised window may reach beyond the screen's borders with its frame, and is no full-screen window by that.
    constexpr DWORD kMaximised = WS_MAXIMIZE | WS_CAPTION;
    return covers(window.rcWindow, screen) && (window.dwStyle & kMaximised) != kMaximised;
}

BOOL CALLBACK look_at(HWND window, LPARAM context) {
    auto& search = *reinterpret_cast<Search*>(context);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    WINDOWINFO info = {};
    info.cbSize = sizeof(info);
    if (window == search.dialog || process != GetCurrentProcessId() || !GetWindowInfo(window, &info) ||
        !(info.dwStyle & WS_VISIBLE))
        return TRUE;
    search.hidden =
        fills_screen(info, search.screen) || ((info.dwExStyle & WS_EX_TOPMOST) && overlap(info.rcWindow, search.place));
    return !search.hidden;
}

bool host_hides(HWND dialog) {
    Search search = {dialog, {}, {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}, false};
    GetWindowRect(dialog, &search.place);
    EnumWindows(look_at, reinterpret_cast<LPARAM>(&search));
    return search.hidden;
}

} // namespace

void bring_to_front(HWND dialog) {
    SetWindowPos(dialog, host_hides(dialog) ? HWND_TOPMOST : HWND_TOP, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

int free_pointer() {
    EndMenu(); // an open menu lets nobody else release the capture
    ReleaseCapture();
    ClipCursor(nullptr);
    int raised = 0;
    do
        ++raised;
    while (ShowCursor(TRUE) < 0);
    return raised;
}

} // namespace report
