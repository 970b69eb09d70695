// Writes a resource of a module to standard output, byte for byte.
//
// usage: resource_host MODULE TYPE NAME (both numbers)
#include <windows.h>
#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    HMODULE const module = LoadLibraryExA(argv[1], nullptr, LOAD_LIBRARY_AS_DATAFILE);
    HRSRC const found = FindResourceA(module, MAKEINTRESOURCEA(atoi(argv[3])), MAKEINTRESOURCEA(atoi(argv[2])));
    const void* const bytes = found ? LockResource(LoadResource(module, found)) : nullptr;
    if (!bytes)
        return 1;
    _setmode(_fileno(stdout), _O_BINARY);
    fwrite(bytes, 1, SizeofResource(module, found), stdout);
    return 0;
}
