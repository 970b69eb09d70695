// A host with a window that is in the way of the dialog, and faults in it at what its user does.
//
// usage: window_host [WORD]... [at X Y WIDTH HEIGHT] [colour RRGGBB]
//   topmost, full-screen     how the window stands
//   drag, key, click, menu   faults while the window is dragged over with the capture held, at a key, at a click, while
//                            the choice of its open menu is drawn under the pointer; without any of these it never does
//   confined, no-pointer     keeps the pointer in a corner of the screen, and hides it, before it faults
// Prints a line for each thing that happens, and ends after its e-mail report.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/faults.h"

namespace {

char** words;
int word_count;

// The place of the word among the arguments, 0 for none.
int place_of(const char* word) {
    for (int i = 1; i < word_count; ++i)
        if (strcmp(words[i], word) == 0)
            return i;
    return 0;
}

bool wanted(const char* word) {
    return place_of(word) != 0;
}

void say(const char* format, int number = 0) {
    printf(format, number);
    fflush(stdout);
}

void report(const char* marker) {
    OpenCrushReport(marker);
    say("reported\n");
    ShowCursor(TRUE);
    say("pointer's show count %d\n", ShowCursor(FALSE));
}

// Window procedures catch their faults themselves: exceptions don't find their way through the system.
void fail() {
    static bool failed;
    if (failed)
        return;
    failed = true;
    if (wanted("confined")) {
        const RECT corner = {0, 0, 40, 40};
        ClipCursor(&corner);
    }
    if (wanted("no-pointer"))
        while (ShowCursor(FALSE) > -3) {
        }
    try {
        commit_fault("write");
    } catch (char* marker) {
        report(marker);
    }
    PostQuitMessage(0);
}

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wide, LPARAM narrow) {
    switch (message) {
    case WM_LBUTTONDOWN:
        if (wanted("click"))
            fail();
        SetCapture(window);
        return 0;
    case WM_MOUSEMOVE:
        if (wanted("drag") && GetCapture() == window)
            fail();
        return 0;
    case WM_KEYDOWN:
        if (wanted("key"))
            fail();
        return 0;
    case WM_MEASUREITEM:
        reinterpret_cast<MEASUREITEMSTRUCT*>(narrow)->itemWidth = 100;
        reinterpret_cast<MEASUREITEMSTRUCT*>(narrow)->itemHeight = 20;
        return TRUE;
    case WM_DRAWITEM:
        if (reinterpret_cast<DRAWITEMSTRUCT*>(narrow)->itemState & ODS_SELECTED)
            fail();
        return TRUE;
    case WM_CLOSE:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(window, message, wide, narrow);
}

HMENU make_menu() {
    HMENU const choices = CreatePopupMenu();
    AppendMenuA(choices, MF_OWNERDRAW, 1, nullptr);
    HMENU const bar = CreateMenu();
    AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(choices), "Menu");
    return bar;
}

void show_window() {
    RECT place = {100, 100, 300, 200};
    if (const int at = place_of("at"))
        place = {atoi(words[at + 1]), atoi(words[at + 2]), atoi(words[at + 3]), atoi(words[at + 4])};
    if (wanted("full-screen"))
        place = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    const int colour = place_of("colour");
    const unsigned long rgb = colour ? strtoul(words[colour + 1], nullptr, 16) : 0xFF00FF;
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = procedure;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
    window_class.hbrBackground = CreateSolidBrush(RGB(rgb >> 16, rgb >> 8 & 0xFF, rgb & 0xFF));
    window_class.lpszClassName = "WindowHost";
    RegisterClassA(&window_class);
    const DWORD style = wanted("full-screen") ? WS_POPUP : WS_OVERLAPPEDWINDOW;
    HWND const window = CreateWindowExA(wanted("topmost") ? WS_EX_TOPMOST : 0, "WindowHost", "Host window", style,
                                        place.left, place.top, place.right, place.bottom, nullptr,
                                        wanted("menu") ? make_menu() : nullptr, window_class.hInstance, nullptr);
    ShowWindow(window, SW_SHOWNORMAL);
    UpdateWindow(window);
}

} // namespace

int main(int argc, char** argv) {
    words = argv;
    word_count = argc;
    InitCrushReport();
    show_window();
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    say("end\n");
    return 0;
}
