// A host that sends its reports to a server: it writes its configuration and its log, fails, and uploads both. Build it
// with /EHa.
#include <stdio.h>
#include "wendax.h"

namespace {

const char kConfig[] = "upload.cfg";
const char kLog[] = "upload.log";

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

void report() {
    try {
        CCrashReport2 report(nullptr);
        report.PostRequest(kConfig, nullptr, kLog, nullptr);
        report.CreateScreenCopy();
        report.CreateSystemInfo();
        puts(report.OpenDlg() == 1 ? "uploaded" : "not uploaded");
    } catch (const gen::genlib_error&) {
        puts("no memory for a report");
    }
}

} // namespace

int main() {
    WendaxCoverThread();
    write_file(kConfig, "quality = high\n");
    write_file(kLog, "conversion started\n");
    try {
        int target;
        work(nullptr, &target);
    } catch (char*) {
        report();
    }
    return 0;
}
