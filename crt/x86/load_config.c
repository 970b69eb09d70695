/* The load configuration record of the image. Without it the linker marks the image as one that has no exception
 * handlers, and Windows would not run ours. The linker fills in the table of handlers and those of control-flow guard.
 */

#include "crt/load_config.h"

extern void* __safe_se_handler_table[];
extern unsigned char __safe_se_handler_count;
extern unsigned long __security_cookie;

typedef struct LoadConfig {
    unsigned long size, time_stamp;
    unsigned short major_version, minor_version;
    unsigned long global_flags_clear, global_flags_set, critical_section_timeout;
    unsigned long decommit_free_block, decommit_total_free;
    unsigned long lock_prefix_table, maximum_allocation, virtual_memory_threshold;
    unsigned long process_heap_flags, process_affinity;
    unsigned short service_pack, dependent_load_flags;
    unsigned long edit_list;
    unsigned long* security_cookie;
    void** handler_table;
    void* handler_count;
    void (*const* guard_check)(void);
    void* guard_dispatch;
    GuardTables guard;
} LoadConfig;

_Static_assert(sizeof(LoadConfig) == 0x78, "the record's layout is the loader's");

/* The linker looks for this very name. */
// NOLINTNEXTLINE(readability-identifier-naming)
const LoadConfig _load_config_used = {
    .size = sizeof(LoadConfig),
    .security_cookie = &__security_cookie,
    .handler_table = __safe_se_handler_table,
    .handler_count = &__safe_se_handler_count,
    .guard_check = &__guard_check_icall_fptr,
    .guard = GUARD_TABLES,
};

/* Code that uses floating point refers to this name; its value means nothing to anyone. */
int _fltused = 0x9875;
