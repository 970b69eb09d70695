// Opens the e-mail dialog while another thread does something to it; prints the dialog's answer.
//
// usage: loop_host quit | sent-command | nested | flood
//   quit          the other thread tells the program to quit: the dialog answers 0, and the order arrives afterwards
//   sent-command  the other thread presses button 1 by a sent message, which no queue sees
//   nested        a second dialog opens and closes within the first one's loop, as when a window procedure of the host
//                 faults and reports that; then button 1 of the first is pressed
//   flood         messages for another window of the host wait in the queue all the time; a person answers the dialog
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"

namespace {

HWND other_window;

// The dialog on the screen that is not the one named.
HWND wait_for_dialog(HWND but = nullptr) {
    for (;;) {
        HWND dialog = nullptr;
        while ((dialog = FindWindowExA(nullptr, dialog, nullptr, "Software Error Report")))
            if (dialog != but && IsWindowVisible(dialog))
                return dialog;
        Sleep(10);
    }
}

enum Order { quit = WM_APP, report };

LRESULT CALLBACK other_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == Order::quit)
        PostQuitMessage(7);
    if (message == Order::report)
        printf("inner answer %u\n", CCrashReport(nullptr).OpenDlg());
    return DefWindowProcA(window, message, wparam, lparam);
}

void make_other_window() {
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = other_procedure;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "Other";
    RegisterClassA(&window_class);
    other_window = CreateWindowA("Other", "Other", 0, 0, 0, 10, 10, nullptr, nullptr, window_class.hInstance, nullptr);
}

DWORD WINAPI tell_to_quit(void*) {
    wait_for_dialog();
    SendMessageA(other_window, Order::quit, 0, 0);
    return 0;
}

DWORD WINAPI press_inner(void* outer) {
    SendMessageA(wait_for_dialog(static_cast<HWND>(outer)), WM_COMMAND, MAKEWPARAM(2, BN_CLICKED), 0);
    return 0;
}

DWORD WINAPI send_command(void*) {
    HWND const dialog = wait_for_dialog();
    // A dialog at rest, to whose queue no message comes by itself any more; the outcome must not depend on it.
    for (int i = 0; i < 40; ++i) {
        SendMessageA(dialog, WM_NULL, 0, 0);
        Sleep(25);
    }
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(1, BN_CLICKED), 0);
    return 0;
}

DWORD WINAPI nest(void*) {
    HWND const dialog = wait_for_dialog();
    CloseHandle(CreateThread(nullptr, 0, press_inner, dialog, 0, nullptr));
    SendMessageA(other_window, Order::report, 0, 0);
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(1, BN_CLICKED), 0);
    return 0;
}

void flood() {
    for (int i = 0; i < 100; ++i)
        PostMessageA(other_window, WM_USER, i, 0);
}

void start(LPTHREAD_START_ROUTINE routine) {
    CloseHandle(CreateThread(nullptr, 0, routine, nullptr, 0, nullptr));
}

int messages_waiting() {
    MSG message;
    int count = 0;
    while (PeekMessageA(&message, other_window, WM_USER, WM_USER, PM_REMOVE))
        ++count;
    return count;
}

} // namespace

int main(int argc, char** argv) {
    const char* const mode = argc > 1 ? argv[1] : "";
    MSG message;
    make_other_window();
    if (strcmp(mode, "quit") == 0)
        start(tell_to_quit);
    else if (strcmp(mode, "sent-command") == 0)
        start(send_command);
    else if (strcmp(mode, "nested") == 0)
        start(nest);
    else if (strcmp(mode, "flood") == 0)
        flood();
    else
        return 2;
    HCURSOR const before = GetCursor();
    CCrashReport report(nullptr);
    printf("answer %u\n", report.OpenDlg());
    printf("cursor %s\n", GetCursor() == before ? "restored" : "changed");
    if (strcmp(mode, "quit") == 0) {
        const BOOL more = GetMessageA(&message, nullptr, 0, 0);
        printf("then %s with %d\n", more ? "a message" : "quit", static_cast<int>(message.wParam));
    }
    if (strcmp(mode, "flood") == 0)
        printf("kept %d\n", messages_waiting());
    return 0;
}
