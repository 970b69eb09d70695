// The dialog of the upload report. Uploads on its own thread, with its buttons disabled meanwhile; it ends with a
// successful upload, and stays for another try after a failed one.
#include "include/wendax.h"

#include "report/destinations.h"
#include "report/report_scope.h"
#include "report/running_dialog.h"
#include "report/report_texts.h"
#include "resources/ids.h"
#include "win/guard.h"

class CCrashReport2::CCrushDialog : public report::RunningDialog<CCrashReport2::CCrushDialog> {
public:
    explicit CCrushDialog(HINSTANCE icon_module) : RunningDialog(icon_module, library_module(), IDD_UPLOAD_REPORT) {}

    void show_icon(HWND dialog) {
        if (kDestinations.own_pictures && icon())
            SendDlgItemMessageA(dialog, IDC_REPORT_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon()), 0);
        // Kept: the field is still null, so this dialog shows the icon of its template and not the host's.
        SendMessageA(dialog_window(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon()));
        SendMessageA(dialog_window(), WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon()));
    }

    void press(HWND dialog, int button) {
        if (m_uploading) // pressed by a message from another thread, as nobody else could
            return;
        if (button == IDOK)
            upload(dialog);
        else if (button == IDCANCEL)
            end(dialog, button);
    }

private:
    void upload(HWND dialog);
    // Shows the text at once: no message is worked on while the upload runs.
    void say(HWND dialog, const char* text);

    bool m_uploading = false;
};

namespace {

void enable_buttons(HWND dialog, BOOL enabled) {
    EnableWindow(GetDlgItem(dialog, IDCANCEL), enabled);
    EnableWindow(GetDlgItem(dialog, IDOK), enabled);
}

// Neither exception nor fault may pass through the window procedure; to the user they are a failed upload.
bool upload_newest() {
    bool uploaded = false;
    try {
        win::run_guarded([&] { uploaded = CCrashReport2::m_pThis && CCrashReport2::m_pThis->Upload(); });
    } catch (const gen::genlib_error&) {
    }
    return uploaded;
}

} // namespace

void CCrashReport2::CCrushDialog::say(HWND dialog, const char* text) {
    HWND const control = GetDlgItem(dialog, IDC_UPLOAD_TEXT);
    if (!control)
        return;
    SetWindowTextA(control, text);
    UpdateWindow(control);
    bring_out(dialog);
}

void CCrashReport2::CCrushDialog::upload(HWND dialog) {
    const CWaitCursor wait;
    m_uploading = true;
    enable_buttons(dialog, FALSE);
    say(dialog, report::kUploadWaitText);
    if (upload_newest()) {
        say(dialog, report::kUploadSuccessText);
        end(dialog, IDOK);
        return;
    }
    char failure[report::kUploadFailureSize];
    report::upload_failure_text(failure, record_names(kDestinations));
    say(dialog, failure);
    enable_buttons(dialog, TRUE);
    SetFocus(GetDlgItem(dialog, IDOK)); // which was lost with being disabled
    ignore_typed();
    m_uploading = false;
}

unsigned int CCrashReport2::OpenDlg() {
    return CCrushDialog::open(&m_saved_resources);
}
