// A host that drives the e-mail report through the class: no fault, no dialog.
//
// usage: report_host CONTEXT PRODUCT SUBJECT RECIPIENT [ATTACHMENT...]; "-" for a null text
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"

namespace {

// Hosts may derive from the class: the call goes through the library's slot.
class HostReport : public CCrashReport {
public:
    HostReport() : CCrashReport(nullptr) {}
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
    if (argc < 5)
        return 2;
    CCrashReport* const report = new HostReport;
    for (int i = 5; i < argc; ++i)
        report->AddAttachment(argv[i]);
    report->GenerateEmail(atoi(argv[1]), text(argv[2]), text(argv[3]), text(argv[4]));
    delete report;
    puts("end");
    return 0;
}
