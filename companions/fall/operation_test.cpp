#include "companions/fall/operation.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>

namespace {

using namespace fall;

glib::ResultCode run(void (*work)(void*), void* argument = nullptr) {
    return run_operation(work, argument);
}

TEST(Operation, Ends_well) {
    int seen = 0;
    EXPECT_EQ(run([](void* argument) { *static_cast<int*>(argument) = 7; }, &seen), glib::RCOK);
    EXPECT_EQ(seen, 7);
}

TEST(Operation, Is_left_at_once_with_a_code) {
    static bool went_on;
    went_on = false;
    EXPECT_EQ(run([](void*) {
                  give_up(glib::USRA);
                  went_on = true;
              }),
              glib::USRA);
    EXPECT_FALSE(went_on);
}

// AddressSanitizer finds what is not freed.
TEST(Operation, Frees_what_was_forgotten) {
    EXPECT_EQ(run([](void*) {
                  std::memset(take_memory(100), 1, 100);
                  free_memory(take_memory(200));
                  void* block = take_memory(300);
                  take_memory(400);
                  free_memory(block);
                  EXPECT_EQ(memory_held(), 500u);
              }),
              glib::RCOK);
    EXPECT_EQ(memory_held(), 0u);
    EXPECT_EQ(run([](void*) {
                  take_memory(100);
                  give_up(glib::BADI);
              }),
              glib::BADI);
    EXPECT_EQ(memory_held(), 0u);
}

// A fault ends in a handler of the host, past the operation's end.
TEST(Operation, Begins_without_what_one_held_that_ended_in_a_fault) {
    static std::jmp_buf handler;
    if (setjmp(handler) == 0) {
        run([](void*) {
            take_memory(100);
            std::longjmp(handler, 1);
        });
    }
    EXPECT_EQ(memory_held(), 100u);
    EXPECT_EQ(run([](void*) { EXPECT_EQ(memory_held(), 0u); }), glib::RCOK);
}

TEST(Operation, Keeps_what_a_resized_block_holds) {
    EXPECT_EQ(run([](void*) {
                  char* block = static_cast<char*>(take_memory(4));
                  std::memcpy(block, "abc", 4);
                  take_memory(50);
                  block = static_cast<char*>(resize_memory(block, 100000));
                  EXPECT_STREQ(block, "abc");
                  EXPECT_EQ(memory_held(), 100050u);
                  block = static_cast<char*>(resize_memory(block, 4));
                  EXPECT_STREQ(block, "abc");
                  EXPECT_EQ(memory_held(), 54u);
                  free_memory(nullptr);
              }),
              glib::RCOK);
}

TEST(Operation, Holds_no_more_than_its_bound) {
    operation_realloc = [](void*, std::size_t) -> void* {
        ADD_FAILURE() << "memory was asked for";
        return nullptr;
    };
    EXPECT_EQ(run([](void*) { take_memory(FALL_MAX_MEMORY + 1u); }), glib::OMEM);
    EXPECT_EQ(run([](void*) { take_memory(SIZE_MAX); }), glib::OMEM);
    operation_realloc = std::realloc;
    EXPECT_EQ(run([](void*) {
                  take_memory(1000);
                  take_memory(FALL_MAX_MEMORY - 999u);
              }),
              glib::OMEM);
    EXPECT_EQ(memory_held(), 0u);
}

TEST(Operation, Frees_a_block_that_could_not_be_resized) {
    EXPECT_EQ(run([](void*) {
                  void* block = take_memory(10);
                  operation_realloc = [](void*, std::size_t) -> void* { return nullptr; };
                  resize_memory(block, 20);
              }),
              glib::OMEM);
    operation_realloc = std::realloc;
    EXPECT_EQ(memory_held(), 0u);
}

} // namespace
