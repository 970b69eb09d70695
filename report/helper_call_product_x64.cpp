// There is one calling convention, and in it the caller removes the arguments, which are in registers anyway.
#include "report/fault_helper.h"

const char* report::call_helper(FARPROC entry, uintptr_t first, uintptr_t second) {
    using Entry = const char* (*)(uintptr_t first, uintptr_t second);
    return reinterpret_cast<Entry>(reinterpret_cast<uintptr_t>(entry))(first, second);
}
