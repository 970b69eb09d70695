/* The load configuration record of the image: where the linker puts from which folders its imports may come. Handlers
 * of exceptions are found by the unwind data instead. */

unsigned long long __security_cookie = 0x00002B992DDFA232;

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
} LoadConfig;

_Static_assert(sizeof(LoadConfig) == 0x70, "the record's layout is the loader's");

/* The linker looks for this very name. */
// NOLINTNEXTLINE(readability-identifier-naming)
const LoadConfig _load_config_used = {
    .size = sizeof(LoadConfig),
    .security_cookie = &__security_cookie,
};

/* Code that uses floating point refers to this name; its value means nothing to anyone. */
int _fltused = 0x9875;
