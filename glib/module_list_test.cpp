#include "glib/module_list.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/failing_allocator.h"

namespace glib {
namespace {

std::vector<std::string> split(const char* text) {
    ModuleList list;
    list.Add(text);
    std::vector<std::string> names;
    for (unsigned i = 0; i < list.size(); ++i)
        names.push_back(list[i]);
    return names;
}

using Names = std::vector<std::string>;

TEST(ModuleList, A_bare_name_becomes_a_dll) {
    EXPECT_EQ(split("fall\n"), Names{"fall.dll"});
}

TEST(ModuleList, A_name_with_a_dot_anywhere_stays) {
    EXPECT_EQ(split("x.flt\n.hidden\nv1.0module\nend.\n"), (Names{"x.flt", ".hidden", "v1.0module", "end."}));
}

TEST(ModuleList, The_last_name_needs_no_line_feed) {
    EXPECT_EQ(split("one\ntwo"), (Names{"one.dll", "two.dll"}));
}

TEST(ModuleList, Empty_lines_are_skipped) {
    EXPECT_EQ(split("\none\n\n\ntwo\n\n"), (Names{"one.dll", "two.dll"}));
    EXPECT_EQ(split("\n"), Names{});
    EXPECT_EQ(split(""), Names{});
    EXPECT_EQ(split(nullptr), Names{});
}

TEST(ModuleList, Blanks_belong_to_the_name) {
    EXPECT_EQ(split("my module\n"), Names{"my module.dll"});
}

TEST(ModuleList, Added_lists_join_until_cleared) {
    ModuleList list;
    list.Add("a\n");
    list.Add("b\n");
    ASSERT_EQ(list.size(), 2u);
    EXPECT_STREQ(list[1], "b.dll");
    list.Clear();
    EXPECT_EQ(list.size(), 0u);
    list.Add("c");
    EXPECT_STREQ(list[0], "c.dll");
}

#ifndef _WIN32
TEST(ModuleList, Without_memory_keeps_the_names_that_it_has) {
    for (unsigned nth : {1u, 2u}) { // of the table, of the name
        ModuleList list;
        list.Add("a\n");
        FailingAllocator allocator(nth);
        EXPECT_THROW(list.Add("b\n"), gen::genlib_out_of_memory);
        ASSERT_EQ(list.size(), 1u);
        EXPECT_STREQ(list[0], "a.dll");
    }
}
#endif

TEST(ModuleDirectory, Loses_one_trailing_backslash_only) {
    EXPECT_STREQ(module_directory("C:\\mods\\").c_str(), "C:\\mods");
    EXPECT_STREQ(module_directory("C:\\mods").c_str(), "C:\\mods");
    EXPECT_STREQ(module_directory("C:\\mods\\\\").c_str(), "C:\\mods\\");
    EXPECT_STREQ(module_directory("C:/mods/").c_str(), "C:/mods/");
    EXPECT_STREQ(module_directory("\\").c_str(), "");
    EXPECT_STREQ(module_directory("").c_str(), "");
    EXPECT_STREQ(module_directory(nullptr).c_str(), "");
}

TEST(ModulePath, Is_the_bare_name_without_a_directory) {
    EXPECT_STREQ(module_path("", "fall.dll").c_str(), "fall.dll");
    EXPECT_STREQ(module_path("C:\\mods", "fall.dll").c_str(), "C:\\mods\\fall.dll");
}

TEST(EntryName, Is_formed_from_the_short_name) {
    EXPECT_STREQ(EntryName(kLoadEntryPattern, EFormat_JPG).text, "LoadJPGImageData");
    EXPECT_STREQ(EntryName(kInfoEntryPattern, EFormat_JPG).text, "GetJPGFileInfo");
    EXPECT_STREQ(EntryName(kThumbnailEntryPattern, EFormat_JPG).text, "LoadJPGImageThumbnail");
    EXPECT_STREQ(EntryName(kSaveEntryPattern, EFormat_JPG).text, "SaveJPGImageData");
    EXPECT_STREQ(EntryName(kLoadEntryPattern, static_cast<EFormat>(0x00473320)).text, "LoadG3ImageData");
}

} // namespace
} // namespace glib
