// While a thread is stopped, nothing but four calls of the system's is made, none of which takes a lock of the process
// or allocates: its registers, what memory its stack is, a copy of that, and its release.
#include "companions/faultkit/walk/stopped_thread.h"

#include <stddef.h>
#include <string.h>

#include "companions/faultkit/walk/stack_walk.h"
#include "win/library.h"

namespace faultkit {
namespace {

constexpr DWORD kTimeout = 1000;            // milliseconds for each thread, and for ours to start
constexpr unsigned kMostGivenUp = 3;        // threads of ours in the process's life
constexpr uint32_t kMostCopied = 64 * 1024; // bytes of a stack
constexpr ULONG kSkipAttach = 2;            // no DLL is told of the thread, for which the loader's lock would be needed

using GetNextThread = LONG NTAPI(HANDLE process, HANDLE thread, ACCESS_MASK, ULONG, ULONG, HANDLE* next);
using QueryThread = LONG NTAPI(HANDLE thread, ULONG what, void* to, ULONG size, ULONG* length);
using CreateThreadNative = LONG NTAPI(HANDLE* thread, ACCESS_MASK, void*, HANDLE process, void* start, void* argument,
                                      ULONG flags, SIZE_T, SIZE_T stack, SIZE_T reserve, void*);

char stack_copy[kMostCopied];

// One thread of ours that stops others, and what is passed to it and back. One that was given up keeps its own.
struct Stopper {
    enum State : LONG { kAsked, kCopying, kDone, kRefused, kGivenUp, kEnd };

    volatile LONG state;
    HANDLE self, asked, done;
    DWORD id;
    HANDLE target;
    Address stack;
    Address stack_end;
    uint32_t copied;
    CONTEXT context;

    StopOutcome start();
    void stop_target();
    StopOutcome stop(HANDLE thread);
    void end();
};

Stopper stoppers[kMostGivenUp + 1];
unsigned given_up;

// A wait that fails for once would be taken for a thread that can't be stopped.
bool wait_for(HANDLE object, DWORD timeout) {
    DWORD answer = WAIT_FAILED;
    for (unsigned i = 0; i < 2 && answer == WAIT_FAILED; ++i)
        answer = WaitForSingleObject(object, timeout);
    return answer == WAIT_OBJECT_0;
}

void close(HANDLE& handle) {
    if (handle)
        CloseHandle(handle);
    handle = nullptr;
}

DWORD WINAPI run_stopper(void* data) {
    Stopper& stopper = *static_cast<Stopper*>(data);
    stopper.id = GetCurrentThreadId();
    SetEvent(stopper.done);
    while (wait_for(stopper.asked, INFINITE) && stopper.state == Stopper::kAsked) {
        stopper.stop_target();
        SetEvent(stopper.done);
    }
    return 0;
}

void Stopper::stop_target() {
    if (SuspendThread(target) == static_cast<DWORD>(-1)) {
        InterlockedCompareExchange(&state, kRefused, kAsked);
        return;
    }
    context.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
    const bool known = GetThreadContext(target, &context);
    if (InterlockedCompareExchange(&state, known ? kCopying : kRefused, kAsked) == kAsked && known) {
        stack = frame_of(context).sp;
        MEMORY_BASIC_INFORMATION region;
        SIZE_T done_bytes = 0;
        copied = 0;
        stack_end = stack;
        if (VirtualQuery(reinterpret_cast<void*>(stack), &region, sizeof region) && region.State == MEM_COMMIT &&
            !(region.Protect & (PAGE_GUARD | PAGE_NOACCESS))) {
            stack_end = reinterpret_cast<Address>(region.BaseAddress) + region.RegionSize;
            const Address rest = stack_end - stack;
            copied = rest < kMostCopied ? static_cast<uint32_t>(rest) : kMostCopied;
            if (!ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<void*>(stack), stack_copy, copied,
                                   &done_bytes))
                copied = 0;
        }
        state = kDone;
    }
    ResumeThread(target);
}

StopOutcome Stopper::start() {
    if (self)
        return StopOutcome::kCopied;
    asked = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    done = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    auto* create = win::function_of_ntdll<CreateThreadNative>("NtCreateThreadEx");
    state = kAsked;
    if (asked && done &&
        (!create || create(&self, THREAD_ALL_ACCESS, nullptr, GetCurrentProcess(),
                           reinterpret_cast<void*>(&run_stopper), this, kSkipAttach, 0, 0, 0, nullptr) != 0))
        self = CreateThread(nullptr, 0, run_stopper, this, 0, nullptr);
    if (!self) {
        close(asked);
        close(done);
        return StopOutcome::kRefused;
    }
    if (wait_for(done, kTimeout))
        return StopOutcome::kCopied;
    state = kGivenUp;
    SetEvent(asked);
    return StopOutcome::kTimeout;
}

StopOutcome Stopper::stop(HANDLE thread) {
    target = thread;
    state = kAsked;
    SetEvent(asked);
    // A copy that has begun ends soon, and must not be in the way of the next one.
    if (!wait_for(done, kTimeout) &&
        (InterlockedCompareExchange(&state, kGivenUp, kAsked) == kAsked || !wait_for(done, kTimeout)))
        return StopOutcome::kTimeout;
    return state == kDone ? StopOutcome::kCopied : StopOutcome::kRefused;
}

void Stopper::end() {
    if (!self)
        return;
    state = kEnd;
    SetEvent(asked);
    if (!wait_for(self, kTimeout))
        win::keep_loaded(stoppers);
    close(self);
    close(asked);
    close(done);
}

void* allocation_of(const void* address) {
    MEMORY_BASIC_INFORMATION region = {};
    VirtualQuery(address, &region, sizeof region);
    return region.AllocationBase;
}

bool is_stopper(DWORD id) {
    for (const Stopper& stopper : stoppers)
        if (stopper.self && stopper.id == id)
            return true;
    return false;
}

} // namespace

