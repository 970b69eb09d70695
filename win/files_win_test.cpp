#include "win/files.h"

#include <windows.h>
#include <winioctl.h>

#include <string>

#include <gtest/gtest.h>

#include "win/handle.h"

namespace {

class WholeFile : public testing::Test {
protected:
    void SetUp() override {
        char folder[MAX_PATH];
        ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
        ASSERT_NE(GetTempFileNameA(folder, "who", 0, m_path), 0u);
    }
    void TearDown() override { DeleteFileA(m_path); }

    bool Write(const std::string& text) { return win::write_whole_file(m_path, text.data(), text.size()); }

    std::string Content() {
        std::string content(1 << 20, '\0');
        FILE* const file = fopen(m_path, "rb");
        content.resize(file ? fread(content.data(), 1, content.size(), file) : 0);
        if (file)
            fclose(file);
        return content;
    }

    char m_path[MAX_PATH];
};

TEST_F(WholeFile, Has_the_new_bytes_and_none_of_the_old) {
    EXPECT_TRUE(Write(std::string(100000, '#')));
    EXPECT_TRUE(Write(std::string("a\0b\r\n", 5)));
    EXPECT_EQ(Content(), std::string("a\0b\r\n", 5));
    EXPECT_TRUE(Write(""));
    EXPECT_EQ(Content(), "");
}

TEST_F(WholeFile, Is_written_while_another_reads_it) {
    FILE* const reader = fopen(m_path, "rb");
    ASSERT_NE(reader, nullptr);
    EXPECT_TRUE(Write("new"));
    fclose(reader);
    EXPECT_EQ(Content(), "new");
}

TEST_F(WholeFile, Says_where_it_could_not_be_written) {
    EXPECT_FALSE(win::write_whole_file("C:\\no such folder\\file", "x", 1));
    EXPECT_FALSE(win::write_whole_file("C:\\windows", "x", 1));
    EXPECT_FALSE(win::write_whole_file("", "x", 1));
}

TEST_F(WholeFile, Is_as_long_as_what_was_written) {
    EXPECT_TRUE(Write(std::string(70000, 'x')));
    const win::FileHandle file(CreateFileA(m_path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    EXPECT_EQ(win::file_size(file.get()), 70000);
}

TEST(FileSize, Beyond_4_GB_is_told_and_that_of_no_file_is_not) {
    char folder[MAX_PATH], path[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
    ASSERT_NE(GetTempFileNameA(folder, "siz", 0, path), 0u);
    {
        const win::FileHandle file(
            CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        ASSERT_TRUE(file);
        DWORD returned;
        DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
        LARGE_INTEGER end;
        end.QuadPart = 0x1FFFFFFFFLL; // the lower half is what GetFileSize gives on failure
        ASSERT_TRUE(SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get()));
        EXPECT_EQ(win::file_size(file.get()), end.QuadPart);
    }
    EXPECT_EQ(win::file_size(INVALID_HANDLE_VALUE), -1);
}

TEST(ClaimFile, Makes_an_empty_file_unless_there_is_one) {
    char folder[MAX_PATH], path[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
    ASSERT_NE(GetTempFileNameA(folder, "cla", 0, path), 0u);
    EXPECT_EQ(win::claim_file(path), win::Claim::kTaken);
    DeleteFileA(path);
    EXPECT_EQ(win::claim_file(path), win::Claim::kMade);
    EXPECT_NE(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(win::claim_file(path), win::Claim::kTaken);
    DeleteFileA(path);
    EXPECT_EQ(win::claim_file("C:\\no such folder\\file"), win::Claim::kFailed);
}

} // namespace
