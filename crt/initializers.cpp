// The compiler puts a pointer to each static initialiser into the section .CRT$XCU; the linker sorts the sections of
// one group by the letters after the dollar sign, so these two marks enclose all of them.
#include "crt/startup.h"

typedef void (*Initializer)();

__attribute__((section(".CRT$XCA"), used)) static const Initializer kFirstInitializer = nullptr;
__attribute__((section(".CRT$XCZ"), used)) static const Initializer kLastInitializer = nullptr;

namespace crt {

void run_initializers() {
    // The marks are variables of their own to the compiler, so the pointer is hidden from its bounds reasoning.
    const Initializer* entry = &kFirstInitializer;
    const Initializer* end = &kLastInitializer;
    __asm__ volatile("" : "+r"(entry), "+r"(end));
    for (; entry != end; ++entry)
        if (*entry)
            (*entry)();
}

} // namespace crt
