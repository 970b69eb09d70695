#include "win/files.h"

#include <windows.h>
#include <winioctl.h>

#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/scratch_folder.h"
#include "win/handle.h"

namespace {

class WholeFile : public testing::Test {
protected:
    bool Write(const std::string& text) { return win::write_whole_file(m_path.c_str(), text.data(), text.size()); }
    std::string Content() { return m_folder.read("file"); }

    ScratchFolder m_folder;
    const std::string m_path = m_folder.add("file", "");
};

TEST_F(WholeFile, Has_the_new_bytes_and_none_of_the_old) {
    EXPECT_TRUE(Write(std::string(100000, '#')));
    EXPECT_TRUE(Write(std::string("a\0b\r\n", 5)));
    EXPECT_EQ(Content(), std::string("a\0b\r\n", 5));
    EXPECT_TRUE(Write(""));
    EXPECT_EQ(Content(), "");
}

TEST_F(WholeFile, Is_written_while_another_reads_it) {
    FILE* const reader = fopen(m_path.c_str(), "rb");
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
    const win::FileHandle file(CreateFileA(m_path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    EXPECT_EQ(win::file_size(file.get()), 70000);
}

TEST(FileSize, Beyond_4_GB_is_told_and_that_of_no_file_is_not) {
    const ScratchFolder folder;
    {
        const win::FileHandle file(
            CreateFileA(folder.path("file").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
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
    const ScratchFolder folder;
    EXPECT_EQ(win::claim_file(folder.add("taken", "").c_str()), win::Claim::kTaken);
    EXPECT_EQ(win::claim_file(folder.path("made").c_str()), win::Claim::kMade);
    EXPECT_EQ(folder.files("made").size(), 1u);
    EXPECT_EQ(win::claim_file(folder.path("made").c_str()), win::Claim::kTaken);
    EXPECT_EQ(win::claim_file("C:\\no such folder\\file"), win::Claim::kFailed);
}

} // namespace
