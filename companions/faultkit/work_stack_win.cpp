// After a stack overflow some kilobytes are left, and the debugging library needs more. It can't simply always run on a
// thread of its own: a new thread first waits for the loader's lock, which the faulting thread may hold.
#include "companions/faultkit/work_stack.h"

#include <windows.h>
#include <stdint.h>

namespace faultkit {
namespace {

constexpr uint32_t kNeeded = 128 * 1024; // bytes; reading a large PDB under Wine and Windows takes a good half of it
constexpr uint32_t kThreadStack = 1024 * 1024;
constexpr uint32_t kGuardPages = 3 * 4096;

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

bool stack_has_room() {
    MEMORY_BASIC_INFORMATION region;
    const uint32_t here = reinterpret_cast<uint32_t>(&region);
    if (!VirtualQuery(&region, &region, sizeof region))
        return false;
    return here - reinterpret_cast<uint32_t>(region.AllocationBase) >= kNeeded + kGuardPages;
}

} // namespace

Outcome run_with_room(void (*work)(void*), void* data, unsigned patience) {
    if (stack_has_room()) {
        work(data);
        return Outcome::kDone;
    }
    if (abandoned)
        return Outcome::kNoThread;
    current = {work, data};
    const HANDLE thread =
        CreateThread(nullptr, kThreadStack, run_work, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread)
        return Outcome::kNoThread;
    abandoned = WaitForSingleObject(thread, patience) != WAIT_OBJECT_0;
    CloseHandle(thread);
    if (!abandoned)
        return Outcome::kDone;
    HMODULE self = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const char*>(&run_work), &self);
    return Outcome::kAbandoned;
}

bool was_abandoned() {
    return abandoned;
}

} // namespace faultkit
