#include <gtest/gtest.h>

#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "sysinfo/printers_info.h"
#include "sysinfo/std_info.h"

namespace {

using sysinfo::PrinterListStatus;
using sysinfo::PrinterSystem;
using Names = CArray<CStdString, CStdString&>;

// A spooler with these printers.
struct Spooler {
    std::vector<const char*> names;
    const char* profile_entry = nullptr; // null: none, the caller's default counts
    DWORD level = 0;                     // of the last call
    BOOL first_result = FALSE;           // of the call that asks for the size
    bool grows = false;                  // one more printer between the two calls
};
Spooler g_spooler;

template <class Record>
DWORD size_of() {
    DWORD size = 0;
    for (const char* name : g_spooler.names)
        size += sizeof(Record) + (name ? static_cast<DWORD>(strlen(name)) + 1 : 0);
    return size;
}

template <class Record>
void fill(BYTE* buffer, char* Record::* field) {
    Record* record = reinterpret_cast<Record*>(buffer);
    char* text = reinterpret_cast<char*>(record + g_spooler.names.size());
    memset(buffer, 0, sizeof(Record) * g_spooler.names.size());
    for (const char* name : g_spooler.names) {
        if (name) {
            record->*field = strcpy(text, name);
            text += strlen(name) + 1;
        }
        ++record;
    }
}

BOOL WINAPI fake_enumerate(DWORD flags, LPSTR server, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                           LPDWORD count) {
    EXPECT_EQ(flags, 6u);
    EXPECT_EQ(server, nullptr);
    g_spooler.level = level;
    *needed = level == 4 ? size_of<PRINTER_INFO_4A>() : size_of<PRINTER_INFO_1A>();
    *count = 0;
    if (!buffer) {
        EXPECT_EQ(size, 0u);
        if (g_spooler.grows)
            g_spooler.names.push_back("new");
        return g_spooler.first_result;
    }
    if (size < *needed) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    if (level == 4)
        fill(buffer, &PRINTER_INFO_4A::pPrinterName);
    else
        fill(buffer, &PRINTER_INFO_1A::pName);
    *count = static_cast<DWORD>(g_spooler.names.size());
    return TRUE;
}

DWORD WINAPI fake_profile_string(LPCSTR section, LPCSTR key, LPCSTR instead, LPSTR buffer, DWORD size) {
    EXPECT_STREQ(section, "windows");
    EXPECT_STREQ(key, "device");
    EXPECT_STREQ(instead, ",,,");
    EXPECT_EQ(size, 512u);
    const char* entry = g_spooler.profile_entry ? g_spooler.profile_entry : instead;
    lstrcpynA(buffer, entry, static_cast<int>(size));
    return static_cast<DWORD>(strlen(buffer));
}

constexpr PrinterSystem kNt = {true, fake_enumerate, fake_profile_string};
constexpr PrinterSystem k9x = {false, fake_enumerate, fake_profile_string};

class PrintersInfo : public testing::Test {
protected:
    void SetUp() override { g_spooler = {}; }

