// A debugging library that knows nothing, and faults in the function that BAD_DBGHELP_FAULTS_IN names. Where that is
// "frame-pointers", it walks by them alone, and where "telling-walks", it only tells from where it would; with "throw "
// before the name it throws a C++ exception there. It tells the standard error of each session that is opened and each
// module that is loaded.
#include <windows.h>
#include <dbghelp.h>
#include <stdio.h>
#include <string.h>

#include "tests/faultkit/machine_faults.h"

namespace {

volatile int zero = 0;

bool is_wanted(const char* fault) {
    char wanted[64];
    return GetEnvironmentVariableA("BAD_DBGHELP_FAULTS_IN", wanted, sizeof wanted) && strcmp(wanted, fault) == 0;
}

struct DebugLibraryError {
    int code;
};

void maybe_fault(const char* function) {
    if (is_wanted(function))
        *reinterpret_cast<volatile int*>(zero) = 1;
    char thrown[64];
    sprintf(thrown, "throw %s", function);
    if (is_wanted(thrown))
        throw DebugLibraryError{1};
}

} // namespace

extern "C" {

BOOL WINAPI bad_SymInitialize(HANDLE session, PCSTR, BOOL) {
    fprintf(stderr, "dbghelp: session of process %lu\n", GetProcessId(session));
    maybe_fault("SymInitialize");
    return TRUE;
}

BOOL WINAPI bad_SymCleanup(HANDLE) {
    maybe_fault("SymCleanup");
    return TRUE;
}

DWORD WINAPI bad_SymGetOptions() {
    return 0;
}

DWORD WINAPI bad_SymSetOptions(DWORD options) {
    return options;
}

DWORD64 WINAPI bad_SymLoadModuleEx(HANDLE, HANDLE, PCSTR path, PCSTR, DWORD64 base, DWORD, PMODLOAD_DATA, DWORD) {
    fprintf(stderr, "dbghelp: module %s\n", path);
    maybe_fault("SymLoadModuleEx");
    return base;
}

// Claims to have read a PDB of every module.
BOOL WINAPI bad_SymGetModuleInfo64(HANDLE, DWORD64, PIMAGEHLP_MODULE64 info) {
    info->SymType = SymPdb;
    return TRUE;
}

BOOL WINAPI bad_SymFromAddr(HANDLE, DWORD64, PDWORD64, PSYMBOL_INFO) {
    maybe_fault("SymFromAddr");
    return FALSE;
}

BOOL WINAPI bad_SymGetLineFromAddr64(HANDLE, DWORD64, PDWORD, PIMAGEHLP_LINE64) {
    return FALSE;
}

// A step that always succeeds, and leads nowhere.
BOOL WINAPI bad_StackWalk64(DWORD, HANDLE, HANDLE, LPSTACKFRAME64 frame, PVOID context,
                            PREAD_PROCESS_MEMORY_ROUTINE64 read, PFUNCTION_TABLE_ACCESS_ROUTINE64,
                            PGET_MODULE_BASE_ROUTINE64, PTRANSLATE_ADDRESS_ROUTINE64) {
    maybe_fault("StackWalk64");
    if (is_wanted("telling-walks")) {
        tell_walk(*frame, *static_cast<CONTEXT*>(context));
        return FALSE;
    }
    if (is_wanted("frame-pointers"))
        return follow_frame_pointer(frame, static_cast<CONTEXT*>(context), read);
    frame->AddrPC.Offset = 0x12345678;
    return TRUE;
}

PVOID WINAPI bad_SymFunctionTableAccess64(HANDLE, DWORD64) {
    return nullptr;
}

DWORD64 WINAPI bad_SymGetModuleBase64(HANDLE, DWORD64) {
    return 0;
}

BOOL WINAPI bad_MiniDumpWriteDump(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                                  PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION) {
    maybe_fault("MiniDumpWriteDump");
    return FALSE;
}
}
