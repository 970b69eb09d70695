// The dialog that both report variants show: creation from a template, message loop, end.
#pragma once

#include <windows.h>

#include "report/key_filter.h"

struct Destinations;

namespace report {

// One per OpenDlg call, on the caller's stack. It is no framework dialog and has no owner, because it must work while
// the host is in an unknown state after a fault. Runs on the calling thread.
class ReportDialog {
public:
    // icon_module: where icon 128 is looked up, normally the host. template_id: the dialog in the library's resources.
    ReportDialog(HINSTANCE icon_module, HINSTANCE library, int template_id);
    ~ReportDialog();
    ReportDialog(const ReportDialog&) = delete;
    ReportDialog& operator=(const ReportDialog&) = delete;

    // Shows the dialog and works on its messages until end() is called. Returns end()'s result, or 0 when the dialog
    // can't be created, its window is taken away or the program is told to quit; the order to quit is posted again.
    int run(DLGPROC procedure);

    // Called by the window procedure: the dialog closes with this result.
    void end(HWND dialog, int result);

protected:
    // What both variants do at WM_INITDIALOG, after their icons: takes the focus, goes to the middle of the work
    // area and to the front.
    static void settle(HWND dialog);
    void destroy_icon();
    // Names and pictures of the record, at WM_INITDIALOG.
    void dress(HWND dialog);

    // What was painted reaches the screen for certain only when the thread looks for messages: looks for one that
    // nobody posts. Messages that other threads send are worked on meanwhile.
    static void bring_out(HWND dialog);
    // After a time in which no message was worked on: what was typed in it, and within the next second, answers
    // nothing.
    void ignore_typed();
    // Works on the messages that wait for the dialog. False when the program is told to quit, which it then is again.
    bool serve(HWND dialog);

    HICON icon() const { return m_icon; }
    // Always null, as is the owner.
    HWND dialog_window() const { return m_dialog; }

private:
    // The message loop. False when the program is told to quit, by that message. Apart from what it leaves behind on
    // its way out, of which each call would have to be told.
    __attribute__((noinline)) bool work(HWND dialog, MSG& message);
    void handle(HWND dialog, const MSG& message);
    // Whether the message is one to work on, and not a key of someone who types on.
    bool takes(const MSG& message);

    const DLGTEMPLATE* m_template = nullptr; // belongs to the library's module
    HRSRC m_resource = nullptr;
    HWND m_parent = nullptr;
    HWND m_dialog = nullptr;
    HINSTANCE m_icon_module;
    HINSTANCE m_library;
    int m_running = 1;
    int m_result = 0;
    HICON m_icon;               // null when the module has no icon 128
    HBITMAP m_banner = nullptr; // the host's
    KeyFilter m_keys;
};

// Clears the way to a dialog from what a host has left behind.

// Where a topmost or full-screen window of this process would hide the dialog, the dialog becomes topmost as well; else
// it comes to the front and other programs' windows may cover it later. Size and place stay. To be called before the
// dialog is shown: a window manager may put one that becomes topmost later behind those that are.
void bring_to_front(HWND dialog);

// Gives the user the pointer, which the host may have captured, confined or hidden. Returns by how much its show count
// was raised. Stays apart from its caller, which has something to put back after a fault: calls are dear there.
__attribute__((noinline)) int free_pointer();

// What a dialog shows of the program, in place of what its template has.

// For WM_INITDIALOG. Where the record names product or company, the dialog's texts do. Anything that fails leaves a
// text as it is.
void name_program(HWND dialog, const Destinations& record);

// The bitmap of the host's module takes the place of the dialog's, where the host has one. Returns it, to be deleted
// once the dialog is gone, or null.
HBITMAP show_own_banner(HWND dialog, HINSTANCE host);

} // namespace report
