#include "report/crash_report.h"

#include "report/report_dialog.h"
#include "report/resource_scope.h"
#include "resources/ids.h"

class CCrashReport::CCrushDialog : public report::ReportDialog {
public:
    explicit CCrushDialog(HINSTANCE icon_module) : ReportDialog(icon_module, library_module(), IDD_EMAIL_REPORT) {
        running = this;
    }
    ~CCrushDialog() { running = nullptr; }

    static INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM) {
        if (!running)
            return 0;
        switch (message) {
        case WM_INITDIALOG:
            if (running->icon())
                SendDlgItemMessageA(dialog, IDC_REPORT_ICON, STM_SETICON, reinterpret_cast<WPARAM>(running->icon()), 0);
            settle(dialog);
            return 1;
        case WM_DESTROY:
            running->destroy_icon();
            return 0;
        case WM_COMMAND:
            if (LOWORD(wparam) == IDOK || LOWORD(wparam) == IDCANCEL)
                running->end(dialog, LOWORD(wparam));
            return 0;
        }
        return 0;
    }

private:
    static CCrushDialog* running; // the dialog of the OpenDlg call at work
};

CCrashReport::CCrushDialog* CCrashReport::CCrushDialog::running;

unsigned int CCrashReport::OpenDlg() {
    const ResourceScope resources;
    m_saved_resources = resources.saved();
    CCrushDialog dialog(m_saved_resources);
    return static_cast<unsigned int>(dialog.run(CCrushDialog::procedure));
}
