// Opens the e-mail dialog while another thread does something to it; prints the dialog's answer.
//
// usage: loop_host quit | waiting-quit [upload] | quit-both | sent-command | nested | destroyed | refused | flood
//   quit          the other thread tells the program to quit: the dialog answers 0, and the order arrives afterwards
//   waiting-quit  the program has been told to quit before the dialog comes: button 1 is pressed, and the order arrives
//                 afterwards; the dialog of the upload road has its button 2 pressed
//   quit-both     it has been told before, and is told again: the later order ends the dialog and arrives
//   sent-command  the other thread presses button 1 by a sent message, which no queue sees
//   nested        a second dialog opens and closes within the first one's loop, as when a window procedure of the host
//                 faults and reports that; then button 1 of the first is pressed
//   destroyed     somebody else's code in the dialog's thread takes the window away
//   refused       no window can be made; then one can, and button 1 is pressed
//   flood         messages for another window of the host wait in the queue all the time; a person answers the dialog
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/import_slot.h"
#include "testing/cxx/report_window.h"

namespace {

HWND other_window;

HCURSOR cursor_of(LPCSTR name) {
    return LoadCursorA(nullptr, name);
}

// The cursors that the library sets.
decltype(SetCursor)* set_cursor;
int cursors_set;
bool arrow_first;

HCURSOR WINAPI record_cursor(HCURSOR cursor) {
    if (cursors_set++ == 0)
        arrow_first = cursor == cursor_of(IDC_ARROW);
    return set_cursor(cursor);
}

enum Order { quit = WM_APP, report, destroy };

LRESULT CALLBACK other_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == Order::quit)
        PostQuitMessage(7);
    if (message == Order::destroy)
        DestroyWindow(reinterpret_cast<HWND>(wparam));
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
    wait_for_report_window();
    SendMessageA(other_window, Order::quit, 0, 0);
    return 0;
}

// Button 1, or 2 where another is wanted.
DWORD WINAPI send_command(void* other) {
    HWND const dialog = wait_for_report_window();
    // A dialog at rest, to whose queue no message comes by itself any more; the outcome must not depend on it.
    for (int i = 0; i < 40; ++i) {
        SendMessageA(dialog, WM_NULL, 0, 0);
        Sleep(25);
    }
    press_button_of(dialog, other ? 2 : 1);
    return 0;
}

DWORD WINAPI nest(void*) {
    HWND const dialog = wait_for_report_window();
    CloseHandle(CreateThread(nullptr, 0, decline_second_report, dialog, 0, nullptr));
    SendMessageA(other_window, Order::report, 0, 0);
    press_button_of(dialog, 1);
    return 0;
}

DWORD WINAPI destroy_window(void*) {
    SendMessageA(other_window, Order::destroy, reinterpret_cast<WPARAM>(wait_for_report_window()), 0);
    return 0;
}

LRESULT CALLBACK refuse_windows(int code, WPARAM window, LPARAM details) {
    return code == HCBT_CREATEWND ? 1 : CallNextHookEx(nullptr, code, window, details);
}

void flood() {
    for (int i = 0; i < 100; ++i)
        PostMessageA(other_window, WM_USER, i, 0);
}

void start(LPTHREAD_START_ROUTINE routine, void* context = nullptr) {
    CloseHandle(CreateThread(nullptr, 0, routine, context, 0, nullptr));
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
    const bool upload = argc > 2 && strcmp(argv[2], "upload") == 0;
    const bool waits = strcmp(mode, "waiting-quit") == 0 || strcmp(mode, "quit-both") == 0;
    MSG message;
    HHOOK hook = nullptr;
    make_other_window();
    if (strcmp(mode, "quit") == 0)
        start(tell_to_quit);
    else if (strcmp(mode, "waiting-quit") == 0)
        start(send_command, upload ? other_window : nullptr);
    else if (strcmp(mode, "quit-both") == 0)
        start(tell_to_quit);
    else if (strcmp(mode, "sent-command") == 0)
        start(send_command);
    else if (strcmp(mode, "nested") == 0)
        start(nest);
    else if (strcmp(mode, "destroyed") == 0)
        start(destroy_window);
    else if (strcmp(mode, "refused") == 0)
        hook = SetWindowsHookExA(WH_CBT, refuse_windows, nullptr, GetCurrentThreadId());
    else if (strcmp(mode, "flood") == 0)
        flood();
    else
        return 2;
    HCURSOR const before = cursor_of(IDC_CROSS);
    SetCursor(before);
    set_cursor = replace_import(GetModuleHandleA("Wendax.dll"), "user32.dll", "SetCursor", record_cursor);
    CCrashReport report(nullptr);
    if (waits)
        PostQuitMessage(5);
    printf("answer %u\n", upload ? CCrashReport2(nullptr).OpenDlg() : report.OpenDlg());
    if (strcmp(mode, "sent-command") == 0)
        printf("the first of %d cursors was %s\n", cursors_set, arrow_first ? "the arrow" : "another");
    printf("cursor %s\n", GetCursor() == before ? "restored" : "changed");
    if (hook) {
        UnhookWindowsHookEx(hook);
        start(send_command);
        printf("then answer %u\n", report.OpenDlg());
    }
    if (waits || strcmp(mode, "quit") == 0) {
        const BOOL more = GetMessageA(&message, nullptr, 0, 0);
        printf("then %s with %d\n", more ? "a message" : "quit", static_cast<int>(message.wParam));
    }
    if (strcmp(mode, "flood") == 0)
        printf("kept %d\n", messages_waiting());
    return 0;
}
