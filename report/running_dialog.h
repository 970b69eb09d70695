// The part of a report dialog's window procedure that both variants share.
#pragma once

#include "report/report_dialog.h"
#include "report/report_scope.h"

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

    // What OpenDlg does: shows the dialog with the icon of the module that is the current one for resources, which
    // *host becomes. Returns the button that ended it, or 0.
    static unsigned int open(HINSTANCE* host) {
        int answer = 0;
        *host = AfxGetResourceHandle();
        call_as_library([&answer, host] {
            Dialog dialog(*host);
            answer = dialog.run(procedure);
        });
        return static_cast<unsigned int>(answer);
    }

    static INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM) {
        if (!running)
            return 0;
        switch (message) {
        case WM_INITDIALOG:
            running->show_icon(dialog);
            running->dress(dialog);
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
