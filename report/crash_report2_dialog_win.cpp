// The dialog of the upload report. Uploads on its own thread, with its buttons disabled meanwhile; it ends with a
// successful upload, and stays for another try after a failed one.
#include "include/wendax.h"

#include "net/http_transport.h"
#include "report/added_control.h"
#include "report/delivery.h"
#include "report/destinations.h"
#include "report/progress_bar.h"
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
        if (m_uploading) {
            // Without progress by a message from another thread, as nobody else could.
            if (button == IDCANCEL && report::progress_is_shown()) {
                m_stopped = true;
                EnableWindow(GetDlgItem(dialog, IDCANCEL), FALSE);
            }
            return;
        }
        if (button == IDOK)
            upload(dialog);
        else if (button == IDCANCEL)
            end(dialog, button);
    }

private:
    void upload(HWND dialog);
    // Shows the text at once: no message is worked on while the upload runs.
    void say(HWND dialog, const char* text);

    class Watcher;
    bool m_uploading = false;
    bool m_stopped = false; // "Close" while it uploads
};

// Shows how far the upload is, and works on the dialog's messages.
class CCrashReport2::CCrushDialog::Watcher : public UploadWatcher {
public:
    Watcher(CCrushDialog& owner, HWND dialog)
        : UploadWatcher{look}, m_owner(owner), m_dialog(dialog), m_bar(dialog, report::kUploadText.bottom) {
        report::upload_watcher = this;
    }
    ~Watcher() { report::upload_watcher = nullptr; }

private:
    static bool look(UploadWatcher& watcher, DWORD sent, DWORD total) {
        auto& self = static_cast<Watcher&>(watcher);
        self.m_bar.Show(sent, total);
        const bool goes_on = self.m_owner.serve(self.m_dialog);
        self.stopped = self.m_owner.m_stopped;
        return goes_on && !self.stopped;
    }

    CCrushDialog& m_owner;
    HWND m_dialog;
    report::ProgressBar m_bar;
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
    bool uploaded;
    if (report::progress_is_shown()) {
        EnableWindow(GetDlgItem(dialog, IDCANCEL), TRUE);
        const Watcher watcher(*this, dialog);
        say(dialog, report::kUploadWaitText);
        uploaded = upload_newest();
    } else {
        say(dialog, report::kUploadWaitText);
        uploaded = upload_newest();
    }
    if (uploaded) {
        say(dialog, report::kUploadSuccessText);
        end(dialog, IDOK);
        return;
    }
    if (m_stopped) {
        end(dialog, IDCANCEL);
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
