// The system's own control. Its DLL makes the class known when it is loaded.
#include "report/progress_bar.h"

#include <stdint.h>

#include <commctrl.h>

#include "report/added_control.h"
#include "resources/ids.h"
#include "win/library.h"

namespace report {

namespace {

constexpr unsigned kSteps = 1000;
constexpr LONG kHalf = (kUploadText.top + kUploadText.bottom) / 2;
constexpr RECT kPlace = {kUploadText.left, kHalf + 8, kUploadText.right, kHalf + 20};

} // namespace

void ProgressBar::Begin(HWND dialog) {
    m_controls = win::load_system_library("comctl32.dll");
    m_bar = add_control(dialog, PROGRESS_CLASSA, "", PBS_SMOOTH, IDC_UPLOAD_PROGRESS, kPlace);
    SendMessageA(m_bar, PBM_SETRANGE32, 0, kSteps);
    end_text_at(dialog, kHalf);
}

void ProgressBar::End(HWND dialog, LONG text_bottom) {
    DestroyWindow(m_bar);
    FreeLibrary(m_controls);
    end_text_at(dialog, text_bottom);
}

void ProgressBar::Show(unsigned done, unsigned total) {
    SendMessageA(m_bar, PBM_SETPOS, static_cast<WPARAM>(uint64_t{done} * kSteps / total), 0);
}

} // namespace report
