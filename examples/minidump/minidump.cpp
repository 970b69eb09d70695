// A host that attaches a minidump to its report, which opens in a debugger where the program failed. Build it with
// /EHa.
#include <windows.h>
#include <stdio.h>

#include "faultkit.h"
#include "wendax.h"

namespace {

char dump_path[MAX_PATH];

// The fault's pointers are at hand here, and the stack is as the fault left it.
void __cdecl translate_with_dump(unsigned int code, EXCEPTION_POINTERS* pointers) {
    SetAttachment(WriteFaultDump(dump_path, pointers) ? dump_path : nullptr);
    APISeTranslator(code, pointers);
}

int divide(int dividend, volatile int* divisor) {
    return dividend / *divisor;
}

int (*volatile work)(int, volatile int*) = divide;

} // namespace

int main() {
    char folder[MAX_PATH - 20];
    const DWORD length = GetTempPathA(sizeof(folder), folder);
    if (length == 0 || length >= sizeof(folder))
        return 1;
    sprintf(dump_path, "%sminidump.dmp", folder);

    WendaxCoverThread(translate_with_dump);
    try {
        volatile int zero = 0;
        work(1, &zero);
    } catch (char* marker) {
        OpenCrushReport(marker);
    }
    return 0;
}
