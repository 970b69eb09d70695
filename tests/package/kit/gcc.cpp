// A program of GCC, with its C++ library.
#include <vector>

#include "kit_host.h"

namespace {

void close_line(std::vector<int>* drawing) {
    int* const first = drawing->data();
    *first = 1; // fails
}

void (*volatile work)(std::vector<int>*) = close_line;

} // namespace

int main(int argc, char** /*argv*/) {
    cover(argc > 1);
    std::vector<int> drawing;
    work(&drawing);
    return 0;
}
