// A program that lies in a folder whose name no ANSI code page has.
#include "kit_host.h"

namespace {

volatile int names = 0, blank = 1;

int count_per_name(int letters) {
    const int written = letters - blank;
    return written / names; // fails
}

int (*volatile work)(int) = count_per_name;

} // namespace

int main(int argc, char** /*argv*/) {
    cover(argc > 1);
    return work(argc) + 1;
}
