// Texts are changed as Unicode: whatever code page the user has, no letter of theirs gets lost. The company's are those
// of Windows-1251, as in the message.
#include "report/report_dialog.h"

#include "report/destinations.h"
#include "report/report_texts.h"
#include "resources/ids.h"

namespace report {

namespace {

constexpr UINT kNamesCodePage = 1251;
constexpr int kNameSize = 64;

// Empty where the record has no such name.
template <unsigned kSize>
void read_name(const char (&field)[kSize], wchar_t (&name)[kNameSize]) {
    if (!MultiByteToWideChar(kNamesCodePage, 0, record_name(field, kSize, ""), -1, name, kNameSize))
        name[0] = 0;
}

// To a text in a single line, below which there is space for another.
void give_second_line(HWND control, int width, int height) {
    if (width > 10 * height)
        SetWindowPos(control, nullptr, 0, 0, width, 2 * height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

} // namespace

void name_program(HWND dialog, const Destinations& record) {
    if (!record.product[0] && !record.company[0])
        return;
    wchar_t product[kNameSize], company[kNameSize];
    read_name(record.product, product);
    read_name(record.company, company);
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
        wchar_t text[512];
        GetWindowTextW(control, text, 512);
        const bool changed = product[0] && replace_word(text, 512, L"The program", product);
        if ((!company[0] || !replace_word(text, 512, L"Torvex", company)) && !changed)
            continue;
        SetWindowTextW(control, text);
        RECT place;
        if (GetWindowRect(control, &place))
            give_second_line(control, place.right - place.left, place.bottom - place.top);
    }
}

HBITMAP show_own_banner(HWND dialog, HINSTANCE host) {
    HBITMAP const banner = LoadBitmapA(host, MAKEINTRESOURCEA(IDB_BANNER));
    for (HWND control = GetWindow(dialog, GW_CHILD); banner && control; control = GetWindow(control, GW_HWNDNEXT)) {
        if (SendMessageA(control, STM_GETIMAGE, IMAGE_BITMAP, 0))
            DeleteObject(reinterpret_cast<HGDIOBJ>(
                SendMessageA(control, STM_SETIMAGE, IMAGE_BITMAP, reinterpret_cast<LPARAM>(banner))));
    }
    return banner;
}

} // namespace report
