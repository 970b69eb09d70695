#include <gtest/gtest.h>

#include <cstring>
#include <string>

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

// What the loader tells of each library: the error mode while it was being loaded.
UINT mode_while_loading;

void CALLBACK note_mode(ULONG, const void*, void*) {
    mode_while_loading = GetErrorMode();
}

TEST(Library, Loaded_quietly_shows_no_box_and_leaves_the_mode_as_it_was) {
    using Register = LONG NTAPI(ULONG, void(CALLBACK*)(ULONG, const void*, void*), void*, void**);
    const HMODULE loader = GetModuleHandleA("ntdll.dll");
    void* registered = nullptr;
    ASSERT_EQ(win::function_of<Register>(loader, "LdrRegisterDllNotification")(0, note_mode, nullptr, &registered), 0);
    const UINT before = SetErrorMode(SEM_NOALIGNMENTFAULTEXCEPT);
    {
        const win::LibraryHandle library(win::load_quietly("avifil32.dll"));
        ASSERT_TRUE(library);
        EXPECT_EQ(mode_while_loading & (SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX),
                  static_cast<UINT>(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX));
    }
    EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOALIGNMENTFAULTEXCEPT));
    EXPECT_EQ(win::load_quietly("no such library.dll"), nullptr);
    EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOALIGNMENTFAULTEXCEPT));
    SetErrorMode(before);
    win::function_of<LONG NTAPI(void*)>(loader, "LdrUnregisterDllNotification")(registered);
}

TEST(Library, Missing_system_library_is_null) {
    EXPECT_EQ(win::load_system_library("no such library.dll"), nullptr);
}

// A stranger's DLL in the folder where a program was put, or from which it was started.
TEST(Library, Library_beside_the_program_is_not_taken_for_the_systems) {
    char folder[MAX_PATH], program[MAX_PATH];
    GetSystemDirectoryA(folder, sizeof(folder));
    GetModuleFileNameA(nullptr, program, sizeof(program));
    const std::string planted = std::string(program, strrchr(program, '\\') + 1) + "planted.dll";
    ASSERT_TRUE(CopyFileA((std::string(folder) + "\\version.dll").c_str(), planted.c_str(), FALSE));
    EXPECT_EQ(win::load_system_library("planted.dll"), nullptr);
    EXPECT_TRUE(win::LibraryHandle(LoadLibraryA("planted.dll"))) << "the bare name finds it";
    DeleteFileA(planted.c_str());
}

TEST(Library, Function_is_found_by_name_or_null) {
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    const auto ticks = win::function_of<DWORD WINAPI()>(kernel, "GetTickCount");
    ASSERT_NE(ticks, nullptr);
    EXPECT_NE(ticks(), 0u);
    EXPECT_EQ(win::function_of<DWORD WINAPI()>(kernel, "NoSuchFunction"), nullptr);
}

} // namespace
