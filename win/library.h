// Functions that are looked up at run time.
#pragma once

#include <windows.h>

namespace win {

// The exported function of a loaded module as a FunctionType*, or null when the module lacks it.
template <class FunctionType>
FunctionType* function_of(HMODULE module, const char* name) {
    return reinterpret_cast<FunctionType*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// That of the system's own ntdll.dll, which every process has.
template <class FunctionType>
FunctionType* function_of_ntdll(const char* name) {
    return function_of<FunctionType>(GetModuleHandleA("ntdll.dll"), name);
}

// LoadLibraryExA that shows nothing: where a file is damaged, the system would otherwise put a box of its own on the
// screen. Null when the library can't be loaded; the caller frees it.
HMODULE load_quietly(const char* path, DWORD flags = 0);
// The same for a path that may have letters outside the ANSI code page.
HMODULE load_quietly(const wchar_t* path);

// Loads a DLL of the system by its full path, so that no other file of the name can take its place. Null when there is
// none; the caller frees it. Takes no memory of its own.
HMODULE load_system_library(const char* file_name);

// Keeps the module that the address lies in loaded until the process ends: for code that nobody can wait for.
void keep_loaded(const void* address);

} // namespace win
