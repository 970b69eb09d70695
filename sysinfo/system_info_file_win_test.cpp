#include <gtest/gtest.h>

#include <windows.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "sysinfo/std_info.h"

namespace {

std::string bytes_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool exists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The clock is measured anew for every text.
std::string without_clock(std::string text) {
    const size_t begin = text.find("Procesor Clock Frequecy: ");
    return begin == std::string::npos ? text : text.erase(begin, text.find('\n', begin) - begin);
}

std::string in_text_mode(const std::string& text) {
    std::string written;
    for (char c : text)
        written += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return written;
}

// A temporary directory of this test alone.
class SystemInfoFile : public testing::Test {
protected:
    void SetUp() override {
        char base[MAX_PATH];
        ASSERT_NE(GetTempPathA(sizeof(base), base), 0u);
        for (int i = 0; m_directory.empty() && i < 1000; ++i) {
            const std::string name = std::string(base) + "wendax_sysinfo_" + std::to_string(i);
            if (CreateDirectoryA(name.c_str(), nullptr))
                m_directory = name;
        }
        ASSERT_FALSE(m_directory.empty());
        m_file = m_directory + "\\system_info.txt";
        GetEnvironmentVariableA("TMP", m_old, sizeof(m_old));
        UseTemporaryDirectory(m_directory);
    }

    void TearDown() override {
        SetEnvironmentVariableA("TMP", m_old[0] ? m_old : nullptr);
        DeleteFileA(m_file.c_str());
        RemoveDirectoryA(m_file.c_str());
        RemoveDirectoryA(m_directory.c_str());
    }

    void UseTemporaryDirectory(const std::string& path) { ASSERT_TRUE(SetEnvironmentVariableA("TMP", path.c_str())); }

    std::string m_directory;
    std::string m_file;
    char m_old[1024] = "";
};

TEST_F(SystemInfoFile, Holds_the_text_in_text_mode) {
    CStdString path;
    EXPECT_TRUE(write_system_info_file(path));
    EXPECT_STREQ(path.c_str(), m_file.c_str());
    const auto info = std::make_unique<CStdInfo>();
    EXPECT_EQ(without_clock(bytes_of(m_file)), without_clock(in_text_mode(info->GetSystemInfoText().c_str())));
}

TEST_F(SystemInfoFile, Replaces_a_longer_file) {
    {
        std::ofstream old(m_file, std::ios::binary);
        old << std::string(100000, '#');
    }
    CStdString path;
    EXPECT_TRUE(write_system_info_file(path));
    const std::string bytes = bytes_of(m_file);
    EXPECT_LT(bytes.size(), 40000u);
    EXPECT_GT(bytes.size(), 500u);
    EXPECT_EQ(bytes.find('#'), std::string::npos);
}

TEST_F(SystemInfoFile, Forgets_what_the_path_held_before) {
    CStdString path("C:\\old\\path\\that\\is\\longer\\than\\the\\new\\one\\by\\far\\and\\away.txt");
    EXPECT_TRUE(write_system_info_file(path));
    EXPECT_STREQ(path.c_str(), m_file.c_str());
}

TEST_F(SystemInfoFile, Directory_with_trailing_backslashes_gives_one) {
    UseTemporaryDirectory(m_directory + "\\\\");
    CStdString path;
    EXPECT_TRUE(write_system_info_file(path));
    EXPECT_STREQ(path.c_str(), m_file.c_str());
    EXPECT_TRUE(exists(m_file));
}

TEST_F(SystemInfoFile, Missing_directory_leaves_the_path_and_no_file) {
    UseTemporaryDirectory(m_directory + "\\missing");
    CStdString path;
    EXPECT_FALSE(write_system_info_file(path));
    EXPECT_STREQ(path.c_str(), (m_directory + "\\missing\\system_info.txt").c_str());
    EXPECT_FALSE(exists(path.c_str()));
}

TEST_F(SystemInfoFile, Unwritable_file_leaves_the_path_and_the_file) {
    ASSERT_TRUE(CreateDirectoryA(m_file.c_str(), nullptr)); // a folder of the name can't be opened for writing
    CStdString path;
    EXPECT_FALSE(write_system_info_file(path));
    EXPECT_STREQ(path.c_str(), m_file.c_str());
    EXPECT_TRUE(exists(m_file));
}

TEST_F(SystemInfoFile, Root_of_a_drive_is_a_directory_like_others) {
    UseTemporaryDirectory("C:\\");
    CStdString path;
    EXPECT_TRUE(write_system_info_file(path));
    EXPECT_STREQ(path.c_str(), "C:\\system_info.txt");
    EXPECT_TRUE(DeleteFileA("C:\\system_info.txt"));
}

} // namespace
