#include "net/super_buffer.h"

#include <gtest/gtest.h>

#include "testing/cxx/scratch_folder.h"

namespace {

TEST(SuperBufferOnWindows, Folder_adds_nothing) {
    const ScratchFolder folder;
    CSuperBuffer buffer;
    buffer.AppendFile(folder.path("").c_str());
    buffer.AppendFile("C:\\windows");
    EXPECT_EQ(buffer.GetLength(), 0u);
}

TEST(SuperBufferOnWindows, File_that_the_host_still_writes_is_read) {
    const ScratchFolder folder;
    const std::string path = folder.path("file");
    FILE* const log = fopen(path.c_str(), "wb");
    ASSERT_NE(log, nullptr);
    fputs("so far", log);
    fflush(log);
    CSuperBuffer buffer;
    buffer.AppendFile(path.c_str());
    EXPECT_EQ(std::string(buffer.GetData(), buffer.GetLength()), "so far");
    fclose(log);
}

TEST(SuperBufferOnWindows, File_locked_by_another_adds_nothing) {
    const ScratchFolder folder;
    const std::string path = folder.path("file");
    const HANDLE locked = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    DWORD written;
    ASSERT_TRUE(WriteFile(locked, "secret", 6, &written, nullptr));
    CSuperBuffer buffer;
    buffer.AppendFile(path.c_str());
    EXPECT_EQ(buffer.GetLength(), 0u);
    CloseHandle(locked);
}

// Sizes that are negative, or small, in the 32 bits of a long.
TEST(SuperBufferOnWindows, File_of_gigabytes_is_out_of_memory_and_changes_nothing) {
    const ScratchFolder folder;
    const std::string path = folder.path("file");
    for (const LONGLONG size : {0x80000000LL, 0xFFFFFFFFLL, 0x100000000LL, 0x10000000ALL}) {
        SCOPED_TRACE(size);
        const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        LARGE_INTEGER end;
        end.QuadPart = size;
        ASSERT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && SetEndOfFile(file));
        CloseHandle(file);
        CSuperBuffer buffer;
        buffer.Append("kept");
        EXPECT_THROW(buffer.AppendFile(path.c_str()), gen::genlib_out_of_memory);
        EXPECT_EQ(std::string(buffer.GetData(), buffer.GetLength()), "kept");
    }
}

} // namespace
