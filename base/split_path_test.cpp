#include "base/split_path.h"

#include <gtest/gtest.h>

namespace {

struct PathCase {
    const char* path;
    const char* file_name;
};

TEST(SplitPath, The_file_name_is_what_follows_the_last_backslash) {
    const PathCase cases[] = {
        {"C:\\dir\\name.txt", "name.txt"},
        {"C:\\name.txt", "name.txt"},
        {"ab\\name", "name"},
        {"\\\\server\\share\\report.log", "report.log"},
        {"C:\\dir.ext\\no_extension", "no_extension"},
        {"C:\\dir\\a.b.c", "a.b.c"},
        {"C:\\dir\\", ""},
        {"C:\\dir\\with blanks \xCF\xF0\xE8.txt", "with blanks \xCF\xF0\xE8.txt"},
        {"C:\\dir/other/name.txt", "dir/other/name.txt"},
    };
    for (const PathCase& test : cases)
        EXPECT_STREQ(test.file_name, CStdSplitPath(test.path).GetFileName().c_str()) << test.path;
}

TEST(SplitPath, There_is_no_file_name_without_a_backslash_from_position_2_on) {
    const char* const paths[] = {"",         "name.txt", "C:name.txt",      "\\name.txt", "x\\name.txt",
                                 "\\\\name", "\\",       "C:/dir/name.txt", "/name",      "a\\"};
    for (const char* path : paths)
        EXPECT_STREQ("", CStdSplitPath(path).GetFileName().c_str()) << path;
}

TEST(SplitPath, A_null_path_is_an_empty_one) {
    EXPECT_STREQ("", CStdSplitPath(nullptr).GetFileName().c_str());
}

TEST(PathInFolder, Has_one_backslash_before_the_file_name) {
    EXPECT_STREQ(gen::path_in_folder("C:\\temp", "system_info.txt").c_str(), "C:\\temp\\system_info.txt");
    EXPECT_STREQ(gen::path_in_folder("C:\\temp\\", "system_info.txt").c_str(), "C:\\temp\\system_info.txt");
    EXPECT_STREQ(gen::path_in_folder("C:\\temp\\\\\\", "system_info.txt").c_str(), "C:\\temp\\system_info.txt");
    EXPECT_STREQ(gen::path_in_folder("C:\\", "system_info.txt").c_str(), "C:\\system_info.txt");
}

TEST(PathInFolder, Keeps_forward_slashes_and_inner_backslashes) {
    EXPECT_STREQ(gen::path_in_folder("C:\\a\\\\b/", "system_info.txt").c_str(), "C:\\a\\\\b/\\system_info.txt");
}

TEST(PathInFolder, Without_a_folder_is_below_the_root) {
    EXPECT_STREQ(gen::path_in_folder("", "system_info.txt").c_str(), "\\system_info.txt");
    EXPECT_STREQ(gen::path_in_folder("\\\\", "system_info.txt").c_str(), "\\system_info.txt");
}

} // namespace
