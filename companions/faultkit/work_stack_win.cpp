// After a stack overflow some kilobytes are left, and the debugging library needs more. It can't simply always run on a
// thread of its own: a new thread first waits for the loader's lock, which the faulting thread may hold.
#include "companions/faultkit/work_stack.h"

#include <windows.h>

#include "win/files.h"
#include "win/library.h"

namespace faultkit {
namespace {

constexpr int kNeeded = 128 * 1024; // bytes; reading a large PDB under Wine and Windows takes a good half of it
constexpr int kThreadStack = 1024 * 1024;
constexpr int kGuardPages = 3 * 4096;

struct Work {
    void (*work)(void*);
    void* data;
};

Work current;
bool abandoned;

DWORD WINAPI run_work(void*) {
    current.work(current.data);
    return 0;
}

bool is_large() {
    MEMORY_BASIC_INFORMATION region;
    const char* const here = reinterpret_cast<const char*>(&region);
    if (!VirtualQuery(&region, &region, sizeof region))
        return false;
    return here - static_cast<const char*>(region.AllocationBase) >= kNeeded + kGuardPages;
}

} // namespace

Outcome run_on_large_stack(void (*work)(void*), void* data, unsigned timeout) {
    if (is_large()) {
        work(data);
        return Outcome::kDone;
    }
    // A second thread would wait for what the first one holds.
    if (abandoned)
        return Outcome::kNoThread;
    current = {work, data};
    const HANDLE thread =
        CreateThread(nullptr, kThreadStack, run_work, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread)
        return Outcome::kNoThread;
    abandoned = WaitForSingleObject(thread, timeout) != WAIT_OBJECT_0;
    CloseHandle(thread);
    if (!abandoned)
        return Outcome::kDone;
    win::keep_loaded(&current);
    return Outcome::kAbandoned;
}

bool was_abandoned() {
    return abandoned;
}

uint32_t write_file(const char* path, uint32_t (*fill)(void* file, void* context), void* context) {
    if (abandoned)
        return ERROR_BUSY;
    // Nobody reads half a file, and one that is given up goes when its writer ends.
    const HANDLE file =
        CreateFileA(path, GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return win::last_error_or(ERROR_GEN_FAILURE);
    uint32_t error = fill(file, context);
    if (abandoned)
        error = ERROR_TIMEOUT; // its writer may still be at it, so the handle stays open
    else
        CloseHandle(file);
    if (error)
        DeleteFileA(path);
    return error;
}

} // namespace faultkit
