// The smallest host: it covers its thread, fails, and makes a report. Build it with /EHa.
#include <string.h>
#include "wendax.h"

namespace {

// A call that might fail in a way the compiler can't rule out.
void copy_title(char* to) {
    strcpy(to, "Quarterly figures");
}

void (*volatile work)(char*) = copy_title;

} // namespace

int main() {
    WendaxCoverThread();
    try {
        work(nullptr); // there is no room for the title: an access violation
    } catch (char* marker) {
        OpenCrushReport(marker);
    }
    return 0;
}
