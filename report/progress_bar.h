// How far an upload is, in the lower half of the dialog's text.
#pragma once

#include <windows.h>

namespace report {

// Where the system has no such control, an upload goes on without.
class ProgressBar {
public:
    // Puts it on the screen; the text keeps to its upper half meanwhile.
    void Begin(HWND dialog);
    void Show(unsigned done, unsigned total);
    // Takes it away. text_bottom: where the text ends again, in dialog units.
    void End(HWND dialog, LONG text_bottom);

private:
    HMODULE m_controls; // in which the bar's class is
    HWND m_bar;         // null where there is none
};

} // namespace report
