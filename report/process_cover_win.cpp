// The process's filter of unhandled exceptions. A C++ exception is noted where it is thrown: where std::terminate
// stands for it later, the runtime tells nobody whose fault that is.
#include "include/wendax.h"

#include <windows.h>

#include "report/se_exception.h"
#include "win/guard.h"
#include "win/library.h"

namespace {

constexpr DWORD kGccThrow = 0x20474343; // of GCC's ABI, with 64 bits
// In bytes: the stack of the waiting thread, and the least with which a thread makes its report itself: what any has
// needed.
constexpr SIZE_T kReportStack = 128 << 10;
constexpr SIZE_T kLeastStack = (sizeof(void*) == 4 ? 40 : 56) << 10;

WendaxReporter reporter;
void* reporter_context;
WendaxFilter filter_before;

// The thread that waits for faults of threads without stack. It and its handle go with the process.
HANDLE sleeper;
DWORD sleeper_id;

// The newest throw of each thread (TLS).
DWORD record_slot, context_slot;

volatile LONG failing_thread; // whose fault is reported; 0 as long as there is none
DWORD fault_code;             // of that fault

LONG CALLBACK note_throw(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    // What a handler throws on has no object as yet: the throw before stays.
    if (record.ExceptionCode == win::kCxxException && record.NumberParameters > 2 && record.ExceptionInformation[1]) {
        TlsSetValue(record_slot, pointers->ExceptionRecord);
        TlsSetValue(context_slot, pointers->ContextRecord);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// Whether that throw, noted before, is still being worked on: its record then lies above `frame` on the stack.
bool lasts(const EXCEPTION_RECORD* thrown, const void* frame) {
    return static_cast<const void*>(thrown) > frame && thrown->ExceptionCode == win::kCxxException;
}

// The fault as the reporter is to see it. Behind std::terminate that is a throw, behind an exception that was thrown on
// the throw before, and behind the translator's marker, which nobody has caught, the fault that it stands for.
struct Origin {
    EXCEPTION_POINTERS* of(EXCEPTION_POINTERS* fault) {
        m_record = *fault->ExceptionRecord;
        const bool terminates = m_record.ExceptionCode == WENDAX_FAULT_TERMINATE && m_record.NumberParameters > 2;
        m_thrown = *fault;
        auto* const noted = static_cast<EXCEPTION_RECORD*>(TlsGetValue(record_slot));
        if ((terminates || m_record.ExceptionCode == win::kCxxException) && lasts(noted, this)) {
            m_thrown = {noted, static_cast<CONTEXT*>(TlsGetValue(context_slot))};
            fault = &m_thrown;
            if (terminates) {
                m_record.ExceptionInformation[2] = reinterpret_cast<ULONG_PTR>(&m_thrown);
                m_record.ExceptionAddress = noted->ExceptionAddress;
                m_terminate = {&m_record, m_thrown.ContextRecord};
                fault = &m_terminate;
            }
        }
        return is_marker(*m_thrown.ExceptionRecord) ? last_translated_exception->pointers() : fault;
    }

private:
    static bool is_marker(const EXCEPTION_RECORD& thrown) {
        auto* const object = reinterpret_cast<const char* const*>(thrown.ExceptionInformation[1]);
        return thrown.ExceptionCode == win::kCxxException && object && *object == kExceptionMarker &&
               last_translated_exception;
    }

    EXCEPTION_RECORD m_record;
    EXCEPTION_POINTERS m_thrown, m_terminate;
};

void end_process() {
    TerminateProcess(GetCurrentProcess(), fault_code);
}

// An APC as well. Apart from the filter, which may have little stack.
__attribute__((noinline)) void CALLBACK report_and_end(ULONG_PTR fault) {
    win::run_guarded(win::kSwallowAll, [=] {
        Origin origin;
        reporter(origin.of(reinterpret_cast<EXCEPTION_POINTERS*>(fault)), reporter_context);
    });
    end_process();
}

void wait_for_end() {
    for (;;)
        SleepEx(INFINITE, FALSE);
}

DWORD WINAPI wait_for_fault(void*) {
    for (;;)
        SleepEx(INFINITE, TRUE);
}

bool has_stack_for_report() {
    MEMORY_BASIC_INFORMATION region = {};
    return !VirtualQuery(&region, &region, sizeof region) ||
           reinterpret_cast<ULONG_PTR>(&region) - reinterpret_cast<ULONG_PTR>(region.AllocationBase) >= kLeastStack;
}

void __cdecl report_by_mail(EXCEPTION_POINTERS* pointers, void*) {
    WendaxReportFault(pointers);
}

LONG WINAPI cover(EXCEPTION_POINTERS* pointers) {
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    // An exception of GCC is raised only to look for a handler: where its runtime has it go on, it calls
    // std::terminate.
    if (code == kGccThrow && filter_before && filter_before(pointers) == EXCEPTION_CONTINUE_EXECUTION)
        return EXCEPTION_CONTINUE_EXECUTION;
    const DWORD thread = GetCurrentThreadId();
    const DWORD first = InterlockedCompareExchange(&failing_thread, thread, 0);
    if (first == thread || thread == sleeper_id)
        end_process(); // in the reporter
    if (first)
        wait_for_end();
    fault_code = code;
    const auto fault = reinterpret_cast<ULONG_PTR>(pointers);
    if (!has_stack_for_report() && QueueUserAPC(report_and_end, sleeper, fault))
        wait_for_end();
    report_and_end(fault);
    return EXCEPTION_EXECUTE_HANDLER;
}

// What lasts as long as the process, and the DLL with it.
void prepare() {
    win::keep_loaded(&reporter);
    record_slot = TlsAlloc();
    context_slot = TlsAlloc();
    // Last of all such handlers: what one before it lets go on needs no note.
    AddVectoredExceptionHandler(0, note_throw);
    sleeper = CreateThread(nullptr, kReportStack, wait_for_fault, nullptr, 0, &sleeper_id);
}

} // namespace

extern "C" WendaxFilter __cdecl WendaxCoverProcess(WendaxReporter new_reporter, void* context) {
    if (!reporter)
        prepare();
    reporter_context = context;
    reporter = new_reporter ? new_reporter : report_by_mail;
    const WendaxFilter before = SetUnhandledExceptionFilter(cover);
    if (before != cover)
        filter_before = before;
    return filter_before;
}
