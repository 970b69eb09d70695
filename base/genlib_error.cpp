// The one place from which the containers throw.
#include "base/genlib_error.h"

namespace gen {

void throw_out_of_memory() {
    throw genlib_out_of_memory();
}

void throw_out_of_range(unsigned index, unsigned size) {
    throw genlib_out_of_range(index, size);
}

} // namespace gen
