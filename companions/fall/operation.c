/* Every block that the running operation holds is in one list, so that leaving by longjmp can free them all. */
#include "companions/fall/operation.h"

#include <setjmp.h>
#include <stdlib.h>
#include <string.h>

const ModuleServices* host;
void* (*operation_realloc)(void* block, size_t bytes) = realloc;

/* Stands before every block; its size keeps the block as aligned as malloc's. */
typedef struct Block {
    struct Block *next, *previous;
    size_t bytes;
    size_t filler;
} Block;

static struct {
    jmp_buf exit;
    ResultCode code; /* what give_up() was given */
    Block* blocks;
    size_t held;
} operation;

static void free_all(void) {
    for (Block *block = operation.blocks, *next; block; block = next) {
        next = block->next;
        free(block);
    }
    operation.blocks = NULL;
    operation.held = 0;
}

ResultCode run_operation(void (*work)(void*), void* argument) {
    free_all(); /* what an operation held that ended in a fault, caught by the host */
    operation.code = RCOK;
    if (setjmp(operation.exit) == 0)
        work(argument);
    free_all();
    return operation.code;
}

void give_up(ResultCode code) {
    operation.code = code;
    longjmp(operation.exit, 1);
}

static void unlink_block(Block* block) {
    if (block->next)
        block->next->previous = block->previous;
    if (block->previous)
        block->previous->next = block->next;
    else
        operation.blocks = block->next;
    operation.held -= block->bytes;
}

static void link_block(Block* block, size_t bytes) {
    block->bytes = bytes;
    block->previous = NULL;
    block->next = operation.blocks;
    if (block->next)
        block->next->previous = block;
    operation.blocks = block;
    operation.held += bytes;
}

void* resize_memory(void* memory, size_t bytes) {
    Block* block = memory ? (Block*)memory - 1 : NULL;
    size_t held = operation.held - (block ? block->bytes : 0);
    size_t old_bytes = block ? block->bytes : 0;
    Block* moved;
    if (bytes > FALL_MAX_MEMORY || held > FALL_MAX_MEMORY - bytes)
        give_up(OMEM);
    if (block)
        unlink_block(block);
    /* Out of the list meanwhile: its neighbours would go on pointing to the place that it leaves. */
    moved = (Block*)operation_realloc(block, sizeof(Block) + bytes);
    if (!moved) {
        if (block)
            link_block(block, old_bytes);
        give_up(OMEM);
    }
    link_block(moved, bytes);
    if (bytes > old_bytes) /* a damaged file must not show what was in memory before */
        memset((char*)(moved + 1) + old_bytes, 0, bytes - old_bytes);
    return moved + 1;
}

void* take_memory(size_t bytes) {
    return resize_memory(NULL, bytes);
}

void free_memory(void* memory) {
    if (memory) {
        Block* block = (Block*)memory - 1;
        unlink_block(block);
        free(block);
    }
}

size_t memory_held(void) {
    return operation.held;
}
