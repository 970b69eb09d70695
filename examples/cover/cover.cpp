// The smallest host of all: one call at its start, no try block. Whatever ends it, on any thread, becomes a report.
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
    WendaxCover();
    work(nullptr); // there is no room for the title: an access violation
    return 0;
}
