// Says what the upload dialog of another process on the same desktop shows: the text of control 19001 as hex in the
// ANSI code page, then for the buttons 1 and 2 whether each takes clicks. Sends the dialog no message, which might be
// busy.
#include <windows.h>
#include <stdio.h>

int main() {
    const HWND dialog = FindWindowA("#32770", "Software Error Report");
    if (!dialog) {
        puts("none");
        return 0;
    }
    char text[1024] = "";
    GetWindowTextA(GetDlgItem(dialog, 19001), text, sizeof text);
    for (const char* at = text; *at; ++at)
        printf("%02x", static_cast<unsigned char>(*at));
    printf(" %d %d\n", IsWindowEnabled(GetDlgItem(dialog, IDOK)), IsWindowEnabled(GetDlgItem(dialog, IDCANCEL)));
    return 0;
}
