// The compiler puts a pointer to each static initialiser into the section .CRT$XCU; the linker sorts the sections of
// one group by the letters after the dollar sign, so these two marks enclose all of them.
#include "crt/initializers.h"

typedef void (*Initializer)();

__attribute__((section(".CRT$XCA"), used)) static const Initializer first_initializer = nullptr;
__attribute__((section(".CRT$XCZ"), used)) static const Initializer last_initializer = nullptr;

namespace crt {

void run_initializers() {
    // The marks are variables of their own to the compiler, so the pointer is hidden from its bounds reasoning.
    const Initializer* entry = &first_initializer;
    const Initializer* end = &last_initializer;
    __asm__ volatile("" : "+r"(entry), "+r"(end));
    for (; entry != end; ++entry)
        if (*entry)
            (*entry)();
}

} // namespace crt