    static std::vector<std::string> Listed(const PrinterSystem& system) {
        Names names;
        EXPECT_EQ(sysinfo::list_printers(system, names), PrinterListStatus::listed);
        std::vector<std::string> texts;
        for (int i = 0; i < names.GetSize(); ++i)
            texts.push_back(names[i].c_str());
        return texts;
    }
};

TEST_F(PrintersInfo, Lists_by_level_4_on_NT_and_by_level_1_elsewhere) {
    g_spooler.names = {"first", "second printer", "third"};
    const std::vector<std::string> expected = {"first", "second printer", "third"};
    EXPECT_EQ(Listed(kNt), expected);
    EXPECT_EQ(g_spooler.level, 4u);
    EXPECT_EQ(Listed(k9x), expected);
    EXPECT_EQ(g_spooler.level, 1u);
}

TEST_F(PrintersInfo, Nothing_to_list_has_its_own_status_whatever_the_call_returns) {
    for (BOOL result : {FALSE, TRUE}) {
        g_spooler.first_result = result;
        Names names;
        EXPECT_EQ(sysinfo::list_printers(kNt, names), PrinterListStatus::none);
        EXPECT_EQ(names.GetSize(), 0);
    }
    EXPECT_EQ(static_cast<int>(PrinterListStatus::none), -1);
}

TEST_F(PrintersInfo, List_that_grows_meanwhile_fails) {
    g_spooler.names = {"first"};
    g_spooler.grows = true;
    Names names;
    EXPECT_EQ(sysinfo::list_printers(kNt, names), PrinterListStatus::failed);
    EXPECT_EQ(names.GetSize(), 0);
    EXPECT_EQ(static_cast<int>(PrinterListStatus::failed), -2);
}

TEST_F(PrintersInfo, Printer_without_a_name_is_an_empty_line) {
    g_spooler.names = {"first", nullptr, "third"};
    EXPECT_EQ(Listed(kNt), (std::vector<std::string>{"first", "", "third"}));
}

TEST_F(PrintersInfo, Text_has_the_list_and_the_default_printer) {
    g_spooler.names = {"first", "second"};
    g_spooler.profile_entry = "second,winspool,Ne01:";
    EXPECT_STREQ(sysinfo::GetPrintersInfo(kNt).c_str(),
                 "Printers list: \nfirst\nsecond\n\nDefault printer: \nsecond\n");
}

TEST_F(PrintersInfo, Text_without_a_list_still_has_the_default_printer) {
    g_spooler.profile_entry = "second,winspool,Ne01:";
    EXPECT_STREQ(sysinfo::GetPrintersInfo(kNt).c_str(), "Printers list: \n\nDefault printer: \nsecond\n");
    g_spooler.names = {"first"};
    g_spooler.grows = true;
    EXPECT_STREQ(sysinfo::GetPrintersInfo(kNt).c_str(), "Printers list: \n\nDefault printer: \nsecond\n");
}

TEST_F(PrintersInfo, Default_entry_without_a_comma_is_the_name) {
    g_spooler.profile_entry = "PDF writer";
    EXPECT_STREQ(sysinfo::default_printer(kNt).c_str(), "PDF writer");
    g_spooler.profile_entry = nullptr;
    EXPECT_STREQ(sysinfo::default_printer(kNt).c_str(), "");
    const std::string longest(511, 'p');
    g_spooler.profile_entry = longest.c_str();
    EXPECT_EQ(sysinfo::default_printer(kNt).c_str(), longest);
}

TEST_F(PrintersInfo, Very_long_list_is_listed_whole) {
    const std::string name(200, 'n');
    g_spooler.names.assign(5000, name.c_str());
    EXPECT_EQ(Listed(kNt), std::vector<std::string>(5000, name));
}

// What this machine has, asked at another level.
TEST(PrintersOfThisMachine, Are_all_listed) {
    DWORD needed = 0, count = 0;
    EnumPrintersA(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS, nullptr, 2, nullptr, 0, &needed, &count);
    std::vector<BYTE> buffer(needed + 1);
    std::string expected = "Printers list: \n";
    if (needed) {
        ASSERT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS, nullptr, 2, buffer.data(), needed,
                                  &needed, &count));
        for (DWORD i = 0; i < count; ++i)
            expected += std::string(reinterpret_cast<PRINTER_INFO_2A*>(buffer.data())[i].pPrinterName) + "\n";
    }
    expected += "\nDefault printer: \n";
    const std::string text = CPrintersInfo().GetPrintersInfo().c_str();
    EXPECT_EQ(text.substr(0, expected.size()), expected);
}

TEST(PrintersOfThisMachine, Default_printer_is_that_of_the_profile) {
    char old[512];
    GetProfileStringA("windows", "device", "", old, sizeof(old));
    ASSERT_TRUE(WriteProfileStringA("windows", "device", "Wendax test printer,winspool,LPT9:"));
    const std::string text = std::make_unique<CStdInfo>()->GetPrintersText().c_str();
    WriteProfileStringA("windows", "device", old[0] ? old : nullptr);
    const std::string end = "\nDefault printer: \nWendax test printer\n";
    ASSERT_GE(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

} // namespace
