#include <gtest/gtest.h>

#include "win/handle.h"
#include "win/library.h"

namespace {

TEST(Library, System_library_is_the_one_of_the_system_folder) {
    const win::LibraryHandle library(win::load_system_library("version.dll"));
    ASSERT_TRUE(library);
    char path[MAX_PATH], folder[MAX_PATH];
    GetModuleFileNameA(library.get(), path, sizeof(path));
    const UINT length = GetSystemDirectoryA(folder, sizeof(folder));
    EXPECT_EQ(_strnicmp(path, folder, length), 0) << path;
}

TEST(Library, Missing_system_library_is_null) {
    EXPECT_EQ(win::load_system_library("no such library.dll"), nullptr);
}

TEST(Library, Function_is_found_by_name_or_null) {
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    const auto ticks = win::function_of<DWORD WINAPI()>(kernel, "GetTickCount");
    ASSERT_NE(ticks, nullptr);
    EXPECT_NE(ticks(), 0u);
    EXPECT_EQ(win::function_of<DWORD WINAPI()>(kernel, "NoSuchFunction"), nullptr);
}

} // namespace
