// The unit that knows the classes by the public header. Prints a line for each difference and "compared N" at the end.
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#define private public
#include "wendax.h"
#undef private

#include "tests/package/layout.h"

#pragma clang diagnostic ignored "-Winvalid-offsetof"

const Field kPublicFields[kFieldCount] = {ALL_FIELDS};
char calls[64];

namespace {

class DerivedReport : public CCrashReport {
public:
    DerivedReport() : CCrashReport(nullptr) {}
    ~DerivedReport() override { strcat(calls, " destroyed"); }
    void GenerateEmail(int context, const char* product, const char*, const char* recipient) override {
        sprintf(calls, "%d %s %s", context, product, recipient);
    }
};

class DerivedReport2 : public CCrashReport2 {
public:
    DerivedReport2() : CCrashReport2(nullptr) {}
    ~DerivedReport2() override { strcat(calls, " destroyed"); }
    void PostRequest(const char* config, const char*, const char*, const char* file) override {
        sprintf(calls, "%s %s", config, file);
    }
};

void compare_calls(const char* expected) {
    if (strcmp(calls, expected) != 0)
        printf("DIFFERENT: \"%s\" instead of \"%s\"\n", calls, expected);
}

} // namespace

void* make_derived_report() {
    return static_cast<CCrashReport*>(new DerivedReport);
}

void* make_derived_report2() {
    return static_cast<CCrashReport2*>(new DerivedReport2);
}

int main() {
    int compared = 0;
    for (; compared < kFieldCount; ++compared) {
        const Field& ours = kPublicFields[compared];
        const Field& theirs = kLibraryFields[compared];
        if (strcmp(ours.name, theirs.name) != 0 || ours.offset != theirs.offset || ours.size != theirs.size)
            printf("DIFFERENT: %s at %u, %u bytes; in the library %s at %u, %u bytes\n", ours.name, ours.offset,
                   ours.size, theirs.name, theirs.offset, theirs.size);
    }
    use_report(make_derived_report());
    compare_calls("7 product recipient destroyed");
    use_report2(make_derived_report2());
    compare_calls("config file destroyed");
    printf("compared %d\n", compared);
    return 0;
}
