// Puts a function of the test's own in the place of one that a loaded library imports.
#pragma once

#include <windows.h>

// Where the module keeps the address of the function that it imports; null if it doesn't.
inline void** import_slot(HMODULE module, const char* library, const char* function) {
    void* const wanted = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(library), function));
    auto* const base = reinterpret_cast<unsigned char*>(module);
    const auto* const headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* from = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); from->Name; ++from)
        for (auto** slot = reinterpret_cast<void**>(base + from->FirstThunk); *slot; ++slot)
            if (*slot == wanted)
                return slot;
    return nullptr;
}

// From here on the module calls `replacement`. Returns what it would have called, null if it doesn't import that.
template <class Function>
Function* replace_import(HMODULE module, const char* library, const char* function, Function* replacement) {
    void** const slot = import_slot(module, library, function);
    DWORD before;
    if (!slot || !VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &before))
        return nullptr;
    auto* const replaced = reinterpret_cast<Function*>(*slot);
    *slot = reinterpret_cast<void*>(replacement);
    return replaced;
}
