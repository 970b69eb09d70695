// The table is sorted by address: twelve bytes for each part of a function.
#include "companions/faultkit/walk/x64/unwind.h"

namespace faultkit {

bool find_function(Memory& memory, const Image& image, Address address, FunctionEntry* function) {
    constexpr uint32_t kFunctionTable = 3, kIndirect = 1;
    const Directory table = find_directory(memory, image, kFunctionTable);
    const uint32_t offset = static_cast<uint32_t>(address - image.base);
    uint32_t low = 0, high = table.size / sizeof *function;
    while (low < high) {
        const uint32_t middle = low + (high - low) / 2;
        if (!memory.read(image.base + table.offset + middle * sizeof *function, function, sizeof *function))
            return false;
        if (offset < function->begin)
            high = middle;
        else if (offset >= function->end)
            low = middle + 1;
        // An entry may refer to another one in place of unwind data.
        else if (function->unwind & kIndirect)
            return image.contains(function->unwind - kIndirect, sizeof *function) &&
                   memory.read(image.base + function->unwind - kIndirect, function, sizeof *function);
        else
            return true;
    }
    return false;
}

} // namespace faultkit
