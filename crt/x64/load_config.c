/* The load configuration record of the image: from which folders its imports may come, and the tables of control-flow
 * guard, which the linker fills in. Handlers of exceptions are found by the unwind data instead. */

#include "crt/load_config.h"

extern unsigned long long __security_cookie;

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
    void (*const* guard_check)(void);
    void (*const* guard_dispatch)(void);
    GuardTables guard;
} LoadConfig;

_Static_assert(sizeof(LoadConfig) == 0xC0, "the record's layout is the loader's");

/* The linker looks for this very name. */
// NOLINTNEXTLINE(readability-identifier-naming)
const LoadConfig _load_config_used = {
    .size = sizeof(LoadConfig),
    .security_cookie = &__security_cookie,
    .guard_check = &__guard_check_icall_fptr,
    .guard_dispatch = &__guard_dispatch_icall_fptr,
    .guard = GUARD_TABLES,
};

/* Code that uses floating point refers to this name; its value means nothing to anyone. */
int _fltused = 0x9875;
