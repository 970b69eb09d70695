#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "sysinfo/std_info.h"
#include "testing/cxx/test_files.h"

namespace {

constexpr char kUnknown[] = "Cannot extract version number of Internet Explorer";

class BrowserVersion : public testing::Test {
protected:
    void TearDown() override {
        SetEnvironmentVariableA("TEST_BROWSER", nullptr);
        EXPECT_EQ(GetModuleHandleA("browser.dll"), nullptr) << "the library stays loaded";
    }
    static std::string TextWhen(const char* mode) {
        SetEnvironmentVariableA("TEST_BROWSER", mode);
        return sysinfo::browser_version_text(test_file("browser").c_str()).c_str();
    }
};

TEST_F(BrowserVersion, Is_what_its_library_says) {
    EXPECT_EQ(TextWhen("works"), "Internet Explorer Version: 6.0\nBuild Number: 2900");
    EXPECT_EQ(TextWhen("large"), "Internet Explorer Version: 6.0\nBuild Number: -1");
}

TEST_F(BrowserVersion, Only_a_negative_answer_is_a_failure) {
    EXPECT_EQ(TextWhen("false"), "Internet Explorer Version: 6.0\nBuild Number: 2900");
    EXPECT_EQ(TextWhen("fails"), kUnknown);
}

TEST_F(BrowserVersion, Is_unknown_without_the_library_or_its_function) {
    EXPECT_STREQ(sysinfo::browser_version_text("no_such_library.dll").c_str(), kUnknown);
    EXPECT_STREQ(sysinfo::browser_version_text(test_file("version_none").c_str()).c_str(), kUnknown);
    EXPECT_EQ(GetModuleHandleA("version_none.dll"), nullptr);
}

TEST_F(BrowserVersion, Comes_from_the_library_of_the_system) {
    EXPECT_STREQ(GetInternetExplorerVersionText().c_str(), sysinfo::browser_version_text("shdocvw.dll").c_str());
    if (SearchPathA(nullptr, "shdocvw.dll", nullptr, 0, nullptr, nullptr) == 0)
        GTEST_SKIP() << "no shdocvw.dll here";
    EXPECT_EQ(GetInternetExplorerVersionText().find("Internet Explorer Version: "), 0);
}

} // namespace
