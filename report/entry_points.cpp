// The five functions that a host calls by name.
#include "report/entry_points.h"

#include <string.h>
#include <afxwin.h>

#include "report/crash_report.h"
#include "report/translator.h"

namespace {

char attachment_path[1024 + 1]; // the last byte stays NUL, so that a path without terminator ends
int screen_copy_flag;

bool attachment_exists() {
    CFileFind finder;
    return finder.FindFile(attachment_path) != FALSE;
}

// Deletes the report through its virtual destructor.
struct ReportOwner {
    CCrashReport* report;
    ~ReportOwner() { delete report; }
};

void make_report(const char* marker) {
    const bool of_fault = marker && strcmp(marker, exception_marker) == 0;
    ReportOwner owner = {new (std::nothrow) CCrashReport(of_fault ? last_translated_exception : nullptr)};
    if (!owner.report)
        return;
    if (screen_copy_flag)
        owner.report->AttachScreenCopy();
    if (owner.report->OpenDlg() != 1)
        return;
    if (attachment_exists())
        owner.report->AddAttachment(attachment_path);
    owner.report->GenerateEmail(0, nullptr, nullptr, nullptr);
}

} // namespace

extern "C" _se_translator_function __cdecl InitCrushReport() {
    return _set_se_translator(APISeTranslator);
}

extern "C" void __cdecl OpenCrushReport(const char* marker) {
    try {
        make_report(marker);
    } catch (const gen::genlib_error&) {
        // Memory is gone: there is no report, and the host goes on. A fault's marker passes through to the host.
    }
}

extern "C" char* __cdecl SetAttachment(const char* path) {
    // Kept: a path of 1024 bytes or more has no terminator.
    return strncpy(attachment_path, path ? path : "", sizeof(attachment_path) - 1);
}

extern "C" int __cdecl SetCreateScreenCopy(int flag) {
    screen_copy_flag = flag;
    return flag;
}
