#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"

namespace {

using faultkit::FakeProcess;
using faultkit::ModuleTable;

// Modules that are no more, in a table of nothing else.
struct UnloadedModules : testing::Test {
    UnloadedModules() { modules.clear(); }

    ModuleTable modules;
};

// The table of a process with one module.
struct LoadedModules : testing::Test {
    FakeProcess process;
    ModuleTable& modules = process.modules;
};

TEST_F(LoadedModules, Are_found_by_each_of_their_addresses_and_no_other) {
    EXPECT_EQ(modules.find(FakeProcess::kModule - 1), nullptr);
    ASSERT_NE(modules.find(FakeProcess::kModule), nullptr);
    EXPECT_STREQ(modules.find(FakeProcess::kModule + 0xFFFF)->name, "host.exe");
    EXPECT_EQ(modules.find(FakeProcess::kModule + 0x10000), nullptr);
}

TEST_F(LoadedModules, Have_as_code_what_lies_in_an_executable_section) {
    EXPECT_EQ(modules.find_code(FakeProcess::kCode - 1), nullptr);
    EXPECT_NE(modules.find_code(FakeProcess::kCode), nullptr);
    EXPECT_NE(modules.find_code(FakeProcess::kCodeEnd - 1), nullptr);
    EXPECT_EQ(modules.find_code(FakeProcess::kCodeEnd), nullptr);
}

TEST_F(LoadedModules, Beyond_the_tables_size_are_counted) {
    modules.clear();
    for (unsigned i = 0; i < ModuleTable::kMostModules; ++i) {
        ASSERT_NE(modules.next(), nullptr);
        modules.commit();
    }
    EXPECT_EQ(modules.next(), nullptr);
    EXPECT_EQ(modules.next(), nullptr);
    EXPECT_EQ(modules.count(), ModuleTable::kMostModules);
    EXPECT_EQ(modules.left_out(), 2u);
}

TEST_F(LoadedModules, Hide_an_unloaded_one) {
    modules.add_unloaded({FakeProcess::kModule, 0x20000, 1, "gone.dll"});
    EXPECT_FALSE(modules.is_or_was_code(FakeProcess::kModule + 0x10));
    EXPECT_TRUE(modules.is_or_was_code(FakeProcess::kModule + 0x18000));
    EXPECT_TRUE(modules.is_or_was_code(FakeProcess::kCode));
}

TEST_F(LoadedModules, Give_way_as_newcomers_at_the_place_of_an_unloaded_one) {
    modules.drop_newcomer(FakeProcess::kModule);
    EXPECT_EQ(modules.count(), 1u);
    modules.add_unloaded({FakeProcess::kModule - 0x10000, 0x10000, 1, "below.dll"});
    modules.add_unloaded({FakeProcess::kModule + 0x10000, 0x10000, 1, "above.dll"});
    modules.drop_newcomer(FakeProcess::kModule);
    modules.drop_newcomer(FakeProcess::kModule + 0x10000);
    EXPECT_EQ(modules.count(), 1u) << "there was none but beside it";
    modules.add_unloaded({FakeProcess::kModule + 0x8000, 0x10000, 1, "gone.dll"});
    modules.drop_newcomer(FakeProcess::kModule);
    EXPECT_EQ(modules.count(), 0u);
    EXPECT_TRUE(modules.is_or_was_code(FakeProcess::kModule + 0x9000));
}

TEST_F(UnloadedModules, Newest_of_an_address_wins) {
    modules.add_unloaded({0x1000, 0x1000, 1, "old.dll"});
    modules.add_unloaded({0x1800, 0x1000, 2, "new.dll"});
    EXPECT_STREQ(modules.find_unloaded(0x1900)->name, "new.dll");
    EXPECT_STREQ(modules.find_unloaded(0x1100)->name, "old.dll");
    EXPECT_EQ(modules.find_unloaded(0x2800), nullptr);
}

TEST_F(UnloadedModules, Newest_are_kept) {
    for (std::uint32_t i = 0; i < ModuleTable::kMostUnloaded + 3; ++i)
        modules.add_unloaded({0x10000 * i, 0x1000, i, ""});
    EXPECT_EQ(modules.unloaded_count(), ModuleTable::kMostUnloaded);
    EXPECT_EQ(modules.unloaded(0).time_stamp, 3u);
    EXPECT_EQ(modules.unloaded(ModuleTable::kMostUnloaded - 1).time_stamp, ModuleTable::kMostUnloaded + 2);
}

TEST_F(UnloadedModules, One_that_comes_and_goes_is_kept_once_as_the_newest) {
    modules.add_unloaded({0x1000, 0x1000, 1, "again.dll"});
    modules.add_unloaded({0x5000, 0x1000, 2, "other.dll"});
    modules.add_unloaded({0x1000, 0x1000, 1, "again.dll"});
    ASSERT_EQ(modules.unloaded_count(), 2u);
    EXPECT_STREQ(modules.unloaded(1).name, "again.dll");
    modules.add_unloaded({0x1000, 0x1000, 3, "rebuilt.dll"});
    EXPECT_EQ(modules.unloaded_count(), 3u) << "of another time";
}

TEST_F(UnloadedModules, Headers_were_no_code) {
    modules.add_unloaded({0x10000, 0x4000, 1, "gone.dll"});
    EXPECT_FALSE(modules.is_or_was_code(0x10FFF));
    EXPECT_TRUE(modules.is_or_was_code(0x11000));
}
} // namespace
