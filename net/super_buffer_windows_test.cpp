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

} // namespace
