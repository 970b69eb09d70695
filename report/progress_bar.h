// How far an upload is, in the lower half of the dialog's text.
#pragma once

#include "win/handle.h"

namespace report {

// On the screen as long as it lives; the text keeps to its upper half meanwhile. Where the system has no such control,
// an upload goes on without.
class ProgressBar {
public:
    // text_bottom: where the text ends again afterwards, in dialog units.
    ProgressBar(HWND dialog, LONG text_bottom);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(unsigned done, unsigned total);

private:
    win::LibraryHandle m_controls; // in which the bar's class is
    HWND m_dialog;
    LONG m_text_bottom;
    HWND m_bar; // null where there is none
};

} // namespace report
