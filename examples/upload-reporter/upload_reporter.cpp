// A DLL with a reporter that uploads: for hosts of compilers and languages that can't drive the classes themselves.
// They declare the function, and call
//
//     WendaxCover();
//     WendaxCoverProcess(upload_fault, 0);
#include <windows.h>

#include "faultkit.h"
#include "wendax.h"

extern "C" __declspec(dllexport) void __cdecl upload_fault(EXCEPTION_POINTERS* pointers, void* /*context*/) {
    char folder[MAX_PATH] = "", text[MAX_PATH] = "";
    GetTempPathA(sizeof folder, folder);
    if (GetTempFileNameA(folder, "upl", 0, text))
        WriteFaultText(text, pointers); // what failed where, while the fault is good
    try {
        CCrashReport2 report(nullptr);
        report.PostRequest(nullptr, nullptr, nullptr, text);
        report.CreateSystemInfo();
        report.OpenDlg();
    } catch (const gen::genlib_error&) {
        // memory is gone: no report
    }
    DeleteFileA(text);
}

// Some toolchains want one.
BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD /*reason*/, LPVOID /*reserved*/) {
    return TRUE;
}
