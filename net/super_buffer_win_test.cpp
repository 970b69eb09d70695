#include "net/super_buffer.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

TEST(SuperBufferOnWindows, Folder_adds_nothing) {
    char folder[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
    CSuperBuffer buffer;
    buffer.AppendFile(folder);
    buffer.AppendFile("C:\\windows");
    EXPECT_EQ(buffer.GetLength(), 0u);
}

TEST(SuperBufferOnWindows, File_that_the_host_still_writes_is_read) {
    char folder[MAX_PATH];
    char path[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
    ASSERT_NE(GetTempFileNameA(folder, "log", 0, path), 0u);
    FILE* const log = fopen(path, "wb");
    ASSERT_NE(log, nullptr);
    fputs("so far", log);
    fflush(log);
    CSuperBuffer buffer;
    buffer.AppendFile(path);
    EXPECT_EQ(std::string(buffer.GetData(), buffer.GetLength()), "so far");
    fclose(log);
    DeleteFileA(path);
}

TEST(SuperBufferOnWindows, File_locked_by_another_adds_nothing) {
    char folder[MAX_PATH];
    char path[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
    ASSERT_NE(GetTempFileNameA(folder, "log", 0, path), 0u);
    const HANDLE locked =
        CreateFileA(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    DWORD written;
    ASSERT_TRUE(WriteFile(locked, "secret", 6, &written, nullptr));
    CSuperBuffer buffer;
    buffer.AppendFile(path);
    EXPECT_EQ(buffer.GetLength(), 0u);
    CloseHandle(locked);
}

// Sizes that are negative, or small, in the 32 bits of a long.
TEST(SuperBufferOnWindows, File_of_gigabytes_is_out_of_memory_and_changes_nothing) {
    char folder[MAX_PATH];
    char path[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
    ASSERT_NE(GetTempFileNameA(folder, "big", 0, path), 0u);
    for (const LONGLONG size : {0x80000000LL, 0xFFFFFFFFLL, 0x100000000LL, 0x10000000ALL}) {
        SCOPED_TRACE(size);
        const HANDLE file = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        LARGE_INTEGER end;
        end.QuadPart = size;
        ASSERT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && SetEndOfFile(file));
        CloseHandle(file);
        CSuperBuffer buffer;
        buffer.Append("kept");
        EXPECT_THROW(buffer.AppendFile(path), gen::genlib_out_of_memory);
        EXPECT_EQ(std::string(buffer.GetData(), buffer.GetLength()), "kept");
    }
    DeleteFileA(path);
}

} // namespace
