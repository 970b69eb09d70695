// A message loop for one window: messages posted to the host's windows stay in the queue, so that none of its code is
// run by them after the fault. What the dialog changes for the host, Aftermath puts back.
#include "report/report_dialog.h"

#include "report/destinations.h"
#include "report/dialog_layout.h"
#include "resources/ids.h"

namespace report {

namespace {

// What the dialog leaves as it was, also when a fault passes.
struct Aftermath {
    HWND dialog; // goes before the pointer comes back
    HCURSOR cursor;
    int raised; // the pointer's show count
    // A quit message (WM_QUIT): one that is queued before the dialog isn't meant for it and is set aside; a later one
    // ends it. Either is posted again.
    bool quit;
    int quit_code;

    ~Aftermath() {
        if (dialog) {
            DestroyWindow(dialog);
            while (raised-- > 0)
                ShowCursor(FALSE);
            SetCursor(cursor);
        }
        if (quit)
            PostQuitMessage(quit_code);
    }

    void keep_order(const MSG& message) {
        quit = true;
        quit_code = static_cast<int>(message.wParam);
    }
    __attribute__((noinline)) void take_waiting_order() {
        MSG message;
        while (PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE))
            keep_order(message);
    }
};

// Pointer messages for the host's windows wait in the queue: at least the release of the button that was down at the
// fault. To whoever takes the capture they would come as its own, and undo the first press of a button. Takes out those
// from before the press; the dialog has the capture meanwhile, so that the host's windows aren't asked about them.
void forget_pointer_before(const MSG& press, HWND dialog) {
    MSG old;
    SetCapture(dialog);
    while (PeekMessageA(&old, dialog, WM_MOUSEFIRST, WM_MOUSELAST, PM_NOREMOVE) &&
           static_cast<LONG>(old.time - press.time) < 0)
        PeekMessageA(&old, dialog, WM_MOUSEFIRST, WM_MOUSELAST, PM_REMOVE);
    ReleaseCapture();
}

// Without address space for a dialog the system's own code would fault while it makes one.
bool has_space_for_dialog() {
    constexpr SIZE_T kSize = 256 << 10;
    void* const place = VirtualAlloc(nullptr, kSize, MEM_RESERVE, PAGE_NOACCESS);
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
    if (m_banner)
        DeleteObject(m_banner);
}

void ReportDialog::destroy_icon() {
    if (m_icon)
        DestroyIcon(m_icon);
}

void ReportDialog::dress(HWND dialog) {
    name_program(dialog, kDestinations);
    if (kDestinations.own_pictures)
        m_banner = show_own_banner(dialog, m_icon_module);
}

void ReportDialog::end(HWND dialog, int result) {
    m_running = 0;
    m_result = result;
    // A button pressed by a message from another thread is handled inside GetMessage, which must return for it.
    PostMessageA(dialog, WM_NULL, 0, 0);
}

int ReportDialog::run(DLGPROC procedure) {
    if (!m_template || !has_space_for_dialog())
        return 0;
    Aftermath after = {};
    after.take_waiting_order();
    after.dialog =
        CreateDialogIndirectParamA(m_library, m_template, nullptr, procedure, reinterpret_cast<LPARAM>(this));
    if (!after.dialog)
        return 0;
    after.cursor = SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW)));
    after.raised = free_pointer();
    MSG message;
    if (!work(after.dialog, message))
        after.keep_order(message);
    return m_result;
}

bool ReportDialog::work(HWND dialog, MSG& message) {
    while (m_running) {
        if (!PeekMessageA(&message, dialog, 0, 0, PM_NOREMOVE)) {
            ShowWindow(dialog, SW_SHOWNORMAL);
            UpdateWindow(dialog);
            bring_out(dialog);
            if (!m_keys.is_shown())
                ignore_typed();
            SendMessageA(m_parent, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(dialog));
        }
        const BOOL got = GetMessageA(&message, dialog, 0, 0);
        if (got <= 0)
            return got != 0;
        if (!m_running)
            break;
        handle(dialog, message);
    }
    return true;
}

bool ReportDialog::serve(HWND dialog) {
    MSG message;
    while (PeekMessageA(&message, dialog, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            PostQuitMessage(static_cast<int>(message.wParam));
            return false;
        }
        handle(dialog, message);
    }
    return true;
}

void ReportDialog::handle(HWND dialog, const MSG& message) {
    // No IsDialogMessage, so Enter, Escape and Tab do nothing. The space bar presses the button that has the focus.
    if (!takes(message))
        return;
    if (message.message == WM_LBUTTONDOWN || message.message == WM_NCLBUTTONDOWN)
        forget_pointer_before(message, dialog);
    TranslateMessage(&message);
    DispatchMessageA(&message);
}

bool ReportDialog::takes(const MSG& message) {
    constexpr LPARAM kWasDown = 1 << 30;
    const auto key = static_cast<unsigned char>(message.wParam);
    switch (message.message) {
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
        if (m_keys.held() && GetAsyncKeyState(m_keys.held()) >= 0)
            m_keys.forget_held();
        return m_keys.press(key, (message.lParam & kWasDown) != 0, message.time);
    case WM_KEYUP:
    case WM_SYSKEYUP:
        return m_keys.release(key);
    }
    return true;
}

void ReportDialog::bring_out(HWND dialog) {
    MSG message;
    PeekMessageA(&message, dialog, WM_APP, WM_APP, PM_NOREMOVE);
}

void ReportDialog::ignore_typed() {
    m_keys.shown(GetTickCount());
}

void ReportDialog::settle(HWND dialog) {
    SetFocus(dialog);
    RECT work, window;
    if (SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0) && GetWindowRect(dialog, &window)) {
        const int width = window.right - window.left;
        const int height = window.bottom - window.top;
        MoveWindow(dialog, centred(work.left, work.right, width), centred(work.top, work.bottom, height), width, height,
                   FALSE);
    }
    bring_to_front(dialog);
}

} // namespace report
