// What fuzz targets and the models that they share ask of the tested code.
#pragma once

#include <cstdlib>

// Ends the program, which a fuzzer takes for a finding, unless it holds.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}
