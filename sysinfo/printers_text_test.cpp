#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sysinfo/system_info_text.h"

namespace {

using sysinfo::describe_printers;
using sysinfo::printer_of_entry;

TEST(PrintersText, Without_printers_has_both_headings_and_an_empty_name) {
    EXPECT_STREQ(describe_printers(nullptr, 0, "").c_str(), "Printers list: \n"
                                                            "\n"
                                                            "Default printer: \n"
                                                            "\n");
}

TEST(PrintersText, Lists_the_printers_in_their_order) {
    const CStdString names[] = {"Zebra", "\\\\server\\HP LaserJet 4, tray 2", "", "100%s"};
    EXPECT_STREQ(describe_printers(names, 4, "100%s").c_str(), "Printers list: \n"
                                                               "Zebra\n"
                                                               "\\\\server\\HP LaserJet 4, tray 2\n"
                                                               "\n"
                                                               "100%s\n"
                                                               "\n"
                                                               "Default printer: \n"
                                                               "100%s\n");
}

TEST(PrintersText, Very_long_list_is_whole) {
    std::vector<CStdString> names;
    std::string expected = "Printers list: \n";
    for (int i = 0; i < 20000; ++i) {
        const std::string name = "printer number " + std::to_string(i);
        names.push_back(name.c_str());
        expected += name + "\n";
    }
    expected += "\nDefault printer: \nlast\n";
    EXPECT_EQ(describe_printers(names.data(), static_cast<int>(names.size()), "last").c_str(), expected);
}

TEST(PrinterOfEntry, Ends_at_the_first_comma) {
    EXPECT_STREQ(printer_of_entry("HP LaserJet 4,winspool,LPT1:").c_str(), "HP LaserJet 4");
    EXPECT_STREQ(printer_of_entry(",,,").c_str(), "");
    EXPECT_STREQ(printer_of_entry("a,").c_str(), "a");
}

TEST(PrinterOfEntry, Without_a_comma_is_the_whole_entry) {
    EXPECT_STREQ(printer_of_entry("HP LaserJet 4").c_str(), "HP LaserJet 4");
    EXPECT_STREQ(printer_of_entry("").c_str(), "");
}

} // namespace
