// A DLL with a global object and a translator that throws across the DLL's border: what the toolchain must bring along.
#include <windows.h>
#include <stdio.h>

namespace {

int runs;

struct Global {
    Global() { ++runs; }
    ~Global() {
        puts("dll global destroyed");
        fflush(stdout);
    }
};
Global global;

char marker[] = "marker";

} // namespace

extern "C" void throw_marker(unsigned, EXCEPTION_POINTERS*) {
    throw static_cast<char*>(marker);
}

extern "C" int initializer_runs() {
    return runs;
}

// Writes behind its buffer if there are more than 16 letters.
extern "C" int overrun(const char* letters, int count) {
    char buffer[16];
    for (int i = 0; i < count; ++i)
        buffer[i] = letters[i];
    return buffer[0];
}
