#include "report/added_control.h"

#include "resources/ids.h"

namespace report {

HWND add_control(HWND dialog, const char* window_class, const char* text, DWORD style, int id, RECT place) {
    MapDialogRect(dialog, &place);
    HWND const control = CreateWindowExA(0, window_class, text, WS_CHILD | WS_VISIBLE | style, place.left, place.top,
                                         place.right - place.left, place.bottom - place.top, dialog,
                                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    SendMessageA(control, WM_SETFONT, static_cast<WPARAM>(SendMessageA(dialog, WM_GETFONT, 0, 0)), FALSE);
    return control;
}

void end_text_at(HWND dialog, LONG bottom) {
    RECT place = kUploadText;
    place.bottom = bottom;
    MapDialogRect(dialog, &place);
    MoveWindow(GetDlgItem(dialog, IDC_UPLOAD_TEXT), place.left, place.top, place.right - place.left,
               place.bottom - place.top, TRUE);
}

} // namespace report
