// The dialog of the e-mail report. Only tells which button was pressed; the message is made later, by GenerateEmail.
#include "include/wendax.h"

#include "report/report_scope.h"
#include "report/running_dialog.h"
#include "resources/ids.h"

class CCrashReport::CCrushDialog : public report::RunningDialog<CCrashReport::CCrushDialog> {
public:
    explicit CCrushDialog(HINSTANCE icon_module) : RunningDialog(icon_module, library_module(), IDD_EMAIL_REPORT) {}

    void show_icon(HWND dialog) {
        if (icon())
            SendDlgItemMessageA(dialog, IDC_REPORT_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon()), 0);
    }

    void press(HWND dialog, int button) {
        if (button == IDOK || button == IDCANCEL)
            end(dialog, button);
    }
};

unsigned int CCrashReport::OpenDlg() {
    return CCrushDialog::open(&m_saved_resources);
}
