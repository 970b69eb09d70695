// What the processor offers and the operating system supports.
#pragma once

namespace kobrtl {

struct Processor {
    bool sse2;
    bool avx2_and_fma;
};

const Processor& processor(); // found out at the first call

} // namespace kobrtl
