#include "report/report_dialog.h"

#include "report/dialog_layout.h"
#include "resources/ids.h"

namespace report {

namespace {

// Shows a cursor; puts the one before back.
class CursorScope {
public:
    explicit CursorScope(LPCSTR name) : m_previous(SetCursor(LoadCursorA(nullptr, name))) {}
    ~CursorScope() { SetCursor(m_previous); }

private:
    HCURSOR m_previous;
};

// Takes the dialog from the screen, also when a fault passes.
struct DialogWindow {
    HWND window;
    ~DialogWindow() { DestroyWindow(window); }
};

// Without address space for a dialog the system's own code would fault while it makes one.
bool room_for_dialog() {
    constexpr SIZE_T room = 256 << 10;
    void* const place = VirtualAlloc(nullptr, room, MEM_RESERVE, PAGE_NOACCESS);
    if (place)
        VirtualFree(place, 0, MEM_RELEASE);
    return place != nullptr;
}

} // namespace

ReportDialog::ReportDialog(HINSTANCE icon_module, HINSTANCE library, int template_id)
    : m_icon_module(icon_module), m_library(library), m_icon(LoadIconA(m_icon_module, MAKEINTRESOURCEA(IDI_REPORT))) {
    m_resource = FindResourceA(m_library, MAKEINTRESOURCEA(template_id), reinterpret_cast<LPCSTR>(RT_DIALOG));
    if (m_resource)
        m_template = static_cast<const DLGTEMPLATE*>(LockResource(LoadResource(m_library, m_resource)));
}

ReportDialog::~ReportDialog() {
    destroy_icon(); // Kept: the window procedure has done so too; a shared icon takes no harm.
}

void ReportDialog::destroy_icon() {
    if (m_icon)
        DestroyIcon(m_icon);
}

void ReportDialog::end(HWND dialog, int result) {
    m_running = 0;
    m_result = result;
    // A button pressed by a message from another thread is handled inside GetMessage, which must return for it.
    PostMessageA(dialog, WM_NULL, 0, 0);
}

int ReportDialog::run(DLGPROC procedure) {
    if (!m_template || !room_for_dialog())
        return 0;
    HWND const dialog =
        CreateDialogIndirectParamA(m_library, m_template, nullptr, procedure, reinterpret_cast<LPARAM>(this));
    if (!dialog)
        return 0;
    const CursorScope arrow(reinterpret_cast<LPCSTR>(IDC_ARROW));
    const DialogWindow owner = {dialog}; // goes before the cursor comes back
    MSG message;
    while (m_running) {
        if (!PeekMessageA(&message, dialog, 0, 0, PM_NOREMOVE)) {
            ShowWindow(dialog, SW_SHOWNORMAL);
            UpdateWindow(dialog);
            SendMessageA(m_parent, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(dialog));
        }
        // No IsDialogMessage: the buttons are for the mouse, so that a key held at the fault answers nothing.
        const BOOL got = GetMessageA(&message, dialog, 0, 0);
        if (got == 0)
            PostQuitMessage(static_cast<int>(message.wParam));
        if (got <= 0 || !m_running)
            break;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return m_result;
}

void ReportDialog::settle(HWND dialog) {
    SetFocus(dialog);
    RECT work, window;
    if (!SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0) || !GetWindowRect(dialog, &window))
        return;
    const int width = window.right - window.left;
    const int height = window.bottom - window.top;
    MoveWindow(dialog, centred(work.left, work.right, width), centred(work.top, work.bottom, height), width, height,
               FALSE);
}

} // namespace report
