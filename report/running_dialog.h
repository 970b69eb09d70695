// The part of a report dialog's window procedure that both variants share.
#pragma once

#include "report/report_dialog.h"

namespace report {

// Dialog is the variant. It has show_icon(HWND) for WM_INITDIALOG and press(HWND, int) for WM_COMMAND. Each variant
// has one pointer to the dialog of the OpenDlg call at work, through which the window procedure finds it. A window
// procedure of the host may fault while a dialog runs, and report that: once the inner dialog is gone, the outer one
// goes on.
template <class Dialog>
class RunningDialog : public ReportDialog {
public:
    RunningDialog(HINSTANCE icon_module, HINSTANCE library, int template_id)
        : ReportDialog(icon_module, library, template_id), m_outer(running) {
        running = static_cast<Dialog*>(this);
    }
    ~RunningDialog() {
        if (running == this)
            running = m_outer;
    }

    static INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM) {
        if (!running)
            return 0;
        switch (message) {
        case WM_INITDIALOG:
            running->show_icon(dialog);
            settle(dialog);
            return 1;
        case WM_DESTROY:
            running->destroy_icon();
            return 0;
        case WM_COMMAND:
            running->press(dialog, LOWORD(wparam));
            return 0;
        }
        return 0;
    }

private:
    static inline Dialog* running;

    Dialog* const m_outer;
};

} // namespace report
