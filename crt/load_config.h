/* What the load configuration records of both widths have in common: the tables of control-flow guard, which the linker
 * fills in, and the names that the compiler calls through. For C. */
#pragma once

// The compiler calls through these very names; the second one in 64-bit code.
// NOLINTBEGIN(readability-identifier-naming)
extern void (*const __guard_check_icall_fptr)(void);
extern void (*const __guard_dispatch_icall_fptr)(void);
// NOLINTEND(readability-identifier-naming)

extern void* __guard_fids_table[];
extern unsigned char __guard_fids_count;
extern void* __guard_iat_table[];
extern unsigned char __guard_iat_count;
extern void* __guard_longjmp_table[];
extern unsigned char __guard_longjmp_count;

enum { GUARD_INSTRUMENTED = 0x100, GUARD_FUNCTIONS_LISTED = 0x400, GUARD_JUMPS_LISTED = 0x10000 };

/* The part of the record that lists where pointers, imports and jumps may lead. */
typedef struct GuardTables {
    void** functions;
    void* function_count;
    unsigned long flags;
    unsigned long code_integrity[3];
    void** imports;
    void* import_count;
    void** jumps;
    void* jump_count;
} GuardTables;

#define GUARD_TABLES                                                                                                   \
    {                                                                                                                  \
        .functions = __guard_fids_table,                                                                               \
        .function_count = &__guard_fids_count,                                                                         \
        .flags = GUARD_INSTRUMENTED | GUARD_FUNCTIONS_LISTED | GUARD_JUMPS_LISTED,                                     \
        .imports = __guard_iat_table,                                                                                  \
        .import_count = &__guard_iat_count,                                                                            \
        .jumps = __guard_longjmp_table,                                                                                \
        .jump_count = &__guard_longjmp_count,                                                                          \
    }
