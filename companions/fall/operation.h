/* One call of an entry of this module: its memory, and the way out of the codec when it must end early.
 *
 * The codec's own answers to a failed allocation or a failed write are uneven, so it never sees one: give_up() leaves
 * it at once, and all memory that was taken since the call began is freed, also what the codec would have forgotten.
 * That is safe because everything in between is C without other resources. One operation runs at a time, as the module
 * contract promises. */
#ifndef FALL_OPERATION_H
#define FALL_OPERATION_H

#include <stddef.h>

#include "glib/module_contract.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
using namespace glib;
#endif

/* Memory that one operation may hold at a time, in bytes; the pages of the document are not counted. It bounds what a
 * hostile file can make the module take. Beyond it an operation ends with OMEM. */
#define FALL_MAX_MEMORY 0x20000000u

/* What the host lends; set by GetFilterInfo before any other entry is called. */
extern const ModuleServices* host;

/* realloc, unless a test puts an unreliable one in its place. */
extern void* (*operation_realloc)(void* block, size_t bytes);

/* Runs work(argument) to its end (RCOK), or to its give_up(), whose code it answers. */
ResultCode run_operation(void (*work)(void*), void* argument);

/* The rest may be called in a running operation only. */
__attribute__((noreturn)) void give_up(ResultCode code);

/* As malloc, realloc and free, but they never answer null, and new bytes are 0: what a decoder fails to fill must not
 * show what the memory held before. */
__attribute__((returns_nonnull)) void* take_memory(size_t bytes);
__attribute__((returns_nonnull)) void* resize_memory(void* block, size_t bytes);
void free_memory(void* block);

/* The bytes held now. */
size_t memory_held(void);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
