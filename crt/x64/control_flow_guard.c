/* What checks the target of an indirect call, and what checks and calls it: both without a check, until a loader that
 * enforces control-flow guard puts its own into the pointers. Every register stays. */

/* The target is in rcx. */
static void unchecked(void) {}

/* The target is in rax, and the stack is as the target wants it. */
__attribute__((naked)) static void dispatch_unchecked(void) {
    __asm__("jmpq *%rax");
}

/* In the section that the loader makes writable for that moment alone. */
// NOLINTBEGIN(readability-identifier-naming)
__attribute__((section(".00cfg"))) void (*const __guard_check_icall_fptr)(void) = unchecked;
__attribute__((section(".00cfg"))) void (*const __guard_dispatch_icall_fptr)(void) = dispatch_unchecked;
// NOLINTEND(readability-identifier-naming)
