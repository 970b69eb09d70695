// The unit that knows the classes by the library's own headers.
#include <stddef.h>

// The members are private.
#define private public
#include "report/crash_report.h"
#include "report/crash_report2.h"
#undef private

#include "tests/package/layout.h"

#pragma clang diagnostic ignored "-Winvalid-offsetof"

const Field kLibraryFields[kFieldCount] = {ALL_FIELDS};

void use_report(void* report) {
    CCrashReport* const object = static_cast<CCrashReport*>(report);
    object->GenerateEmail(7, "product", "subject", "recipient");
    delete object;
}

void use_report2(void* report) {
    CCrashReport2* const object = static_cast<CCrashReport2*>(report);
    object->PostRequest("config", "script", "log", "file");
    delete object;
}
