// A host that sends its reports to a server: it writes its configuration and its log, fails, and uploads both, with a
// text that tells what failed and where. Build it with /EHa.
#include <windows.h>
#include <stdio.h>

#include "faultkit.h"
#include "wendax.h"

namespace {

const char kConfig[] = "upload.cfg";
const char kLog[] = "upload.log";
const char kFault[] = "fault.txt";

void write_file(const char* name, const char* text) {
    FILE* const file = fopen(name, "w");
    if (!file)
        return;
    fputs(text, file);
    fclose(file);
}

// Fails in a way the compiler can't rule out: there is nothing to convert.
void convert(const int* source, int* target) {
    *target = *source;
}

void (*volatile work)(const int*, int*) = convert;

// The fault's pointers are at hand here, and the stack is as the fault left it.
void __cdecl translate_with_text(unsigned int code, EXCEPTION_POINTERS* pointers) {
    WriteFaultText(kFault, pointers);
    APISeTranslator(code, pointers);
}

void report() {
    try {
        CCrashReport2 report(nullptr);
        report.PostRequest(kConfig, nullptr, kLog, kFault);
        report.CreateScreenCopy();
        report.CreateSystemInfo();
        puts(report.OpenDlg() == 1 ? "uploaded" : "not uploaded");
    } catch (const gen::genlib_error&) {
        puts("no memory for a report");
    }
}

} // namespace

// What could not be sent when the program failed before goes now, without keeping anybody waiting.
DWORD WINAPI send_unsent(void*) {
    WendaxSendUnsent(nullptr);
    return 0;
}

int main() {
    WendaxCoverThread(translate_with_text);
    SetFaultValue("quality", "high");
    WendaxKeepUnsent(L"unsent"); // a program for users takes a folder of its own below their %LOCALAPPDATA%
    CloseHandle(CreateThread(nullptr, 0, send_unsent, nullptr, 0, nullptr));
    write_file(kConfig, "quality = high\n");
    write_file(kLog, "conversion started\n");
    AddFaultNote("converting the picture");
    try {
        int target;
        work(nullptr, &target);
    } catch (char*) {
        report();
    }
    return 0;
}
