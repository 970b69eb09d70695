// The system's debugging library, dbghelp.dll, bound at run time: everything here works, or says that it doesn't, on a
// system that lacks it or has an old one.
#pragma once

#include <windows.h>
#include <dbghelp.h>

namespace faultkit {

// Loaded and freed by hand, as a destructor would not run after a swallowed fault. The library keeps its data in a heap
// of its own; loading it uses the loader, and with it the process heap.
struct DebugLibrary {
    HMODULE module;
    decltype(SymInitialize)* initialize;
    decltype(SymCleanup)* cleanup;
    decltype(SymGetOptions)* get_options;
    decltype(SymSetOptions)* set_options;
    decltype(SymLoadModuleEx)* load_module;
    decltype(SymGetModuleInfo64)* module_info;
    decltype(SymFromAddr)* symbol_at;
    decltype(SymGetLineFromAddr64)* line_at;
    decltype(StackWalk64)* walk;
    decltype(SymFunctionTableAccess64)* function_table;
    decltype(SymGetModuleBase64)* module_base;
    decltype(MiniDumpWriteDump)* write_dump;
    // Of newer versions only: the functions inlined at an address. All three are there, or all are null.
    DWORD(WINAPI* inline_count)(HANDLE process, DWORD64 address);
    BOOL(WINAPI* inline_query)(HANDLE process, DWORD64 start, DWORD start_context, DWORD64 start_return,
                               DWORD64 address, DWORD* context, DWORD* index);
    BOOL(WINAPI* inline_symbol)(HANDLE process, DWORD64 address, ULONG context, DWORD64* displacement,
                                SYMBOL_INFO* symbol);
    BOOL(WINAPI* inline_line)(HANDLE process, DWORD64 address, ULONG context, DWORD64 base, DWORD* displacement,
                              IMAGEHLP_LINE64* line);

    // Loads the library from the system's folder and looks its functions up. Returns false when it isn't there; a
    // function that it lacks is null.
    bool open();
    void close();
    bool has_symbols() const;
};

} // namespace faultkit
