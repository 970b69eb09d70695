// The exported functions: each holds the lock (lock.h) while it runs, and none lets anything out.
#include "companions/faultkit/faultkit.h"

#include <windows.h>

#include "companions/faultkit/describe/fault_report.h"
#include "win/guard.h"
#include "companions/faultkit/lock.h"

namespace {

const char kBusy[] = "(no description: another thread, or a fault while describing one, is in faultkit.dll)";
const char kFaulted[] = "(no description: making it met a fault, which was swallowed)";

} // namespace

extern "C" {

const char* __cdecl GetFaultReason(EXCEPTION_POINTERS* pointers) {
    const faultkit::Turn turn;
    if (!turn)
        return kBusy;
    const char* text = nullptr;
    return win::run_guarded(win::kSwallowAll, [&] { text = faultkit::make_reason(pointers); }) ? text : kFaulted;
}

const char* __cdecl GetFirstStackTraceString(unsigned int options, EXCEPTION_POINTERS* pointers) {
    const faultkit::Turn turn;
    if (!turn)
        return kBusy;
    const char* line = nullptr;
    const bool done = win::run_guarded(win::kSwallowAll, [&] {
        if (faultkit::begin_trace(pointers))
            line = faultkit::next_trace_line(options, pointers);
    });
    return done ? line : kFaulted;
}

const char* __cdecl GetNextStackTraceString(unsigned int options, EXCEPTION_POINTERS* pointers) {
    const faultkit::Turn turn;
    if (!turn)
        return nullptr;
    const char* line = nullptr;
    return win::run_guarded(win::kSwallowAll, [&] { line = faultkit::next_trace_line(options, pointers); }) ? line
                                                                                                            : nullptr;
}

int __cdecl WriteFaultDump(const char* path, EXCEPTION_POINTERS* pointers) {
    const faultkit::Turn turn;
    DWORD error = ERROR_BUSY;
    if (turn && !win::run_guarded(win::kSwallowAll, [&] { error = faultkit::write_dump(path, pointers); }))
        error = ERROR_NOACCESS;
    SetLastError(error);
    return error == ERROR_SUCCESS;
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    return TRUE;
}
}
