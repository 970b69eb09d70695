// A host that drives the e-mail report through the class: no fault, no dialog.
//
// usage: report_host [OPTION]... CONTEXT PRODUCT SUBJECT RECIPIENT [ATTACHMENT...]; "-" for a null text
//
// --messages COUNT     makes so many of the one report
// --exception ADDRESS  makes the report of what is said to lie there
// --await FILE         begins when there is such a file
// --stopped-clock      gives the library the same number for each new temporary file, as if no time went by
// --full-disk          refuses to write the message, and all memory from then on
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/import_slot.h"
#include "testing/cxx/library_memory.h"

namespace {

const char* text(const char* argument) {
    return strcmp(argument, "-") == 0 ? nullptr : argument;
}

void wait_for_file(const char* path) {
    while (GetFileAttributesA(path) == INVALID_FILE_ATTRIBUTES)
        Sleep(1);
}

decltype(GetTempFileNameA)* name_temporary_file;

UINT WINAPI name_by_stopped_clock(const char* folder, const char* prefix, UINT number, char* path) {
    return name_temporary_file(folder, prefix, number ? number : 0x1234, path);
}

bool stop_clock() {
    name_temporary_file =
        replace_import(GetModuleHandleA("Wendax.dll"), "kernel32.dll", "GetTempFileNameA", name_by_stopped_clock);
    return name_temporary_file;
}

BOOL WINAPI refuse_writing(HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*) {
    LibraryMemory::exhausted = true;
    *written = 0;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

bool fill_disk() {
    return LibraryMemory::watch() &&
           replace_import(GetModuleHandleA("Wendax.dll"), "kernel32.dll", "WriteFile", refuse_writing);
}

} // namespace

int main(int argc, char** argv) {
    int messages = 1;
    CSeException* exception = nullptr;
    const char* start_signal = nullptr;
    for (; argc > 1 && strncmp(argv[1], "--", 2) == 0; --argc, ++argv) {
        const bool clock = strcmp(argv[1], "--stopped-clock") == 0;
        if (clock || strcmp(argv[1], "--full-disk") == 0) {
            if (!(clock ? stop_clock() : fill_disk()))
                return 2;
            continue;
        }
        if (argc < 3)
            return 2;
        if (strcmp(argv[1], "--messages") == 0)
            messages = atoi(argv[2]);
        else if (strcmp(argv[1], "--await") == 0)
            start_signal = argv[2];
        else
            exception = reinterpret_cast<CSeException*>(strtoul(argv[2], nullptr, 0));
        --argc, ++argv;
    }
    if (argc < 5)
        return 2;
    HCURSOR const cross = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_CROSS));
    SetCursor(cross);
    CCrashReport* const report = new CCrashReport(exception);
    for (int i = 5; i < argc; ++i)
        report->AddAttachment(argv[i]);
    if (start_signal)
        wait_for_file(start_signal);
    for (int i = 0; i < messages; ++i)
        report->GenerateEmail(atoi(argv[1]), text(argv[2]), text(argv[3]), text(argv[4]));
    delete report;
    printf("priority %d\n", GetThreadPriority(GetCurrentThread()));
    printf("cursor %s\n", GetCursor() == cross ? "restored" : "changed");
    puts("end");
    return 0;
}
