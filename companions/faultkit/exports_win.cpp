// The exported functions. Those that describe a fault hold a lock while they run, as the debugging library allows one
// caller at a time and the storage is static; none lets anything out.
#include <windows.h>

#include "companions/faultkit/describe/description.h"
#include "companions/faultkit/faultkit.h"
#include "companions/faultkit/notes/host_words.h"
#include "win/guard.h"

namespace {

const char kBusy[] = "(no description: another thread, or a fault while describing one, is in faultkit.dll)";
const char kFaulted[] = "(no description: making it met a fault, which was swallowed)";

constexpr DWORD kTimeout = 5000; // milliseconds

faultkit::Description description;

// The thread that holds the lock, 0 for none. Not a critical section: its owner may have died with it, and it would let
// the same thread in twice.
volatile LONG owner;

// Holds the lock until its end. Waits for another thread, looking once a millisecond; a thread that comes again while
// it already holds the lock (a fault inside a fault's description) is refused at once.
class Lock {
public:
    Lock() {
        const LONG self = static_cast<LONG>(GetCurrentThreadId());
        const DWORD begin = GetTickCount();
        while (!m_held) {
            const LONG before = InterlockedCompareExchange(&owner, self, 0);
            m_held = before == 0;
            if (before == self || (!m_held && GetTickCount() - begin >= kTimeout))
                return;
            if (!m_held)
                Sleep(1);
        }
    }
    ~Lock() {
        if (m_held)
            InterlockedExchange(&owner, 0);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    explicit operator bool() const { return m_held; }

private:
    bool m_held = false;
};

// What step() returns, or what stands for it when the lock is not to be had, or when the step met a fault.
template <class Result, class Step>
Result run_locked(Result busy, Result faulted, Step step) {
    const Lock lock;
    if (!lock)
        return busy;
    Result result = faulted;
    return win::run_guarded(win::kSwallowAll, [&] { result = step(); }) ? result : faulted;
}

// 1 where the step, which writes a file under the lock, returns no error; the last error is set in any case.
template <class Step>
int written(Step step) {
    const DWORD error = run_locked<DWORD>(ERROR_BUSY, ERROR_NOACCESS, step);
    SetLastError(error);
    return error == ERROR_SUCCESS;
}

// 1 where the step returns no error; the last error is only set otherwise. Takes no lock of its own: the host calls it
// all the time.
template <class Step>
int told(Step step) {
    DWORD error = ERROR_NOACCESS;
    win::run_guarded(win::kSwallowAll, [&] { error = step(); });
    if (error)
        SetLastError(error);
    return error == ERROR_SUCCESS;
}

} // namespace

extern "C" {

const char* __cdecl GetFaultReason(EXCEPTION_POINTERS* pointers) {
    return run_locked<const char*>(kBusy, kFaulted, [&] { return description.reason(pointers); });
}

const char* __cdecl GetFirstStackTraceString(unsigned int options, EXCEPTION_POINTERS* pointers) {
    return run_locked<const char*>(kBusy, kFaulted, [&] { return description.first_line(options, pointers); });
}

const char* __cdecl GetNextStackTraceString(unsigned int options, EXCEPTION_POINTERS* pointers) {
    return run_locked<const char*>(nullptr, nullptr, [&] { return description.next_line(options, pointers); });
}

int __cdecl WriteFaultDump(const char* path, EXCEPTION_POINTERS* pointers) {
    return written([&] { return faultkit::write_dump(path, pointers); });
}

int __cdecl WriteFaultText(const char* path, EXCEPTION_POINTERS* pointers) {
    return written([&] { return description.write_to_file(path, pointers); });
}

int __cdecl SetFaultValue(const char* key, const char* text) {
    return told([&] { return faultkit::set_value(key, text); });
}

int __cdecl AddFaultNote(const char* text) {
    return told([&] { return faultkit::add_note(text); });
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    return TRUE;
}
}
