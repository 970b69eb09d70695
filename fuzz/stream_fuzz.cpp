// A row of operations on a memory stream; it ends the program where a string that keeps the same bytes differs.
#include "testing/cxx/stream_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    stream_model::run(data, size);
    return 0;
}
