#include <gtest/gtest.h>

#include <string>

#include <afxwin.h>

#include "testing/cxx/scratch_folder.h"

namespace {

class File : public testing::Test {
protected:
    std::string bytes() const { return folder.read("file.bin"); }

    const ScratchFolder folder;
    const std::string path = folder.path("file.bin");
};

TEST_F(File, Writes_bytes_as_they_are) {
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    file.Write("a\r\nb\0c\x1A", 7);
    file.Close();
    EXPECT_EQ(bytes(), std::string("a\r\nb\0c\x1A", 7));
}

TEST_F(File, Create_truncates_unless_told_not_to) {
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    file.Write("12345", 5);
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite));
    file.Close();
    EXPECT_EQ(bytes(), "12345");
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    file.Close();
    EXPECT_EQ(bytes(), "");
}

TEST_F(File, Missing_file_fails_with_the_systems_error) {
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(path.c_str(), CFile::modeRead, &error));
    EXPECT_EQ(error.m_lOsError, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(file.m_hFile, INVALID_HANDLE_VALUE);
}

TEST_F(File, Exclusive_file_is_not_shared) {
    CFile first, second;
    ASSERT_TRUE(first.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive));
    EXPECT_FALSE(second.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone));
}

TEST_F(File, Shared_file_is_read_while_another_writes_it) {
    CFile log, reader;
    ASSERT_TRUE(log.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::shareDenyNone));
    log.Write("so far", 6);
    ASSERT_TRUE(reader.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone));
    char text[8];
    DWORD length = 0;
    EXPECT_TRUE(ReadFile(reader.m_hFile, text, sizeof(text), &length, nullptr));
    EXPECT_EQ(std::string(text, length), "so far");
}

// A pipe that doesn't wait takes what it has space for, and says that all went well.
TEST_F(File, Write_of_a_part_only_is_a_full_disk) {
    HANDLE reading;
    CFile file;
    ASSERT_TRUE(CreatePipe(&reading, &file.m_hFile, nullptr, 4096));
    DWORD mode = PIPE_NOWAIT;
    ASSERT_TRUE(SetNamedPipeHandleState(file.m_hFile, &mode, nullptr, nullptr));
    const std::string much(1 << 20, 'x');
    try {
        file.Write(much.data(), static_cast<UINT>(much.size()));
        FAIL() << "nothing was thrown";
    } catch (CFileException* error) {
        EXPECT_EQ(error->m_lOsError, ERROR_DISK_FULL);
        error->Delete();
    }
    CloseHandle(reading);
}

TEST_F(File, Writing_to_a_file_open_for_reading_throws_a_pointer) {
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeRead));
    try {
        file.Write("x", 1);
        FAIL() << "nothing was thrown";
    } catch (CFileException* error) {
        EXPECT_EQ(error->m_lOsError, ERROR_ACCESS_DENIED);
        error->Delete();
    }
}

TEST_F(File, Finder_finds_files_folders_and_patterns_but_no_empty_name) {
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    file.Close();
    CFileFind finder;
    EXPECT_TRUE(finder.FindFile(path.c_str()));
    EXPECT_TRUE(finder.FindFile((path.substr(0, path.size() - 3) + "*").c_str()));
    EXPECT_TRUE(finder.FindFile("C:\\windows"));
    EXPECT_FALSE(finder.FindFile(""));
    EXPECT_FALSE(finder.FindFile(nullptr));
    EXPECT_FALSE(finder.FindFile((path + std::string(1000, 'x')).c_str()));
}

} // namespace
