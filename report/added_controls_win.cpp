// The bar is the system's own control, whose class is known once its DLL is loaded.
#include "report/added_controls.h"

#include <stdint.h>

#include <commctrl.h>

#include "resources/ids.h"
#include "win/library.h"

namespace report {

namespace {

constexpr unsigned kSteps = 1000;
constexpr LONG kHalf = (kUploadText.top + kUploadText.bottom) / 2;
constexpr RECT kPlace = {kUploadText.left, kHalf + 8, kUploadText.right, kHalf + 20};

} // namespace

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

void ProgressBar::Begin(HWND dialog) {
    m_controls = win::load_system_library("comctl32.dll");
    m_bar = add_control(dialog, PROGRESS_CLASSA, "", PBS_SMOOTH, IDC_UPLOAD_PROGRESS, kPlace);
    SendMessageA(m_bar, PBM_SETRANGE32, 0, kSteps);
    end_text_at(dialog, kHalf);
}

void ProgressBar::End(HWND dialog, LONG text_bottom) {
    // The window before the DLL that has its code.
    DestroyWindow(m_bar);
    FreeLibrary(m_controls);
    end_text_at(dialog, text_bottom);
}

void ProgressBar::Show(unsigned done, unsigned total) {
    SendMessageA(m_bar, PBM_SETPOS, static_cast<WPARAM>(uint64_t{done} * kSteps / total), 0);
}

} // namespace report
