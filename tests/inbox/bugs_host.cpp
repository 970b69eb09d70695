// A program with thirty bugs, which reports them one after the other without a dialog. What differs between two users
// who meet the same bug is drawn from a seed.
//
// usage: bugs_host SEED NUMBER...
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>

#include "include/wendax.h"
#include "tests/inbox/bugs.h"
#include "win/library.h"

namespace {

EXCEPTION_POINTERS* fault;
decltype(plugin_bug)* plugin;

void __cdecl keep_and_translate(unsigned code, EXCEPTION_POINTERS* pointers) {
    fault = pointers;
    APISeTranslator(code, pointers);
}

// Where the plugin would like to lie something else lies already, for some.
bool load_plugin(unsigned seed) {
    if (seed % 3)
        VirtualAlloc(reinterpret_cast<void*>(0x10000000), 0x10000 * (seed % 3), MEM_RESERVE, PAGE_NOACCESS);
    const HMODULE module = LoadLibraryA("bugs_plugin.dll");
    plugin = module ? win::function_of<decltype(plugin_bug)>(module, "plugin_bug") : nullptr;
    return plugin;
}

// From the menu straight away, or through a few more hands.
BUGS_NOINLINE int dispatch(int depth, int number, unsigned seed) {
    if (depth > 0)
        return dispatch(depth - 1, number, seed) + depth;
    if (number < kHostBugs)
        commit_host_bug(number, seed);
    else
        plugin(number - kHostBugs, seed);
    return number;
}
int (*volatile dispatcher)(int, int, unsigned) = dispatch;

// The library's record of a fault, which it gives to nobody; hosts of this kind get by with the same layout.
struct Exception {
    void* table;
    int automatic;
};
struct Record {
    Exception base; // whose padding is its own
    unsigned code;
    EXCEPTION_POINTERS* pointers;
};

void report() {
    Record record = {{nullptr, 0}, fault->ExceptionRecord->ExceptionCode, fault};
    CCrashReport report(reinterpret_cast<CSeException*>(&record));
    report.GenerateEmail(0, "Drawing Board", nullptr, nullptr);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    const unsigned seed = strtoul(argv[1], nullptr, 0);
    if (!load_plugin(seed))
        return 3;
    WendaxCoverThread(keep_and_translate);
    for (int i = 2; i < argc; ++i) {
        const int number = atoi(argv[i]);
        try {
            dispatcher(static_cast<int>(seed / 3 % 9), number, seed * 2654435761u + static_cast<unsigned>(number));
            printf("no consequence: %d\n", number);
        } catch (char*) {
            report();
            printf("reported %d\n", number);
        }
        fflush(stdout);
    }
    return 0;
}
