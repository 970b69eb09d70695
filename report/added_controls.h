// What the upload dialog shows that its template doesn't have, and the space that its text leaves for it. Places are in
// dialog units.
#pragma once

#include <windows.h>

namespace report {

// The dialog's text as the template places it.
constexpr RECT kUploadText = {86, 47, 86 + 203, 47 + 96};

// Makes a visible control with the dialog's font. Null where the system can't.
HWND add_control(HWND dialog, const char* window_class, const char* text, DWORD style, int id, RECT place);

// Lets the dialog's text end there.
void end_text_at(HWND dialog, LONG bottom);

// How far an upload is, in the lower half of the dialog's text. Where the system has no such control, an upload goes on
// without.
class ProgressBar {
public:
    // Puts it on the screen; the text keeps to its upper half meanwhile.
    void Begin(HWND dialog);
    void Show(unsigned done, unsigned total);
    // Takes it away. text_bottom: where the text ends again.
    void End(HWND dialog, LONG text_bottom);

private:
    HMODULE m_controls; // in which the bar's class is
    HWND m_bar;         // null where there is none
};

} // namespace report
