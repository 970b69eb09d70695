#include <gtest/gtest.h>

#include "win/handle.h"

namespace {

struct CountedTraits {
    using Value = int;
    static int closed;
    static Value invalid() { return -1; }
    static void close(Value value) { closed = closed * 10 + value; }
};
int CountedTraits::closed = 0;
using Counted = win::UniqueHandle<CountedTraits>;

class Handle : public testing::Test {
protected:
    void SetUp() override { CountedTraits::closed = 0; }
};

TEST_F(Handle, Closes_once_at_its_end) {
    {
        Counted handle(3);
    }
    EXPECT_EQ(CountedTraits::closed, 3);
}

TEST_F(Handle, Invalid_value_is_never_closed) {
    {
        Counted handle;
        EXPECT_FALSE(handle);
    }
    EXPECT_EQ(CountedTraits::closed, 0);
}

TEST_F(Handle, Moved_handle_has_one_owner) {
    {
        Counted first(4);
        Counted second(static_cast<Counted&&>(first));
        EXPECT_FALSE(first);
        EXPECT_EQ(second.get(), 4);
        Counted third(5);
        third = static_cast<Counted&&>(second);
        EXPECT_EQ(CountedTraits::closed, 5);
    }
    EXPECT_EQ(CountedTraits::closed, 54);
}

TEST_F(Handle, Released_handle_is_the_callers) {
    {
        Counted handle(6);
        EXPECT_EQ(handle.release(), 6);
    }
    EXPECT_EQ(CountedTraits::closed, 0);
}

TEST_F(Handle, Put_closes_what_was_held) {
    Counted handle(7);
    *handle.put() = 8;
    EXPECT_EQ(CountedTraits::closed, 7);
    EXPECT_EQ(handle.get(), 8);
}

TEST(HandleKinds, Each_closes_what_it_holds) {
    win::RegistryKey key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE", 0, KEY_READ, key.put()), ERROR_SUCCESS);
    const HKEY opened = key.get();
    key.reset();
    EXPECT_NE(RegQueryInfoKeyA(opened, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr),
              ERROR_SUCCESS);

    ASSERT_EQ(GetModuleHandleA("winmm.dll"), nullptr);
    {
        const win::LibraryHandle owner(LoadLibraryA("winmm.dll"));
        EXPECT_TRUE(owner);
    }
    EXPECT_EQ(GetModuleHandleA("winmm.dll"), nullptr);
}

} // namespace