bool StoppedThread::read(Address address, void* to, uint32_t size) {
    // Further down a thread that runs on seldom comes: there its stack is read where it is.
    if (address - stack > copied || copied - (address - stack) < size)
        return m_memory.read(address, to, size);
    memcpy(to, stack_copy + (address - stack), size);
    return true;
}

bool OtherThreads::next_id() {
    static GetNextThread* const kGetNext = win::function_of_ntdll<GetNextThread>("NtGetNextThread");
    constexpr ACCESS_MASK kAccess = THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION;
    for (;;) {
        HANDLE next = nullptr;
        if (!kGetNext || kGetNext(GetCurrentProcess(), m_thread, kAccess, 0, 0, &next) != 0)
            return false;
        close(m_thread);
        m_thread = next;
        m_stopped.id = GetThreadId(next);
        if (m_stopped.id && m_stopped.id != m_faulting && m_stopped.id != m_describer &&
            m_stopped.id != GetCurrentThreadId() && !is_stopper(m_stopped.id))
            return true;
    }
}

bool OtherThreads::runs_on(const void* allocation) {
    struct {
        LONG status;
        Address block;
        ULONG_PTR process, thread, affinity;
        LONG priority, base_priority;
    } basic = {};
    Address stack_end = 0;
    auto* query = win::function_of<QueryThread>(GetModuleHandleA("ntdll.dll"), "NtQueryInformationThread");
    return query && query(m_thread, 0, &basic, sizeof basic, nullptr) == 0 &&
           m_stopped.process().read_address(basic.block + offsetof(NT_TIB, StackBase), &stack_end) &&
           allocation_of(reinterpret_cast<void*>(stack_end - 1)) == allocation;
}

uint32_t thread_of_stack(ProcessMemory& memory, Address address) {
    uint32_t id = GetCurrentThreadId();
    const void* const stack = allocation_of(reinterpret_cast<void*>(address));
    if (!stack || stack == allocation_of(&id))
        return id;
    OtherThreads threads(memory, 0, 0);
    bool found = false;
    while (!found && threads.next_id())
        found = threads.runs_on(stack);
    threads.end();
    return found ? threads.thread().id : id;
}

bool OtherThreads::next(StopOutcome* outcome) {
    if (!next_id())
        return false;
    *outcome = StopOutcome::kTimeout;
    if (given_up > kMostGivenUp)
        return true;
    Stopper& stopper = stoppers[given_up];
    *outcome = stopper.start();
    if (*outcome == StopOutcome::kCopied)
        *outcome = stopper.stop(m_thread);
    if (*outcome == StopOutcome::kTimeout) {
        // One that is still copying leaves no space for another.
        given_up = stopper.state == Stopper::kGivenUp ? given_up + 1 : kMostGivenUp + 1;
        win::keep_loaded(stoppers);
        // It still uses the handle; a second one goes on from here.
        DuplicateHandle(GetCurrentProcess(), m_thread, GetCurrentProcess(), &m_thread, 0, FALSE, DUPLICATE_SAME_ACCESS);
    }
    m_stopped.context = stopper.context;
    m_stopped.stack = stopper.stack;
    m_stopped.stack_end = stopper.stack_end;
    m_stopped.copied = stopper.copied;
    return true;
}

void OtherThreads::end() {
    close(m_thread);
    if (given_up <= kMostGivenUp)
        stoppers[given_up].end();
}

} // namespace faultkit
