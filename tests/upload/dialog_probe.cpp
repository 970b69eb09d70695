// Says what the report dialog of another process on the same desktop shows: the text of the upload's control 19001 as
// hex in the ANSI code page, then for the buttons 1 and 2 whether each takes clicks. With an argument instead the texts
// of all controls, each as a line of hex of its UTF-16. Sends the dialog no message, which might be busy. With the
// argument "bar" the place of the progress bar in thousandths, or "none", by a message.
#include <windows.h>
#include <commctrl.h>
#include <stdio.h>
#include <string.h>

namespace {

void print_all_texts(HWND dialog) {
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
        wchar_t text[1024] = L"";
        GetWindowTextW(control, text, 1024);
        for (const wchar_t* at = text; *at; ++at)
            printf("%04x", static_cast<unsigned>(*at));
        puts("");
    }
}

} // namespace

int main(int count, char** arguments) {
    const HWND dialog = FindWindowA("#32770", "Software Error Report");
    if (!dialog) {
        puts("none");
        return 0;
    }
    if (count > 1 && strcmp(arguments[1], "bar") == 0) {
        const HWND bar = GetDlgItem(dialog, 19002);
        DWORD_PTR place = 0;
        if (bar && SendMessageTimeoutA(bar, PBM_GETPOS, 0, 0, SMTO_ABORTIFHUNG, 10000, &place))
            printf("%u\n", static_cast<unsigned>(place));
        else
            puts("none");
        return 0;
    }
    if (count > 1) {
        print_all_texts(dialog);
        return 0;
    }
    char text[1024] = "";
    GetWindowTextA(GetDlgItem(dialog, 19001), text, sizeof text);
    for (const char* at = text; *at; ++at)
        printf("%02x", static_cast<unsigned char>(*at));
    printf(" %d %d\n", IsWindowEnabled(GetDlgItem(dialog, IDOK)), IsWindowEnabled(GetDlgItem(dialog, IDCANCEL)));
    return 0;
}
