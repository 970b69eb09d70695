// The plugin's bugs: an image filter that a program loads.
#include <windows.h>

#include "tests/inbox/bugs.h"

namespace {

volatile int sink;
int* volatile nothing = nullptr;

struct Filter {
    virtual int apply(int strength) = 0;
};

// The buffer is gone by the time that a row is written.
BUGS_NOINLINE void write_row(unsigned char* row, unsigned seed) {
    for (unsigned i = 0; i < 4 + seed % 8; ++i)
        row[i] = static_cast<unsigned char>(seed);
}

BUGS_NOINLINE void blur(unsigned seed) {
    void* const buffer = VirtualAlloc(nullptr, 65536, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    VirtualFree(buffer, 0, MEM_RELEASE);
    write_row(static_cast<unsigned char*>(buffer) + seed % 4096, seed);
    sink = 1;
}

BUGS_NOINLINE int sharpen(unsigned seed) {
    return static_cast<int>(seed + 100) / (sink - sink);
}

BUGS_NOINLINE int choose_filter(Filter* filter, unsigned seed) {
    return filter->apply(static_cast<int>(seed)) + 2;
}

BUGS_NOINLINE int read_palette(const int* entries, unsigned seed) {
    int sum = 0;
    for (unsigned i = seed % 16; i < 32 + seed % 16; ++i)
        sum += entries[i];
    return sum;
}

// Both of these read a palette that isn't there.
BUGS_NOINLINE void quantize(unsigned seed) {
    sink = read_palette(nothing, seed) + 3;
}

BUGS_NOINLINE void dither(unsigned seed) {
    sink = read_palette(nothing, seed + 1) * 5;
}

BUGS_NOINLINE void check_licence(unsigned seed) {
    const ULONG_PTR parameters[] = {seed, 7};
    RaiseException(0xE0004C49, 0, 2, parameters);
    sink = 4;
}

} // namespace

extern "C" void __cdecl plugin_bug(int number, unsigned seed) {
#if BUGS_VERSION > 1
    sink = Padding<BUGS_VERSION * 2>::stretch(static_cast<int>(seed));
#endif
    switch (number) {
    case 0:
        blur(seed);
        break;
    case 1:
        sink = 1;
        sink = sharpen(seed);
        break;
    case 2:
        sink = choose_filter(reinterpret_cast<Filter*>(nothing), seed);
        break;
    case 3:
        quantize(seed);
        break;
    case 4:
        dither(seed);
        break;
    case 5:
        check_licence(seed);
        break;
    }
    sink = sink + 1;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
