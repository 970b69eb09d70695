#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <windows.h>

#include "win/paths.h"

namespace {

class TemporaryFolder : public testing::Test {
protected:
    void SetUp() override { GetEnvironmentVariableW(L"TMP", m_before, MAX_PATH); }
    void TearDown() override { SetEnvironmentVariableW(L"TMP", m_before); }

    std::string found(const wchar_t* folder, unsigned long size = MAX_PATH) {
        SetEnvironmentVariableW(L"TMP", folder);
        char buffer[MAX_PATH + 1];
        memset(buffer, 'x', sizeof buffer);
        buffer[0] = '\0';
        const unsigned long length = win::temporary_folder(buffer, size);
        const std::string name = buffer;
        EXPECT_EQ(length < size ? length : 0, name.size());
        EXPECT_EQ(buffer[name.size() + 1], 'x') << "written behind the terminator";
        return name;
    }

private:
    wchar_t m_before[MAX_PATH] = L"";
};

TEST_F(TemporaryFolder, Is_the_one_of_the_system) {
    char wanted[MAX_PATH];
    GetTempPathA(MAX_PATH, wanted);
    char buffer[MAX_PATH];
    EXPECT_EQ(win::temporary_folder(buffer, MAX_PATH), std::string(wanted).size());
    EXPECT_STREQ(buffer, wanted);
}

TEST_F(TemporaryFolder, Keeps_its_long_name_where_the_code_page_has_the_letters) {
    ASSERT_TRUE(CreateDirectoryW(L"C:\\temporary files", nullptr));
    EXPECT_EQ(found(L"C:\\temporary files"), "C:\\temporary files\\");
    RemoveDirectoryW(L"C:\\temporary files");
}

// The letters of U+3042 are in none of the code pages that these tests run in.
TEST_F(TemporaryFolder, With_other_letters_comes_in_a_form_in_which_it_is_found) {
    const wchar_t folder[] = L"C:\\\x3042\x3044\x3046";
    ASSERT_TRUE(CreateDirectoryW(folder, nullptr));
    const std::string name = found(folder);
    EXPECT_NE(GetFileAttributesA(name.c_str()), INVALID_FILE_ATTRIBUTES) << name;
    EXPECT_EQ(name.back(), '\\');
    EXPECT_EQ(found(folder, 6), "") << "and is not put into a buffer that is too small";
    RemoveDirectoryW(folder);
}

TEST_F(TemporaryFolder, That_is_missing_is_named_as_the_system_does) {
    EXPECT_EQ(found(L"C:\\no such folder"), "C:\\no such folder\\");
    EXPECT_EQ(found(L"C:\\\x3042"), "C:\\?\\");
}

TEST_F(TemporaryFolder, Has_files_by_their_paths) {
    SetEnvironmentVariableW(L"TMP", L"C:\\no such folder");
    EXPECT_STREQ(win::temporary_path("name.txt").c_str(), "C:\\no such folder\\name.txt");
}

} // namespace
