// Drives the upload report through what Wendax.dll exports: one command a line on standard input, one answer a line on
// standard output.
//
//   new                     makes a report; it answers to the commands below until the next "new"
//   delete                  destroys the newest report
//   post CONFIG|SCRIPT|LOG|FILE
//                           PostRequest; "-" for null
//   attach PATH             AddAttachment
//   screen, system          CreateScreenCopy, CreateSystemInfo
//   upload                  "uploaded", "failed" or "out of memory"
//   dialog [first]          the number that OpenDlg returns; of the oldest report
//   hold                    from here on a dialog that closes says "closing", and goes when the next line arrives
//   quit-upload             once a dialog uploads, the program is told to quit by another window's procedure
//   press-again             once a dialog uploads, another thread presses its button 1 by a sent message, and says
//                           "pressing"
//   keep [FOLDER]           WendaxKeepUnsent, of a path in UTF-8; its answer
//   send-unsent             WendaxSendUnsent's answer and the three numbers, all in one line
//   show-progress           WendaxShowProgress(1); its answer
//   show-contents           WendaxShowContents(1); its answer
//   usage                   handles of the process, and KiB of memory: its own, in RAM, and the most in RAM so far
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/command_line.h"
#include "testing/cxx/report_window.h"
#include "testing/cxx/usage.h"

namespace {

CCrashReport2* reports[2];
int count;

const char* path(const char* word) {
    return strcmp(word, "-") == 0 ? nullptr : word;
}

void make() {
    if (count < 2)
        reports[count++] = new CCrashReport2(nullptr);
    puts("done");
}

void post(CCrashReport2& report, char* config) {
    char* const script = rest_of(config, '|');
    char* const log = rest_of(script, '|');
    char* const file = rest_of(log, '|');
    report.PostRequest(path(config), path(script), path(log), path(file));
    puts("done");
}

void upload(CCrashReport2& report) {
    try {
        puts(report.Upload() ? "uploaded" : "failed");
    } catch (const gen::genlib_out_of_memory&) {
        puts("out of memory");
    }
}

// Between the end of a dialog's loop and the end of its window.
LRESULT CALLBACK hold_closing_dialog(int code, WPARAM window, LPARAM details) {
    char name[16] = "";
    if (code == HCBT_DESTROYWND && GetClassNameA(reinterpret_cast<HWND>(window), name, sizeof name) &&
        strcmp(name, "#32770") == 0) {
        puts("closing");
        fflush(stdout);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT); // under Wine this brings what was painted out
        next_command();
    }
    return CallNextHookEx(nullptr, code, window, details);
}

HWND wait_for_uploading_dialog() {
    HWND dialog;
    while (IsWindowEnabled(GetDlgItem(dialog = wait_for_report_window(), IDOK)))
        Sleep(10);
    return dialog;
}

DWORD WINAPI press_again(void*) {
    HWND const dialog = wait_for_uploading_dialog();
    puts("pressing");
    fflush(stdout);
    press_button_of(dialog, IDOK);
    return 0;
}

LRESULT CALLBACK quit_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_APP)
        PostQuitMessage(7);
    return DefWindowProcA(window, message, wparam, lparam);
}

DWORD WINAPI tell_to_quit(void* window) {
    wait_for_uploading_dialog();
    SendMessageA(static_cast<HWND>(window), WM_APP, 0, 0);
    return 0;
}

void quit_upload() {
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = quit_procedure;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "Quit";
    RegisterClassA(&window_class);
    const HWND window =
        CreateWindowA("Quit", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, window_class.hInstance, nullptr);
    CloseHandle(CreateThread(nullptr, 0, tell_to_quit, window, 0, nullptr));
    puts("done");
}

void keep_unsent(const char* folder) {
    wchar_t path[2048] = L"";
    MultiByteToWideChar(CP_UTF8, 0, folder, -1, path, sizeof path / sizeof *path);
    printf("%d\n", WendaxKeepUnsent(*folder ? path : nullptr));
}

void send_unsent() {
    WendaxUnsent unsent = {-1, -1, -1};
    const int begun = WendaxSendUnsent(&unsent);
    printf("%d %d %d %d\n", begun, unsent.sent, unsent.remaining, unsent.damaged);
}

void show_usage() {
    const ProcessMemory memory = process_memory();
    printf("usage %u %u %u %u\n", process_handles(), memory.own, memory.present, memory.most_present);
}

bool obey(char* line) {
    char* const rest = rest_of(line);
    const auto is = [line](const char* command) { return strcmp(line, command) == 0; };
    if (is("new")) {
        make();
        return true;
    }
    if (count == 0)
        return false;
    CCrashReport2& report = *reports[count - 1];
    if (is("delete")) {
        delete reports[--count];
        puts("done");
    } else if (is("post")) {
        post(report, rest);
    } else if (is("attach")) {
        report.AddAttachment(rest);
        puts("done");
    } else if (is("screen")) {
        report.CreateScreenCopy();
        puts("done");
    } else if (is("system")) {
        report.CreateSystemInfo();
        puts("done");
    } else if (is("upload")) {
        upload(report);
    } else if (is("dialog")) {
        printf("%u\n", (strcmp(rest, "first") == 0 ? *reports[0] : report).OpenDlg());
    } else if (is("hold")) {
        SetWindowsHookExA(WH_CBT, hold_closing_dialog, nullptr, GetCurrentThreadId());
        puts("done");
    } else if (is("quit-upload")) {
        quit_upload();
    } else if (is("press-again")) {
        CloseHandle(CreateThread(nullptr, 0, press_again, nullptr, 0, nullptr));
        puts("done");
    } else if (is("keep")) {
        keep_unsent(rest);
    } else if (is("send-unsent")) {
        send_unsent();
    } else if (is("show-progress")) {
        printf("%d\n", WendaxShowProgress(1));
    } else if (is("show-contents")) {
        printf("%d\n", WendaxShowContents(1));
    } else if (is("usage")) {
        show_usage();
    } else {
        return false;
    }
    return true;
}

} // namespace

int main() {
    const int code = obey_commands(obey);
    while (count > 0)
        delete reports[--count];
    return code;
}
