// A row of string operations against the standard string as the model; it ends the program at the first difference.
#include "testing/cxx/string_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    run_string_operations(data, size);
    return 0;
}
