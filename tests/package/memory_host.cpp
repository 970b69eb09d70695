// Makes reports in every way that C++ knows and takes them away again; says whose memory they had, and whether it came
// back. Built once for each C runtime.
//
// usage: memory_host made | nested | exhausted
//   made       reports made by each form of new, by the library's operators and by the host's own
//   nested     a report is made while the dialog of another one waits, twice
//   exhausted  the library gets no memory: what each call does
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"
#include "testing/cxx/library_memory.h"
#include "testing/cxx/report_window.h"

namespace {

HANDLE runtime_heap() {
    auto* const handle = reinterpret_cast<intptr_t(__cdecl*)()>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(HOST_RUNTIME), "_get_heap_handle")));
    return handle ? reinterpret_cast<HANDLE>(handle()) : GetProcessHeap();
}

class OwnReport : public CCrashReport {
public:
    OwnReport() : CCrashReport(nullptr) {}

    char notes[500];
};

class OwnReport2 : public CCrashReport2 {
public:
    OwnReport2() : CCrashReport2(nullptr) {}
};

// heap: where the report may lie if not in the library's.
template <class Report, class Make>
void make_and_delete(const char* how, Make make, HANDLE heap = runtime_heap()) {
    const int before = LibraryMemory::blocks;
    Report* const report = make();
    const bool of_host = HeapValidate(heap, 0, report);
    const bool of_library = !of_host && LibraryMemory::blocks > before;
    delete report;
    const bool back = LibraryMemory::blocks == before && !HeapValidate(heap, 0, report) && (of_library || of_host);
    printf("%s: %s, %s\n", how,
           of_library ? "the library's"
           : of_host  ? "the host's"
                      : "nobody's",
           back ? "given back" : "kept");
}

// As hosts do that were built without the operators.
void make_by_other_means() {
    make_and_delete<CCrashReport>("foreign", [] { return ::new CCrashReport(nullptr); });
    make_and_delete<CCrashReport2>("foreign 2", [] { return ::new CCrashReport2(nullptr); });
    const auto in_process_heap = [] {
        return ::new (HeapAlloc(GetProcessHeap(), 0, sizeof(CCrashReport))) CCrashReport(nullptr);
    };
    make_and_delete<CCrashReport>("process heap", in_process_heap, GetProcessHeap());
    const auto at_start_of_pages = [] {
        return ::new (VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)) CCrashReport(nullptr);
    };
    make_and_delete<CCrashReport>("no heap", at_start_of_pages);
}

void make_each_way() {
    make_by_other_means();
    make_and_delete<CCrashReport>("new", [] { return new CCrashReport(nullptr); });
    make_and_delete<CCrashReport2>("new 2", [] { return new CCrashReport2(nullptr); });
    make_and_delete<CCrashReport>("derived", [] { return new OwnReport; });
    make_and_delete<CCrashReport2>("derived 2", [] { return new OwnReport2; });
    make_and_delete<CCrashReport>("nothrow", [] { return new (std::nothrow) OwnReport; });
    make_and_delete<CCrashReport2>("nothrow 2", [] { return new (std::nothrow) CCrashReport2(nullptr); });
    make_and_delete<CCrashReport>("debug", [] { return new (__FILE__, __LINE__) CCrashReport(nullptr); });

    void* place[sizeof(CCrashReport2) / sizeof(void*)];
    CCrashReport* const first = new (place) CCrashReport(nullptr);
    bool there = first == static_cast<void*>(place);
    first->~CCrashReport();
    CCrashReport2* const second = new (place) CCrashReport2(nullptr);
    there = there && second == static_cast<void*>(place);
    second->~CCrashReport2();
    printf("placement: %s\n", there ? "in its place" : "ELSEWHERE");
}

// A report within a report

HWND failing_window;

DWORD WINAPI fail_in_dialog(void*) {
    HWND const dialog = wait_for_report_window();
    CloseHandle(CreateThread(nullptr, 0, decline_second_report, dialog, 0, nullptr));
    SendMessageA(failing_window, WM_APP, 0, 0);
    press_button_of(dialog, 2);
    return 0;
}

LRESULT CALLBACK failing_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_APP)
        OpenCrushReport(nullptr);
    return DefWindowProcA(window, message, wparam, lparam);
}

void nest() {
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = failing_procedure;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "Failing";
    RegisterClassA(&window_class);
    failing_window = CreateWindowA("Failing", "", 0, 0, 0, 10, 10, nullptr, nullptr, window_class.hInstance, nullptr);
    int before = 0;
    for (int round = 0; round < 2; ++round) {
        before = LibraryMemory::blocks;
        HANDLE const other = CreateThread(nullptr, 0, fail_in_dialog, nullptr, 0, nullptr);
        OpenCrushReport(nullptr);
        WaitForSingleObject(other, INFINITE);
        CloseHandle(other);
    }
    printf("blocks kept: %d\n", LibraryMemory::blocks - before);
}

// No memory

template <class Call>
__attribute__((noinline)) void attempt(const char* what, Call call) {
    try {
        call();
        printf("%s: returned\n", what);
    } catch (const gen::genlib_out_of_memory&) {
        printf("%s: out of memory\n", what);
    }
}

// What README shows; a test compares the two.
__attribute__((noinline)) void upload() {
    try {
        CCrashReport2 report(nullptr);
        report.PostRequest("program.cfg", nullptr, "program.log", "fault.txt"); // files of yours, and what failed where
        report.CreateScreenCopy();
        report.CreateSystemInfo();
        report.OpenDlg();
    } catch (const gen::genlib_error&) {
        // memory is gone: no report
    }
}

void run_out_of_memory() {
    CCrashReport mail(nullptr);
    CCrashReport2 form(nullptr);
    LibraryMemory::exhausted = true;
    attempt("new", [] { delete new CCrashReport(nullptr); });
    attempt("derived", [] { delete new OwnReport2; });
    attempt("nothrow", [] {
        if (new (std::nothrow) CCrashReport(nullptr) || new (std::nothrow) OwnReport2)
            puts("THERE IS MEMORY");
    });
    attempt("AddAttachment", [&] { mail.AddAttachment("notes.txt"); });
    attempt("AttachScreenCopy", [&] { mail.AttachScreenCopy(); });
    attempt("GenerateEmail", [&] { mail.GenerateEmail(0, nullptr, nullptr, nullptr); });
    static char long_path[300];
    memset(long_path, 'x', sizeof long_path - 1);
    attempt("PostRequest", [&] { form.PostRequest(nullptr, nullptr, long_path, nullptr); });
    attempt("AddAttachment 2", [&] { form.AddAttachment("notes.txt"); });
    attempt("CreateScreenCopy", [&] { form.CreateScreenCopy(); });
    attempt("CreateSystemInfo", [&] { form.CreateSystemInfo(); });
    attempt("Upload", [&] { form.Upload(); });
    attempt("OpenCrushReport", [] { OpenCrushReport(WENDAX_MARKER); });
    attempt("README", upload);
    LibraryMemory::exhausted = false;
}

} // namespace

int main(int, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    if (!LibraryMemory::watch())
        return 2;
    WendaxCoverThread();
    if (strcmp(argv[1], "made") == 0)
        make_each_way();
    else if (strcmp(argv[1], "nested") == 0)
        nest();
    else
        run_out_of_memory();
    return 0;
}
