// Writes a minidump by dbghelp.dll, under a guard, and where the stack is short on a thread of its own, with a timeout.
// A dump that wasn't finished is deleted.
#include "companions/faultkit/describe/description.h"

#include <dbghelp.h>

#include "companions/faultkit/walk/debug_library.h"
#include "companions/faultkit/walk/stack_walk.h"
#include "companions/faultkit/walk/stopped_thread.h"
#include "companions/faultkit/work_stack.h"
#include "win/files.h"
#include "win/guard.h"

namespace faultkit {
namespace {

// Stacks with what they point to, and the modules that are gone: some hundred kilobytes, small enough for an e-mail.
constexpr int kDumpType = MiniDumpWithIndirectlyReferencedMemory | MiniDumpWithUnloadedModules;

constexpr unsigned kTimeout = 60000; // milliseconds; a dump holds every thread's stack

struct DumpWork {
    HANDLE file;
    MINIDUMP_EXCEPTION_INFORMATION exception;
    DWORD error;
};

DumpWork dump_work;

void write_open_file(DumpWork* work) {
    DebugLibrary library;
    if (!library.open() || !library.write_dump) {
        library.close();
        work->error = ERROR_PROC_NOT_FOUND;
        return;
    }
    MINIDUMP_EXCEPTION_INFORMATION* exception = work->exception.ExceptionPointers ? &work->exception : nullptr;
    const HANDLE process = GetCurrentProcess();
    const DWORD id = GetCurrentProcessId();
    BOOL written =
        library.write_dump(process, id, work->file, static_cast<MINIDUMP_TYPE>(kDumpType), exception, nullptr, nullptr);
    // Versions before 6.0 refuse types that they don't know.
    if (!written && SetFilePointer(work->file, 0, nullptr, FILE_BEGIN) == 0 && SetEndOfFile(work->file))
        written = library.write_dump(process, id, work->file, MiniDumpNormal, exception, nullptr, nullptr);
    work->error = written ? ERROR_SUCCESS : win::last_error_or(ERROR_GEN_FAILURE);
    library.close();
}

void write_guarded(void* data) {
    DumpWork* work = static_cast<DumpWork*>(data);
    if (!win::run_guarded(win::kSwallowAll, [&] { write_open_file(work); }))
        work->error = ERROR_NOACCESS;
}

// Whose fault it is; the pointers may be wrong.
DWORD thread_of(const EXCEPTION_POINTERS* pointers) {
    static ProcessMemory memory;
    static ExceptionCopy copy;
    memory.forget();
    return copy.read(memory, pointers) && copy.has_context ? thread_of_stack(memory, frame_of(copy.context).sp)
                                                           : GetCurrentThreadId();
}

} // namespace

DWORD write_dump(const char* path, EXCEPTION_POINTERS* pointers) {
    if (!path || !*path)
        return ERROR_INVALID_PARAMETER;
    return write_file(path, [&](void* file) -> uint32_t {
        dump_work = {file, {thread_of(pointers), pointers, FALSE}, ERROR_GEN_FAILURE};
        const Outcome outcome = run_on_large_stack(write_guarded, &dump_work, kTimeout);
        return outcome == Outcome::kNoThread ? ERROR_NOT_ENOUGH_MEMORY : dump_work.error;
    });
}

} // namespace faultkit
