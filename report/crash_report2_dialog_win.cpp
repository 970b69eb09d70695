// The dialog of the upload report. Uploads on its own thread, with its buttons disabled meanwhile; it ends with a
// successful upload, and stays for another try after a failed one.
#include "include/wendax.h"

#include "base/owner.h"
#include "net/http_transport.h"
#include "report/added_controls.h"
#include "report/delivery.h"
#include "report/destinations.h"
#include "report/report_scope.h"
#include "report/running_dialog.h"
#include "report/sent_contents.h"
#include "report/report_texts.h"
#include "resources/ids.h"
#include "win/guard.h"

class CCrashReport2::CCrushDialog : public report::RunningDialog<CCrashReport2::CCrushDialog>, private UploadWatcher {
public:
    explicit CCrushDialog(HINSTANCE icon_module)
        : RunningDialog(icon_module, library_module(), IDD_UPLOAD_REPORT), UploadWatcher{look} {}
    ~CCrushDialog() { watch(nullptr, false); } // also when a fault passes

    void show_icon(HWND dialog) {
        if (kDestinations.own_pictures && icon())
            SendDlgItemMessageA(dialog, IDC_REPORT_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon()), 0);
        if (report::contents_are_shown()) {
            report::end_text_at(dialog, text_bottom());
            report::add_control(dialog, "BUTTON", "What is sent", BS_PUSHBUTTON, IDC_UPLOAD_CONTENTS,
                                {report::kUploadText.left, 129, report::kUploadText.left + 64, 143});
        }
        // Kept: the field is still null, so this dialog shows the icon of its template and not the host's.
        SendMessageA(dialog_window(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon()));
        SendMessageA(dialog_window(), WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon()));
    }

    void press(HWND dialog, int button) {
        if (m_uploading) {
            // Without progress by a message from another thread, as nobody else could.
            if (button == IDCANCEL && report::progress_is_shown()) {
                stopped = true;
                EnableWindow(GetDlgItem(dialog, IDCANCEL), FALSE);
            }
            return;
        }
        if (button == IDOK)
            upload(dialog);
        else if (button == IDCANCEL)
            end(dialog, button);
        else if (button == IDC_UPLOAD_CONTENTS)
            show_contents(dialog);
    }

private:
    // In dialog units.
    static LONG text_bottom() { return report::contents_are_shown() ? 127 : report::kUploadText.bottom; }

    void upload(HWND dialog);
    void show_contents(HWND dialog);
    // Shows the text at once: no message is worked on while the upload runs.
    void say(HWND dialog, const char* text);
    __attribute__((noinline)) void say_failure(HWND dialog);

    // Tells the report what the dialog has to do with its upload.
    void watch(UploadWatcher* watcher, bool uploading) {
        report::upload_watcher = watcher;
        report::sent_contents = uploading && m_shown == m_pThis ? m_contents.get() : nullptr;
        m_uploading = uploading;
    }
    // Shows how far the upload is, and works on the dialog's messages.
    static bool look(UploadWatcher& watcher, DWORD sent, DWORD total);

    bool m_uploading = false;
    HWND m_window = nullptr; // while it uploads
    report::ProgressBar m_bar;
    gen::Owner<report::SentContents> m_contents; // null until the user wants to see them
    const CCrashReport2* m_shown = nullptr;      // whose they are
};

namespace {

void enable_buttons(HWND dialog, BOOL enabled) {
    EnableWindow(GetDlgItem(dialog, IDCANCEL), enabled);
    EnableWindow(GetDlgItem(dialog, IDOK), enabled);
    EnableWindow(GetDlgItem(dialog, IDC_UPLOAD_CONTENTS), enabled);
}

// Neither exception nor fault may pass through the window procedure; to the user they are a failure.
template <class Callable>
bool succeeds(Callable callable) {
    bool succeeded = false;
    try {
        win::run_guarded([&] { succeeded = callable(); });
    } catch (const gen::genlib_error&) {
    }
    return succeeded;
}

bool upload_newest() {
    return succeeds([] { return CCrashReport2::m_pThis && CCrashReport2::m_pThis->Upload(); });
}

} // namespace

// Apart, so that its text takes no stack while the upload runs.
void CCrashReport2::CCrushDialog::say_failure(HWND dialog) {
    char failure[report::kUploadFailureSize];
    report::upload_failure_text(failure, record_names(kDestinations));
    say(dialog, failure);
}

void CCrashReport2::CCrushDialog::say(HWND dialog, const char* text) {
    HWND const control = GetDlgItem(dialog, IDC_UPLOAD_TEXT);
    if (!control)
        return;
    SetWindowTextA(control, text);
    UpdateWindow(control);
    bring_out(dialog);
}

bool CCrashReport2::CCrushDialog::look(UploadWatcher& watcher, DWORD sent, DWORD total) {
    auto& self = static_cast<CCrushDialog&>(watcher);
    self.m_bar.Show(sent, total);
    return self.serve(self.m_window) && !self.stopped;
}

void CCrashReport2::CCrushDialog::upload(HWND dialog) {
    const CWaitCursor wait;
    const bool shows_progress = report::progress_is_shown();
    watch(shows_progress ? this : nullptr, true);
    enable_buttons(dialog, FALSE);
    if (shows_progress) {
        EnableWindow(GetDlgItem(dialog, IDCANCEL), TRUE);
        m_window = dialog;
        m_bar.Begin(dialog);
    }
    say(dialog, report::kUploadWaitText);
    const bool uploaded = upload_newest();
    if (shows_progress)
        m_bar.End(dialog, text_bottom());
    if (uploaded) {
        say(dialog, report::kUploadSuccessText);
        end(dialog, IDOK);
        return;
    }
    if (stopped) {
        end(dialog, IDCANCEL);
        return;
    }
    say_failure(dialog);
    enable_buttons(dialog, TRUE);
    SetFocus(GetDlgItem(dialog, IDOK)); // which was lost with being disabled
    ignore_typed();
    watch(nullptr, false);
}

void CCrashReport2::CCrushDialog::show_contents(HWND dialog) {
    const bool opened = succeeds([this] {
        if (!m_contents && m_pThis) {
            const CCrashReport2& report = *m_pThis;
            const char* const paths[upload_form::part_count] = {
                report.m_script_path.c_str(), report.m_config_path.c_str(), report.m_file_path.c_str(),
                report.m_log_path.c_str(),    report.m_screen_path.c_str(), report.m_system_path.c_str(),
            };
            m_shown = m_pThis;
            m_contents.reset(new (std::nothrow) report::SentContents(paths));
        }
        return m_contents && m_contents->Open();
    });
    if (opened || !m_contents)
        return;
    if (*m_contents->Folder())
        say(dialog, m_contents->Folder()); // for the user to open it otherwise
    else
        m_contents.reset(nullptr);
}

unsigned int CCrashReport2::OpenDlg() {
    return CCrushDialog::open(&m_saved_resources);
}
