#include <gtest/gtest.h>

#include "sysinfo/version_texts.h"

namespace {

using sysinfo::FileVersion;
using sysinfo::product_version_part;

TEST(ProductVersionPart, Is_one_of_four_between_commas) {
    const struct {
        const char* version;
        const char* parts[4];
    } rows[] = {
        {"3, 1, 0, 12", {"3", "1", "0", "12"}},
        {"3,1,0,12", {"3", "1", "0", "12"}},
        {" 3 , 1 , 0 , 1 2 ", {"3", "1", "0", "12"}},
        {"a b, c d, e f, g h", {"ab", "cd", "ef", "gh"}},
        {"3\t,1", {"3\t", "1", "", ""}}, // other white space isn't taken out
        // The last part stands after the last comma.
        {"1, 2, 3, 4, 5", {"1", "2", "3", "5"}},
        {"1,2,3,4,56", {"1", "2", "3", "56"}},
        {"1,2,3,4,5,6,", {"1", "2", "3", ""}},
        {",,,", {"", "", "", ""}},
        {",,,x", {"", "", "", "x"}},
        // Fewer parts.
        {"1, 2, 3", {"1", "2", "3", ""}},
        {"1, 2", {"1", "2", "", ""}},
        {"1,", {"1", "", "", ""}},
        {"1", {"1", "", "", ""}},
        {"1.2.3.4", {"1.2.3.4", "", "", ""}},
        {"1.2, 3.4", {"1.2", "3.4", "", ""}},
        {"Unknown", {"Unknown", "", "", ""}},
        {"", {"", "", "", ""}},
    };
    for (const auto& row : rows)
        for (int i = 0; i < 4; ++i)
            EXPECT_STREQ(product_version_part(row.version, i).c_str(), row.parts[i]) << row.version << " part " << i;
}

TEST(ProductVersionPart, Of_any_other_index_is_empty) {
    for (int index : {-1, 4, 5, 0x7FFFFFFF, static_cast<int>(0x80000000)})
        EXPECT_STREQ(product_version_part("1,2,3,4,5", index).c_str(), "");
}

TEST(ModuleText, Prints_the_parts_as_numbers) {
    EXPECT_STREQ(sysinfo::describe_module({"Company", "Product", {"3", "1", "0", "12"}}).c_str(),
                 "\nCompany: Company\nProduct Name: Product\nProduct Version: 3.1.0.12\n");
    EXPECT_STREQ(sysinfo::describe_module({"%s", "%d", {"007", "1beta", "x", "-4"}}).c_str(),
                 "\nCompany: %s\nProduct Name: %d\nProduct Version: 7.1.0.-4\n");
}

TEST(ModuleText, Prints_numbers_as_they_are_read_anywhere) {
    EXPECT_STREQ(sysinfo::describe_module({"", "", {" \t\r\n+12", "-+3", "2147483647", "-2147483648"}}).c_str(),
                 "\nCompany: \nProduct Name: \nProduct Version: 12.0.2147483647.-2147483648\n");
    EXPECT_STREQ(sysinfo::describe_module({"", "", {"4294967297", "2147483648", "+ 1", "- 1"}}).c_str(),
                 "\nCompany: \nProduct Name: \nProduct Version: 1.-2147483648.0.0\n");
}

TEST(ModuleText, Of_a_file_without_a_resource_is_unknown_and_0) {
    EXPECT_STREQ(sysinfo::describe_module({"Unknown", "Unknown", {"Unknown", "", "", ""}}).c_str(),
                 "\nCompany: Unknown\nProduct Name: Unknown\nProduct Version: 0.0.0.0\n");
}

TEST(HostApplicationText, Prints_the_parts_as_they_are) {
    EXPECT_STREQ(sysinfo::describe_host_application({"Company", "Product", {"03", "1b", "", "x y"}}).c_str(),
                 "Lumivale module info:\n"
                 "Company: Company\n"
                 "Product name:Product\n"
                 "Version number: 03.1b.\n"
                 "Build number x y");
}

TEST(BrowserText, Has_version_and_build) {
    EXPECT_STREQ(sysinfo::describe_browser(6, 0, 2900).c_str(), "Internet Explorer Version: 6.0\nBuild Number: 2900");
    EXPECT_STREQ(sysinfo::describe_browser(0, 0xFFFFFFFF, 0x80000000).c_str(),
                 "Internet Explorer Version: 0.-1\nBuild Number: -2147483648");
}

} // namespace
