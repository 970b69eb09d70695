// A console program of the Microsoft ABI.
#include "kit_host.h"

namespace {

int* volatile sheet;

void add_figures() {
    *sheet = 1; // fails
}

void (*volatile work)() = add_figures;

} // namespace

int main(int argc, char** /*argv*/) {
    cover(argc > 1);
    work();
    return 0;
}
