// bench_report box|dialog|screenshot [ATTACHMENT]: a window's program that faults. Prints the milliseconds from the
// fault to a visible box of the host's own, or to the report's dialog; for a report also those from the answer "Open
// Error Report" to the finished message, those that writing the message's bytes alone takes, and the bytes.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bench/measure.h"
#include "include/wendax.h"

namespace {

constexpr double kLimit = 60000; // milliseconds to wait for anything

const char* title = "Software Error Report";
char pattern[MAX_PATH]; // of the messages in the temporary folder
char folder[MAX_PATH];
WIN32_FIND_DATAA message;
double visible, answered, written;

bool message_there() {
    const HANDLE found = FindFirstFileA(pattern, &message);
    if (found == INVALID_HANDLE_VALUE)
        return false;
    FindClose(found);
    return message.nFileSizeLow > 0;
}

DWORD WINAPI watch(void* report) {
    HWND dialog = nullptr;
    for (const double start = bench::now(); bench::now() - start < kLimit; Sleep(1)) {
        dialog = FindWindowA("#32770", title);
        if (dialog && IsWindowVisible(dialog))
            break;
    }
    visible = bench::now();
    Sleep(300); // let the window system come to rest
    answered = bench::now();
    PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    if (report) {
        Sleep(50); // the least that a report takes; looking for the message delays it
        while (!message_there() && bench::now() - answered < kLimit)
            Sleep(1);
    }
    written = bench::now();
    return 0;
}

void fault() {
    volatile int* null = nullptr;
    *null = 1;
}
void (*volatile faulting)() = fault;

// A host has a window when it faults.
void show_window() {
    ShowWindow(
        CreateWindowA("Static", "Host", WS_OVERLAPPEDWINDOW, 20, 20, 300, 200, nullptr, nullptr, nullptr, nullptr),
        SW_SHOW);
    MSG next;
    for (const double start = bench::now(); bench::now() - start < 300; Sleep(1))
        while (PeekMessageA(&next, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageA(&next);
}

// What no screenshot can do without.
void copy_screen() {
    const int width = GetSystemMetrics(SM_CXSCREEN), height = GetSystemMetrics(SM_CYSCREEN);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    void* bits;
    const HDC display = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    const HDC memory = CreateCompatibleDC(display);
    const HBITMAP section = CreateDIBSection(display, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    SelectObject(memory, section);
    BitBlt(memory, 0, 0, width, height, display, 0, 0, SRCCOPY);
    DeleteDC(memory);
    DeleteObject(section);
    DeleteDC(display);
}

// The message again, into another file: what can't be avoided.
double write_alone() {
    char path[MAX_PATH * 2];
    snprintf(path, sizeof path, "%s%s", folder, message.cFileName);
    FILE* const file = fopen(path, "rb");
    char* const bytes = static_cast<char*>(malloc(message.nFileSizeLow));
    const bool whole =
        file && bytes && fread(bytes, 1, message.nFileSizeLow, file) == message.nFileSizeLow && fgetc(file) == EOF;
    if (file)
        fclose(file);
    strcat(path, ".copy");
    const double start = bench::now();
    const HANDLE copy = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD count = 0;
    WriteFile(copy, bytes, message.nFileSizeLow, &count, nullptr);
    CloseHandle(copy);
    const double took = bench::now() - start;
    free(bytes);
    return whole && count == message.nFileSizeLow ? took : -1;
}

} // namespace

int main(int argc, char** argv) {
    const bool grab = argc > 1 && strcmp(argv[1], "grab") == 0;
    const bool box = grab || (argc > 1 && strcmp(argv[1], "box") == 0);
    GetTempPathA(sizeof folder, folder);
    snprintf(pattern, sizeof pattern, "%s*.eml", folder);
    InitCrushReport();
    SetCreateScreenCopy(argc > 1 && strcmp(argv[1], "screenshot") == 0);
    if (argc > 2)
        SetAttachment(argv[2]);
    if (box)
        title = "Box";
    show_window();
    const HANDLE watcher = CreateThread(nullptr, 0, watch, box ? nullptr : pattern, 0, nullptr);
    volatile double start = 0;
    try {
        start = bench::now();
        faulting();
    } catch (char* marker) {
        if (grab)
            copy_screen();
        if (box)
            MessageBoxA(nullptr, "The program has encountered a problem.", title, MB_OK);
        else
            OpenCrushReport(marker);
    }
    WaitForSingleObject(watcher, INFINITE);
    printf("%f\n", visible - start);
    if (!box)
        printf("%f\n%f\n%lu\n", written - answered, write_alone(), message.nFileSizeLow);
    return 0;
}
