// Loads the DLLs that it is given and tells the stack cookie of each: a line with the name, and the number in
// hexadecimal.
#include <windows.h>
#include <stdio.h>
#include <string.h>

namespace {

// The loader's record of an image, whose structure differs by width; null if it has none.
const IMAGE_LOAD_CONFIG_DIRECTORY* load_config(HMODULE module) {
    const char* const image = reinterpret_cast<const char*>(module);
    const auto* const headers =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(image + reinterpret_cast<const IMAGE_DOS_HEADER*>(image)->e_lfanew);
    const DWORD at = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_LOAD_CONFIG].VirtualAddress;
    return at ? reinterpret_cast<const IMAGE_LOAD_CONFIG_DIRECTORY*>(image + at) : nullptr;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const HMODULE module = LoadLibraryA(argv[i]);
        const IMAGE_LOAD_CONFIG_DIRECTORY* const config = module ? load_config(module) : nullptr;
        if (!config)
            return i;
        printf("%s %llx\n", argv[i],
               static_cast<unsigned long long>(*reinterpret_cast<ULONG_PTR*>(config->SecurityCookie)));
    }
    return 0;
}
