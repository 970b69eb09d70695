// Test support: the files that are built for the tests to read.
#pragma once

#include <windows.h>

#include <string>

// The folder of the test program itself, with a backslash at its end.
inline std::string test_folder() {
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, sizeof(path));
    const std::string text = path;
    return text.substr(0, text.rfind('\\') + 1);
}

// A DLL of test_data, as "version_complete".
inline std::string test_file(const std::string& name) {
    return test_folder() + "test_data\\" + name + ".dll";
}
