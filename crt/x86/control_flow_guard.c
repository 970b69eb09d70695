/* What checks the target of an indirect call: nothing, until a loader that enforces control-flow guard puts its own
 * check into the pointer. The target is in ecx, and every register stays. */

static void unchecked(void) {}

/* In the section that the loader makes writable for that moment alone. */
// NOLINTBEGIN(readability-identifier-naming)
__attribute__((section(".00cfg"))) void (*const __guard_check_icall_fptr)(void) = unchecked;
// NOLINTEND(readability-identifier-naming)
