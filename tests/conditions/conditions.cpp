#include "tests/conditions/conditions.h"

#include <windows.h>
#include <winspool.h>
#include <stdlib.h>
#include <string.h>

#include "testing/cxx/import_slot.h"

namespace {

// The regions that are held, largest first: the first of them are given back at the end.
void* regions[4096];
int region_count;

void hold_address_space() {
    for (SIZE_T size = 256 << 20; size >= 64 << 10; size /= 2) {
        while (region_count < 4096) {
            void* const region = VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS);
            if (!region)
                break;
            regions[region_count++] = region;
        }
    }
}

// The blocks are never given back; each holds the address of the one before, so that they count as used.
void hold_heaps() {
    static void* last;
    for (size_t size = 1 << 20; size >= 8; size /= 2) {
        while (void* const block = malloc(size)) {
            *static_cast<void**>(block) = last;
            last = block;
        }
        while (void* const block = HeapAlloc(GetProcessHeap(), 0, size)) {
            *static_cast<void**>(block) = last;
            last = block;
        }
    }
}

// Runs over the ends of blocks in use, as a careless host does: the records of free and of used neighbours are lost.
void break_heap() {
    constexpr int kCount = 64, kKinds = 9;
    static char* blocks[kKinds][kCount];
    for (int kind = 0; kind < kKinds; ++kind) {
        for (char*& block : blocks[kind])
            block = static_cast<char*>(malloc(16u << kind));
    }
    for (auto& same : blocks) {
        for (int i = 1; i < kCount; i += 2)
            free(same[i]);
    }
    for (int kind = 0; kind < kKinds; ++kind) {
        for (int i = 0; i + 2 < kCount; i += 2)
            memset(blocks[kind][i], 0xEE, (16u << kind) + 32);
    }
}

void use_up_gdi() {
    for (int i = 0; i < 1 << 20 && CreateSolidBrush(static_cast<COLORREF>(i)); ++i) {
    }
}

// Puts the replacement in the place of the function that Wendax.dll imports.
template <class Function>
bool replace(const char* name, Function* replacement) {
    static const char* const kLibraries[] = {"advapi32.dll", "gdi32.dll",   "kernel32.dll", "shell32.dll",
                                             "user32.dll",   "wininet.dll", "winspool.drv"};
    for (const char* library : kLibraries) {
        if (GetProcAddress(GetModuleHandleA(library), name) &&
            replace_import(GetModuleHandleA("Wendax.dll"), library, name, replacement))
            return true;
    }
    return false;
}

void fault() {
    *static_cast<volatile int*>(nullptr) = 1;
}

// What a hook of another maker throws: of a type that nobody else knows.
struct ForeignError {
    int code;
};

void throw_foreign_error() {
    throw ForeignError{1};
}

int screen_contexts; // that Wendax.dll has taken from the screen and not given back

HDC WINAPI take_context(HWND window) {
    HDC const context = GetDC(window);
    screen_contexts += context != nullptr;
    return context;
}

int WINAPI give_context_back(HWND window, HDC context) {
    const int released = ReleaseDC(window, context);
    screen_contexts -= released;
    return released;
}

// What the runtime calls for its heap, by which every block of the host's comes and goes; it is put back at the end.
struct HeapFunction {
    const char* name;
    void** slot = nullptr;
    void* working = nullptr;
} heap_functions[] = {{"HeapAlloc"}, {"HeapReAlloc"}, {"HeapFree"}, {"HeapSize"}};

bool break_heap_for_good() {
    HMODULE const runtime = GetModuleHandleA("msvcrt.dll");
    for (HeapFunction& function : heap_functions) {
        function.slot = import_slot(runtime, "kernel32.dll", function.name);
        function.working = function.slot ? *function.slot : nullptr;
        if (!replace_import(runtime, "kernel32.dll", function.name, fault))
            return false;
    }
    return true;
}

void mend_heap() {
    for (const HeapFunction& function : heap_functions) {
        if (function.slot)
            *function.slot = function.working;
    }
}

