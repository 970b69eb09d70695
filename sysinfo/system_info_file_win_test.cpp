#include <gtest/gtest.h>

#include <windows.h>

#include <memory>
#include <string>

#include "sysinfo/std_info.h"
#include "testing/cxx/scratch_folder.h"

namespace {

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

class SystemInfoFile : public testing::Test {
protected:
    // Writes the file into that folder, with the answer that is expected.
    void Write(const std::string& directory, bool expected = true) {
        const TemporaryDirectory used(directory);
        EXPECT_EQ(write_system_info_file(m_path), expected);
    }
    std::string Content() { return m_folder.read("system_info.txt"); }

    ScratchFolder m_folder;
    const std::string m_file = m_folder.path("system_info.txt"), m_directory = m_file.substr(0, m_file.rfind('\\'));
    CStdString m_path;
};

TEST_F(SystemInfoFile, Holds_the_text_in_text_mode) {
    Write(m_directory);
    EXPECT_STREQ(m_path.c_str(), m_file.c_str());
    const auto info = std::make_unique<CStdInfo>();
    EXPECT_EQ(without_clock(Content()), without_clock(in_text_mode(info->GetSystemInfoText().c_str())));
}

TEST_F(SystemInfoFile, Replaces_a_longer_file) {
    m_folder.add("system_info.txt", std::string(100000, '#'));
    Write(m_directory);
    EXPECT_LT(Content().size(), 40000u);
    EXPECT_GT(Content().size(), 500u);
    EXPECT_EQ(Content().find('#'), std::string::npos);
}

TEST_F(SystemInfoFile, Forgets_what_the_path_held_before) {
    m_path = "C:\\old\\path\\that\\is\\longer\\than\\the\\new\\one\\by\\far\\and\\away.txt";
    Write(m_directory);
    EXPECT_STREQ(m_path.c_str(), m_file.c_str());
}

TEST_F(SystemInfoFile, Directory_with_trailing_backslashes_gives_one) {
    Write(m_directory + "\\\\");
    EXPECT_STREQ(m_path.c_str(), m_file.c_str());
    EXPECT_EQ(m_folder.files("system_info.txt").size(), 1u);
}

TEST_F(SystemInfoFile, Missing_directory_leaves_the_path_and_no_file) {
    Write(m_folder.path("missing"), false);
    EXPECT_STREQ(m_path.c_str(), m_folder.path("missing\\system_info.txt").c_str());
    EXPECT_EQ(m_folder.files("missing").size(), 0u);
}

TEST_F(SystemInfoFile, Unwritable_file_leaves_the_path_and_the_file) {
    ASSERT_TRUE(CreateDirectoryA(m_file.c_str(), nullptr)); // a folder of the name can't be opened for writing
    Write(m_directory, false);
    EXPECT_STREQ(m_path.c_str(), m_file.c_str());
    EXPECT_EQ(m_folder.files("system_info.txt").size(), 1u);
}

TEST_F(SystemInfoFile, Root_of_a_drive_is_a_directory_like_others) {
    Write("C:\\");
    EXPECT_STREQ(m_path.c_str(), "C:\\system_info.txt");
    EXPECT_TRUE(DeleteFileA("C:\\system_info.txt"));
}

} // namespace
