#include <gtest/gtest.h>

#include <string>

#include "sysinfo/system_info_text.h"

namespace {

using sysinfo::join_sections;

TEST(SystemInfoText, Puts_four_captions_around_seven_sections) {
    EXPECT_STREQ(join_sections({"<1>\n", "\n<2>\n", "\n<3>\n", "<4>\r\n<4>", "<5>", "<6>\n", "<7>"}).c_str(),
                 "\n"
                 "Windows Version:\n"
                 "<1>\n"
                 "\n"
                 "Module Info:\n"
                 "<2>\n"
                 "\n"
                 "CPU Info:\n"
                 "<3>\n"
                 "\n"
                 "Monitor info:\n"
                 "<4>\r\n"
                 "<4>\n"
                 "\n"
                 "<5>\n"
                 "\n"
                 "<6>\n"
                 "\n"
                 "<7>");
}

TEST(SystemInfoText, Keeps_every_caption_when_all_sections_are_empty) {
    const char expected[] = "\nWindows Version:\n\nModule Info:\nCPU Info:\nMonitor info:\n\n\n\n\n\n";
    EXPECT_STREQ(join_sections({"", "", "", "", "", "", ""}).c_str(), expected);
    EXPECT_STREQ(join_sections({}).c_str(), expected);
}

TEST(SystemInfoText, Takes_percent_signs_of_a_section_as_they_are) {
    EXPECT_NE(join_sections({"%s%n%d", "", "", "", "", "", ""}).find("Version:\n%s%n%d\n"), -1);
}

TEST(SystemInfoText, Is_whole_just_below_the_bound) {
    const std::string printers(31000, 'p');
    const CStdString text = join_sections({"v", "m", "c", "d", "b", printers.c_str(), "the end"});
    ASSERT_GT(text.length(), printers.size());
    EXPECT_STREQ(text.c_str() + text.length() - 8, "\nthe end");
}

TEST(SystemInfoText, Is_cut_at_its_end_beyond_the_bound) {
    const std::string printers(100000, 'p');
    const CStdString text = join_sections({"v", "m", "c", "d", "b", printers.c_str(), "the end"});
    EXPECT_EQ(std::string(text.c_str()).substr(0, 19), "\nWindows Version:\nv");
    EXPECT_EQ(text.at(text.length() - 1), 'p');
    // The buffer starts at the template's length and 1024, and grows by 1024 until it has reached 32767.
    const unsigned template_length =
        sizeof("\nWindows Version:\n%s\nModule Info:%s\nCPU Info:%s\nMonitor info:\n%s\n\n%s\n\n%s\n%s") - 1;
    unsigned limit = template_length + 1024;
    while (limit < 32767)
        limit += 1024;
    EXPECT_EQ(text.length(), limit);
}

} // namespace
