// A host with a window: a button for each kind of fault, and the choice between the two reports. It keeps a log, which
// goes with the e-mail reports. Build it with /EHa.
#include <windows.h>
#include <float.h>
#include <malloc.h>
#include <stdio.h>
#include <string.h>

#include "faults.h"
#include "wendax.h"

namespace {

const int kIdEmail = 1000;
const int kIdUpload = 1001;
const int kIdPicture = 1002;
const int kIdFault = 2000; // and those that follow, one for each fault

const int kMargin = 12;
const int kRow = 28;
const int kColumn = 190;

char log_path[MAX_PATH];

void note(const wchar_t* what) {
    if (FILE* const log = fopen(log_path, "a")) {
        fprintf(log, "%ls\n", what);
        fclose(log);
    }
}

// Begins the log in the temporary folder and attaches it to all reports to come. The library wants a full path.
void open_log() {
    const DWORD length = GetTempPathA(MAX_PATH - 20, log_path);
    if (length == 0 || length >= MAX_PATH - 20)
        return;
    strcat(log_path, "windowed.log");
    remove(log_path);
    note(L"started");
    SetAttachment(log_path);
}

bool is_checked(HWND window, int id) {
    return IsDlgButtonChecked(window, id) == BST_CHECKED;
}

void report_by_upload(bool picture) {
    try {
        CCrashReport2 report(nullptr);
        if (picture)
            report.CreateScreenCopy();
        report.CreateSystemInfo();
        report.OpenDlg();
    } catch (const gen::genlib_error&) {
        note(L"no memory for a report");
    }
}

// A fault must be caught within the window procedure: exceptions don't find their way through the system, which calls
// it.
void commit(HWND window, const Fault& fault) {
    note(fault.name);
    try {
        void (*volatile hidden)() = fault.commit;
        hidden();
    } catch (char* marker) {
        const bool picture = is_checked(window, kIdPicture);
        if (is_checked(window, kIdUpload)) {
            report_by_upload(picture);
        } else {
            SetCreateScreenCopy(picture);
            OpenCrushReport(marker);
        }
    }
    // Most hosts end after a report. This one goes on, so it puts right what its faults have changed.
    _clearfp();
    _controlfp(_CW_DEFAULT, _MCW_EM);
    _resetstkoflw();
}

void add(HWND window, const wchar_t* text, int id, DWORD style, int x, int y) {
    HWND const control =
        CreateWindowW(L"BUTTON", text, WS_CHILD | WS_VISIBLE | WS_TABSTOP | style, x, y, kColumn - kMargin, kRow - 4,
                      window, reinterpret_cast<HMENU>(id), nullptr, nullptr);
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
}

void add_controls(HWND window) {
    add(window, L"E-mail report", kIdEmail, BS_AUTORADIOBUTTON | WS_GROUP, kMargin, kMargin);
    add(window, L"Upload report", kIdUpload, BS_AUTORADIOBUTTON, kMargin, kMargin + kRow);
    add(window, L"With a picture of the screen", kIdPicture, BS_AUTOCHECKBOX | WS_GROUP, kMargin + kColumn, kMargin);
    for (int i = 0; i < kFaultCount; ++i)
        add(window, kFaults[i].name, kIdFault + i, BS_PUSHBUTTON, kMargin + i % 2 * kColumn,
            kMargin + (2 + i / 2) * kRow + kMargin);
    CheckRadioButton(window, kIdEmail, kIdUpload, kIdEmail);
}

LRESULT CALLBACK window_procedure(HWND window, UINT message, WPARAM wide, LPARAM narrow) {
    const int id = LOWORD(wide);
    switch (message) {
    case WM_CREATE:
        add_controls(window);
        return 0;
    case WM_COMMAND:
        if (id >= kIdFault && id < kIdFault + kFaultCount)
            commit(window, kFaults[id - kIdFault]);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(window, message, wide, narrow);
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
    WendaxCoverThread();
    open_log();

    WNDCLASSW type = {};
    type.lpfnWndProc = window_procedure;
    type.hInstance = instance;
    type.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)); // IDC_ARROW
    type.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    type.lpszClassName = L"WendaxExample";
    RegisterClassW(&type);

    const DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
    RECT inside = {0, 0, kMargin + 2 * kColumn, 3 * kMargin + (2 + (kFaultCount + 1) / 2) * kRow};
    AdjustWindowRect(&inside, style, FALSE);
    HWND const window =
        CreateWindowW(L"WendaxExample", L"Ways to fail", style, CW_USEDEFAULT, CW_USEDEFAULT,
                      inside.right - inside.left, inside.bottom - inside.top, nullptr, nullptr, instance, nullptr);
    if (!window)
        return 1;
    ShowWindow(window, show);

    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (IsDialogMessageW(window, &message))
            continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
