// Looks at the desktop as its user does: says which windows there are, and presses buttons.
// One command a line on standard input:
//
//   look             a line for each window with a caption, then "."
//                    HANDLE CAPTION TEXT FIRST SECOND: caption and text in hex (the ANSI code page; "-" if empty), and
//                    whether the buttons 1 and 2 take clicks. TEXT is that of the control 19001 or of a message box.
//   press HANDLE ID  presses a button; answers "done"
//
// Sends no window a message that it would have to answer, since the program behind it may be busy or broken.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "testing/cxx/command_line.h"

namespace {

void print_hex(const char* text) {
    putchar(' ');
    if (!*text)
        putchar('-');
    for (; *text; ++text)
        printf("%02x", static_cast<unsigned char>(*text));
}

void print_text(HWND window) {
    char text[2048] = "";
    GetWindowTextA(window, text, sizeof text);
    print_hex(text);
}

BOOL CALLBACK show(HWND window, LPARAM) {
    constexpr int kUploadText = 19001;
    constexpr int kMessageBoxText = 0xFFFF;
    if (!IsWindowVisible(window) || !GetWindowTextLengthA(window))
        return TRUE;
    printf("%lu", static_cast<unsigned long>(reinterpret_cast<uintptr_t>(window)));
    print_text(window);
    HWND const report = GetDlgItem(window, kUploadText);
    print_text(report ? report : GetDlgItem(window, kMessageBoxText));
    printf(" %d %d\n", IsWindowEnabled(GetDlgItem(window, IDOK)), IsWindowEnabled(GetDlgItem(window, IDCANCEL)));
    return TRUE;
}

bool obey(char* line) {
    char* const rest = rest_of(line);
    if (strcmp(line, "look") == 0) {
        EnumWindows(show, 0);
        puts(".");
    } else if (strcmp(line, "press") == 0) {
        char* const button = rest_of(rest);
        PostMessageA(reinterpret_cast<HWND>(strtoul(rest, nullptr, 10)), WM_COMMAND,
                     MAKEWPARAM(atoi(button), BN_CLICKED), 0);
        puts("done");
    } else {
        return false;
    }
    return true;
}

} // namespace

int main() {
    return obey_commands(obey);
}
