// Drives the upload report through what Wendax.dll exports: one command a line on standard input, one answer a line on
// standard output.
//
//   new                     makes a report; it answers to the commands below until the next "new"
//   delete first|last       destroys the oldest or the newest report that there is
//   post CONFIG|SCRIPT|LOG|FILE   PostRequest; "-" for null
//   attach PATH             AddAttachment
//   screen, system          CreateScreenCopy, CreateSystemInfo
//   upload                  "uploaded", "failed" or "out of memory"
//   dialog [first]          the number that OpenDlg returns; of the oldest report
//   hold                    from here on a dialog that closes says "closing", and goes when the next line arrives
//   quit-upload             once a dialog uploads, the program is told to quit by another window's procedure
//   keep [FOLDER]           WendaxKeepUnsent, of a path in UTF-8; its answer
//   send-unsent             WendaxSendUnsent's answer and the three numbers, all in one line
//   show-progress           WendaxShowProgress(1); its answer
//   show-contents           WendaxShowContents(1); its answer
//   press-again             once a dialog uploads, another thread presses its button 1 by a sent message; says
//   "pressing" newest                  which report m_pThis is: "first", "last", "none" usage                   handles
//   of the process, and KiB of memory: its own, in RAM, and the most in RAM so far
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/command_line.h"
#include "testing/cxx/usage.h"

namespace {

// Hosts may derive from the class; the call goes through the library's slot.
class HostReport : public CCrashReport2 {
public:
    HostReport() : CCrashReport2(nullptr) {}
    void PostRequest(const char* config, const char* script, const char* log, const char* file) override {
        CCrashReport2::PostRequest(config, script, log, file);
    }
};

CCrashReport2* reports[2];
int count;

const char* path(const char* word) {
    return strcmp(word, "-") == 0 ? nullptr : word;
}

void make() {
    if (count < 2)
        reports[count++] = new HostReport;
    puts("done");
}

void destroy(bool first) {
    delete reports[first ? 0 : count - 1];
    if (first)
        reports[0] = reports[1];
    --count;
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

DWORD WINAPI press_again(void*) {
    HWND dialog;
    while (!(dialog = FindWindowA("#32770", "Software Error Report")) || IsWindowEnabled(GetDlgItem(dialog, IDOK)))
        Sleep(10);
    puts("pressing");
    fflush(stdout);
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
    return 0;
}

LRESULT CALLBACK quit_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_APP)
        PostQuitMessage(7);
    return DefWindowProcA(window, message, wparam, lparam);
}

DWORD WINAPI tell_to_quit(void* window) {
    HWND dialog;
    while (!(dialog = FindWindowA("#32770", "Software Error Report")) || IsWindowEnabled(GetDlgItem(dialog, IDOK)))
        Sleep(10);
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

void show_newest() {
    const CCrashReport2* const newest = CCrashReport2::m_pThis;
    puts(!newest ? "none" : newest == reports[count - 1] ? "last" : newest == reports[0] ? "first" : "unknown");
}

bool obey(char* line) {
    char* const rest = rest_of(line);
    if (strcmp(line, "new") == 0) {
        make();
        return true;
    }
    if (strcmp(line, "newest") == 0) {
        show_newest();
        return true;
    }
    if (strcmp(line, "usage") == 0) {
        const ProcessMemory memory = process_memory();
        printf("usage %u %u %u %u\n", process_handles(), memory.own, memory.present, memory.most_present);
        return true;
    }
    if (strcmp(line, "keep") == 0) {
        keep_unsent(rest);
        return true;
    }
    if (strcmp(line, "quit-upload") == 0) {
        quit_upload();
        return true;
    }
    if (strcmp(line, "send-unsent") == 0) {
        send_unsent();
        return true;
    }
    if (strcmp(line, "show-progress") == 0) {
        printf("%d\n", WendaxShowProgress(1));
        return true;
    }
    if (strcmp(line, "show-contents") == 0) {
        printf("%d\n", WendaxShowContents(1));
        return true;
    }
    if (count == 0)
        return false;
    CCrashReport2& report = *reports[count - 1];
    if (strcmp(line, "delete") == 0) {
        destroy(strcmp(rest, "first") == 0);
    } else if (strcmp(line, "post") == 0) {
        post(report, rest);
    } else if (strcmp(line, "attach") == 0) {
        report.AddAttachment(rest);
        puts("done");
    } else if (strcmp(line, "screen") == 0) {
        report.CreateScreenCopy();
        puts("done");
    } else if (strcmp(line, "system") == 0) {
        report.CreateSystemInfo();
        puts("done");
    } else if (strcmp(line, "upload") == 0) {
        upload(report);
    } else if (strcmp(line, "hold") == 0) {
        SetWindowsHookExA(WH_CBT, hold_closing_dialog, nullptr, GetCurrentThreadId());
        puts("done");
    } else if (strcmp(line, "press-again") == 0) {
        CloseHandle(CreateThread(nullptr, 0, press_again, nullptr, 0, nullptr));
        puts("done");
    } else if (strcmp(line, "dialog") == 0) {
        printf("%u\n", (strcmp(rest, "first") == 0 ? *reports[0] : report).OpenDlg());
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
