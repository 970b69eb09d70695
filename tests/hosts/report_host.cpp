// A host that drives the e-mail report through the class: no fault, no dialog.
//
// usage: report_host [--twice] [--exception ADDRESS] CONTEXT PRODUCT SUBJECT RECIPIENT [ATTACHMENT...]; "-" for a null
// text. --twice makes two messages of the one report; --exception makes the report of what is said to lie there.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"

namespace {

// Hosts may derive from the class: the call goes through the library's slot.
class HostReport : public CCrashReport {
public:
    explicit HostReport(CSeException* exception) : CCrashReport(exception) {}
    void GenerateEmail(int context, const char* product, const char* subject, const char* recipient) override {
        printf("context %d\n", context);
        CCrashReport::GenerateEmail(context, product, subject, recipient);
    }
};

const char* text(const char* argument) {
    return strcmp(argument, "-") == 0 ? nullptr : argument;
}

} // namespace

int main(int argc, char** argv) {
    int messages = 1;
    CSeException* exception = nullptr;
    for (; argc > 1 && strncmp(argv[1], "--", 2) == 0; --argc, ++argv) {
        if (strcmp(argv[1], "--twice") == 0) {
            messages = 2;
        } else if (argc > 2) {
            exception = reinterpret_cast<CSeException*>(strtoul(argv[2], nullptr, 0));
            --argc, ++argv;
        }
    }
    if (argc < 5)
        return 2;
    HCURSOR const cross = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_CROSS));
    SetCursor(cross);
    CCrashReport* const report = new HostReport(exception);
    for (int i = 5; i < argc; ++i)
        report->AddAttachment(argv[i]);
    for (int i = 0; i < messages; ++i)
        report->GenerateEmail(atoi(argv[1]), text(argv[2]), text(argv[3]), text(argv[4]));
    delete report;
    printf("priority %d\n", GetThreadPriority(GetCurrentThread()));
    printf("cursor %s\n", GetCursor() == cross ? "restored" : "changed");
    puts("end");
    return 0;
}