// For functions of GDI+, which Wendax.dll binds by itself: their code is overwritten.
bool break_code(const char* name) {
    static const unsigned char kWriteToNull[] = {0x31, 0xC0, 0x89, 0x00}; // xor eax, eax; mov [eax], eax
    void* const code = reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("gdiplus.dll"), name));
    DWORD before;
    if (!code || !VirtualProtect(code, sizeof kWriteToNull, PAGE_EXECUTE_READWRITE, &before))
        return false;
    memcpy(code, kWriteToNull, sizeof kWriteToNull);
    return VirtualProtect(code, sizeof kWriteToNull, before, &before);
}

LSTATUS APIENTRY no_key(HKEY, LPCSTR, PHKEY) {
    return ERROR_BADDB;
}

LSTATUS APIENTRY no_key_either(HKEY, LPCSTR, DWORD, REGSAM, PHKEY) {
    return ERROR_BADDB;
}

BOOL WINAPI no_spooler(DWORD, LPSTR, DWORD, LPBYTE, DWORD, LPDWORD, LPDWORD) {
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return FALSE;
}

BOOL WINAPI slow_spooler(DWORD, LPSTR, DWORD, LPBYTE, DWORD, LPDWORD, LPDWORD) {
    Sleep(3000);
    SetLastError(RPC_S_CALL_FAILED);
    return FALSE;
}

size_t largest_block;

void* WINAPI small_block(HANDLE heap, DWORD flags, SIZE_T size) {
    return size <= largest_block ? HeapAlloc(heap, flags, size) : nullptr;
}

void* WINAPI small_grown_block(HANDLE heap, DWORD flags, void* block, SIZE_T size) {
    return size <= largest_block ? HeapReAlloc(heap, flags, block, size) : nullptr;
}

void* WINAPI small_region(void* address, SIZE_T size, DWORD type, DWORD protection) {
    return size <= largest_block ? VirtualAlloc(address, size, type, protection) : nullptr;
}

bool limit_blocks(const char* kib) {
    largest_block = static_cast<size_t>(atoi(kib)) << 10;
    return replace("HeapAlloc", small_block) && replace("HeapReAlloc", small_grown_block) &&
           replace("VirtualAlloc", small_region);
}

} // namespace

bool takes_argument(const char* name) {
    return strcmp(name, "blocks") == 0 || strcmp(name, "fault") == 0 || strcmp(name, "throw") == 0;
}

bool make_condition(const char* name, const char* argument) {
    if (strcmp(name, "memory") == 0)
        hold_address_space(), hold_heaps();
    else if (strcmp(name, "blocks") == 0)
        return limit_blocks(argument);
    else if (strcmp(name, "heap") == 0)
        break_heap();
    else if (strcmp(name, "broken-heap") == 0)
        return break_heap_for_good();
    else if (strcmp(name, "gdi") == 0)
        use_up_gdi();
    else if (strcmp(name, "fault") == 0)
        return replace(argument, fault) || break_code(argument);
    else if (strcmp(name, "throw") == 0)
        return replace(argument, throw_foreign_error);
    else if (strcmp(name, "contexts") == 0)
        return replace("GetDC", take_context) && replace("ReleaseDC", give_context_back);
    else if (strcmp(name, "registry") == 0)
        return replace("RegOpenKeyA", no_key) && replace("RegOpenKeyExA", no_key_either);
    else if (strcmp(name, "printers") == 0)
        return replace("EnumPrintersA", no_spooler);
    else if (strcmp(name, "slow-printers") == 0)
        return replace("EnumPrintersA", slow_spooler);
    else
        return false;
    return true;
}

int screen_contexts_held() {
    return screen_contexts;
}

void end_conditions() {
    for (int i = 0; i < region_count && i < 8; ++i)
        VirtualFree(regions[i], 0, MEM_RELEASE);
    region_count = 0;
    mend_heap();
}
