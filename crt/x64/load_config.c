/* The load configuration record of the image: from which folders its imports may come, and the tables of control-flow
 * guard, which the linker fills in. Handlers of exceptions are found by the unwind data instead. */

extern void* __guard_fids_table[];
extern unsigned char __guard_fids_count;
extern void* __guard_iat_table[];
extern unsigned char __guard_iat_count;
extern void* __guard_longjmp_table[];
extern unsigned char __guard_longjmp_count;
extern unsigned long long __security_cookie;
/* The compiler calls through these very names. */
// NOLINTBEGIN(readability-identifier-naming)
extern void (*const __guard_check_icall_fptr)(void);
extern void (*const __guard_dispatch_icall_fptr)(void);
// NOLINTEND(readability-identifier-naming)

typedef struct LoadConfig {
    unsigned long size, time_stamp;
    unsigned short major_version, minor_version;
    unsigned long global_flags_clear, global_flags_set, critical_section_timeout;
    unsigned long long decommit_free_block, decommit_total_free;
    unsigned long long lock_prefix_table, maximum_allocation, virtual_memory_threshold;
    unsigned long long process_affinity;
    unsigned long process_heap_flags;
    unsigned short service_pack, dependent_load_flags;
    unsigned long long edit_list;
    unsigned long long* security_cookie;
    unsigned long long handler_table, handler_count;
    const void* guard_check;
    const void* guard_dispatch;
    void** guard_functions;
    void* guard_function_count;
    unsigned long guard_flags;
    unsigned long code_integrity[3];
    void** guard_imports;
    void* guard_import_count;
    void** guard_jumps;
    void* guard_jump_count;
} LoadConfig;

_Static_assert(sizeof(LoadConfig) == 0xC0, "the record's layout is the loader's");

enum { GUARD_INSTRUMENTED = 0x100, GUARD_FUNCTIONS_LISTED = 0x400, GUARD_JUMPS_LISTED = 0x10000 };

/* The linker looks for this very name. */
// NOLINTNEXTLINE(readability-identifier-naming)
const LoadConfig _load_config_used = {
    .size = sizeof(LoadConfig),
    .security_cookie = &__security_cookie,
    .guard_check = &__guard_check_icall_fptr,
    .guard_dispatch = &__guard_dispatch_icall_fptr,
    .guard_functions = __guard_fids_table,
    .guard_function_count = &__guard_fids_count,
    .guard_flags = GUARD_INSTRUMENTED | GUARD_FUNCTIONS_LISTED | GUARD_JUMPS_LISTED,
    .guard_imports = __guard_iat_table,
    .guard_import_count = &__guard_iat_count,
    .guard_jumps = __guard_longjmp_table,
    .guard_jump_count = &__guard_longjmp_count,
};

/* Code that uses floating point refers to this name; its value means nothing to anyone. */
int _fltused = 0x9875;
