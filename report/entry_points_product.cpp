// The functions that a host calls by name; WendaxCoverProcess is in process_cover_win.cpp.
#include "include/wendax.h"

#include <string.h>
#include <afxwin.h>

#include "base/floating_point_scope.h"
#include "base/owner.h"
#include "report/se_exception.h"
#include "win/guard.h"

namespace {

char attachment_path[1024 + 1]; // the last byte stays NUL
int screen_copy_flag;

bool attachment_exists() {
    CFileFind finder;
    return finder.FindFile(attachment_path) != FALSE;
}

void attach_screen_copy(CCrashReport& report) {
    try {
        report.AttachScreenCopy();
    } catch (const gen::genlib_error&) {
        // A picture takes more memory than the rest of the report, which is made without it.
    }
}

// Tells in `answer` what the dialog answered, as soon as it has.
void make_report(CSeException* exception, unsigned& answer) {
    const gen::Owner<CCrashReport> report(new (std::nothrow) CCrashReport(exception));
    if (!report)
        return;
    if (screen_copy_flag)
        attach_screen_copy(*report);
    answer = report->OpenDlg();
    if (answer != 1)
        return;
    if (attachment_exists())
        report->AddAttachment(attachment_path);
    report->GenerateEmail(0, nullptr, nullptr, nullptr);
}

} // namespace

extern "C" _se_translator_function __cdecl InitCrushReport() {
    return _set_se_translator(APISeTranslator);
}

extern "C" void __cdecl OpenCrushReport(const char* marker) {
    gen::call_with_own_floating_point([marker] {
        unsigned answer;
        try {
            const bool of_fault = marker && strcmp(marker, kExceptionMarker) == 0;
            make_report(of_fault ? last_translated_exception : nullptr, answer);
        } catch (const gen::genlib_error&) {
            // Memory is gone: there is no report, and the host goes on. A fault's marker passes through to the host.
        }
    });
}

extern "C" int __cdecl WendaxReportFault(EXCEPTION_POINTERS* pointers) {
    unsigned answer = 0;
    win::run_guarded(win::kSwallowAll, [&] {
        gen::call_with_own_floating_point([&] {
            if (!pointers)
                return make_report(nullptr, answer);
            CSeException fault(pointers->ExceptionRecord->ExceptionCode, pointers);
            make_report(&fault, answer);
        });
    });
    return static_cast<int>(answer);
}

extern "C" char* __cdecl SetAttachment(const char* path) {
    // Kept: 1024 bytes and no terminator among them; only the byte behind ends a longer path.
    return strncpy(attachment_path, path ? path : "", sizeof(attachment_path) - 1);
}

extern "C" int __cdecl SetCreateScreenCopy(int flag) {
    screen_copy_flag = flag;
    return flag;
}
