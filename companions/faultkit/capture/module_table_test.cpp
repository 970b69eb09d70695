#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"

namespace {

using faultkit::FakeProcess;
using faultkit::ModuleTable;

TEST(ModuleTable, Finds_the_module_of_each_of_its_addresses_and_no_other) {
    FakeProcess process;
    EXPECT_EQ(process.modules.find(FakeProcess::kModule - 1), nullptr);
    ASSERT_NE(process.modules.find(FakeProcess::kModule), nullptr);
    EXPECT_STREQ(process.modules.find(FakeProcess::kModule + 0xFFFF)->name, "host.exe");
    EXPECT_EQ(process.modules.find(FakeProcess::kModule + 0x10000), nullptr);
}

TEST(ModuleTable, Code_is_what_lies_in_an_executable_section) {
    FakeProcess process;
    EXPECT_EQ(process.modules.find_code(FakeProcess::kCode - 1), nullptr);
    EXPECT_NE(process.modules.find_code(FakeProcess::kCode), nullptr);
    EXPECT_NE(process.modules.find_code(FakeProcess::kCodeEnd - 1), nullptr);
    EXPECT_EQ(process.modules.find_code(FakeProcess::kCodeEnd), nullptr);
}

TEST(ModuleTable, Modules_beyond_its_size_are_counted) {
    ModuleTable modules;
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

TEST(ModuleTable, Newest_unloaded_module_of_an_address_wins) {
    ModuleTable modules;
    modules.clear();
    modules.add_unloaded({0x1000, 0x1000, 1, "old.dll"});
    modules.add_unloaded({0x1800, 0x1000, 2, "new.dll"});
    EXPECT_STREQ(modules.find_unloaded(0x1900)->name, "new.dll");
    EXPECT_STREQ(modules.find_unloaded(0x1100)->name, "old.dll");
    EXPECT_EQ(modules.find_unloaded(0x2800), nullptr);
}

TEST(ModuleTable, Newest_unloaded_modules_are_kept) {
    ModuleTable modules;
    modules.clear();
    for (std::uint32_t i = 0; i < ModuleTable::kMostUnloaded + 3; ++i)
        modules.add_unloaded({0x10000 * i, 0x1000, i, ""});
    EXPECT_EQ(modules.unloaded_count(), ModuleTable::kMostUnloaded);
    EXPECT_EQ(modules.unloaded(0).time_stamp, 3u);
    EXPECT_EQ(modules.unloaded(ModuleTable::kMostUnloaded - 1).time_stamp, ModuleTable::kMostUnloaded + 2);
}

TEST(ModuleTable, Module_that_comes_and_goes_is_kept_once_as_the_newest) {
    ModuleTable modules;
    modules.clear();
    modules.add_unloaded({0x1000, 0x1000, 1, "again.dll"});
    modules.add_unloaded({0x5000, 0x1000, 2, "other.dll"});
    modules.add_unloaded({0x1000, 0x1000, 1, "again.dll"});
    ASSERT_EQ(modules.unloaded_count(), 2u);
    EXPECT_STREQ(modules.unloaded(1).name, "again.dll");
}

TEST(ModuleTable, Newcomer_at_the_place_of_an_unloaded_module_gives_way) {
    FakeProcess process;
    process.modules.drop_newcomer(FakeProcess::kModule);
    EXPECT_EQ(process.modules.count(), 1u);
    process.modules.add_unloaded({FakeProcess::kModule + 0x8000, 0x10000, 1, "gone.dll"});
    process.modules.drop_newcomer(FakeProcess::kModule);
    EXPECT_EQ(process.modules.count(), 0u);
    EXPECT_TRUE(process.modules.is_or_was_code(FakeProcess::kModule + 0x9000));
}

TEST(ModuleTable, Loaded_module_hides_an_unloaded_one) {
    FakeProcess process;
    process.modules.add_unloaded({FakeProcess::kModule, 0x20000, 1, "gone.dll"});
    EXPECT_FALSE(process.modules.is_or_was_code(FakeProcess::kModule + 0x10));
    EXPECT_TRUE(process.modules.is_or_was_code(FakeProcess::kModule + 0x18000));
    EXPECT_TRUE(process.modules.is_or_was_code(FakeProcess::kCode));
}

TEST(ModuleTable, Headers_of_an_unloaded_module_were_no_code) {
    ModuleTable modules;
    modules.clear();
    modules.add_unloaded({0x10000, 0x4000, 1, "gone.dll"});
    EXPECT_FALSE(modules.is_or_was_code(0x10FFF));
    EXPECT_TRUE(modules.is_or_was_code(0x11000));
}

TEST(ModuleTable, Same_module_at_another_place_or_of_another_time_is_another_one) {
    ModuleTable modules;
    modules.clear();
    modules.add_unloaded({0x1000, 0x1000, 1, "one.dll"});
    modules.add_unloaded({0x1000, 0x1000, 2, "rebuilt.dll"});
    EXPECT_EQ(modules.unloaded_count(), 2u);
}

TEST(ModuleTable, Newcomer_beside_an_unloaded_module_stays) {
    FakeProcess process;
    process.modules.add_unloaded({FakeProcess::kModule - 0x10000, 0x10000, 1, "below.dll"});
    process.modules.add_unloaded({FakeProcess::kModule + 0x10000, 0x10000, 1, "above.dll"});
    process.modules.drop_newcomer(FakeProcess::kModule);
    process.modules.drop_newcomer(FakeProcess::kModule + 0x10000);
    EXPECT_EQ(process.modules.count(), 1u);
}

} // namespace
