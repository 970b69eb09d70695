// Covers its process with a reporter of its own, fails as it is told, and says what the reporter sees. Built by each
// compiler.
//
// usage: process_host WAY
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "wendax.h"

#ifdef _MSC_VER
#include "testing/cxx/microsoft_exception.h"
#else
#include <exception>
#include <stdexcept>
#endif
#include "testing/cxx/faults.h"
#include "testing/cxx/stack_guard.h"
#include "testing/cxx/usage.h"

namespace {

int* volatile nowhere = nullptr;
volatile int zero = 0;
DWORD main_thread;
WendaxFilter filter_before;

void write_nowhere() {
    *nowhere = 1;
}
void (*volatile fail)() = write_nowhere;

__attribute__((noinline)) int recurse(int depth) {
    volatile char frame[200];
    frame[0] = static_cast<char>(depth);
    return depth < zero ? 0 : recurse(depth + 1) + frame[0];
}
int (*volatile descend)(int) = recurse;

void throw_error() {
    throw std::runtime_error("the disk is full");
}
void (*volatile fail_by_throw)() = throw_error;

void __cdecl tell(EXCEPTION_POINTERS* fault, void* context) {
    const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
    printf("%s: code %08lX on %s thread\n", context ? static_cast<const char*>(context) : "reporter",
           record.ExceptionCode, GetCurrentThreadId() == main_thread ? "its own" : "another");
}

const char* shown(ULONG_PTR text) {
    return text ? reinterpret_cast<const char*>(text) : "nothing";
}

void __cdecl tell_parameters(EXCEPTION_POINTERS* fault, void* context) {
    tell(fault, context);
    const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
    const ULONG_PTR* const words = record.ExceptionInformation;
    if (record.ExceptionCode == WENDAX_FAULT_TERMINATE) {
        auto* const thrown = reinterpret_cast<EXCEPTION_POINTERS*>(words[2]);
        printf("type %s, words %s, throw %08lX\n", shown(words[0]), shown(words[1]),
               thrown ? thrown->ExceptionRecord->ExceptionCode : 0);
        if (record.NumberParameters != 3)
            printf("%lu parameters\n", record.NumberParameters);
    } else if (record.ExceptionCode == WENDAX_FAULT_INVALID_PARAMETER) {
        printf("%lu parameters, line %u\n", record.NumberParameters, static_cast<unsigned>(words[3]));
    }
}

void __cdecl fault_itself(EXCEPTION_POINTERS* fault, void* context) {
    tell(fault, context);
    write_nowhere();
}

void __cdecl throw_itself(EXCEPTION_POINTERS* fault, void* context) {
    tell(fault, context);
    throw 1;
}

void __cdecl tell_and_ask_before(EXCEPTION_POINTERS* fault, void* context) {
    tell(fault, context);
    printf("before answered %ld\n", filter_before(fault));
}

void __cdecl ask_the_system(EXCEPTION_POINTERS* fault, void* context) {
    tell(fault, context);
    printf("the system answered %ld\n", UnhandledExceptionFilter(fault));
}

LONG WINAPI own_filter(EXCEPTION_POINTERS* fault) {
    printf("own filter: code %08lX\n", fault->ExceptionRecord->ExceptionCode);
    return 7;
}

DWORD WINAPI end_at_once(void*) {
    return 0;
}

// Under Wine a program that ends while one of its threads is being started may end by a signal instead of its code.
void let_threads_start() {
    WaitForSingleObject(CreateThread(nullptr, 0, end_at_once, nullptr, 0, nullptr), INFINITE);
}

void cover(WendaxReporter reporter, void* context = nullptr) {
    WendaxCoverProcess(reporter, context);
    let_threads_start();
}

void cover_all() {
    WendaxCover();
    cover(tell_parameters);
}

void with_reporter() {
    static char words[] = "context";
    cover(tell, words);
    fail();
}

void with_fault_inside() {
    cover(fault_itself);
    fail();
}

void with_filter_inside() {
    cover(ask_the_system);
    fail();
}

void with_throw_inside() {
    cover(throw_itself);
    try {
        fail();
    } catch (int) {
        puts("went on");
    }
}

void with_filter_before() {
    SetUnhandledExceptionFilter(own_filter);
    const bool first = WendaxCoverProcess(tell, nullptr) == own_filter;
    filter_before = WendaxCoverProcess(tell_and_ask_before, nullptr);
    printf("before: %d %d\n", first, filter_before == own_filter);
    let_threads_start();
    fail();
}

void count_what_it_costs() {
    const int before = process_threads();
    WendaxCoverProcess(tell, nullptr);
    const int after = process_threads();
    WendaxCover();
    printf("threads %d, then %d\n", after - before, process_threads() - after);
}

void overflow_with(ULONG bytes) {
    cover(tell);
    SetThreadStackGuarantee(&bytes);
    guard_stack_reserve();
    descend(0);
}

constexpr ULONG kNeeded = (sizeof(void*) == 4 ? 40 : 56) << 10; // bytes of stack that a report may take

void overflow() {
    overflow_with(kNeeded - (4 << 10));
}

void overflow_with_enough() {
    overflow_with(kNeeded + (8 << 10));
}

void overflow_with_reserve() {
    overflow_with(128 << 10);
}

// The parameters of what the runtime calls.
void terminate_now() {
    cover_all();
    std::terminate();
}

__attribute__((noinline)) void refuse_to_throw() noexcept {
    fail_by_throw();
    zero = 0;
}
void (*volatile refuse)() = refuse_to_throw;

void throw_out_of_noexcept() {
    cover_all();
    try {
        refuse();
    } catch (const std::exception&) {
        puts("caught");
    }
}

void terminate_after_a_caught_exception() {
    cover_all();
    try {
        fail_by_throw();
    } catch (const std::exception&) {
    }
    std::terminate();
}

void pass_invalid() {
    cover_all();
    fopen_s(nullptr, "notes.txt", "r");
    puts("answered");
}

DWORD WINAPI cover_and_terminate(void*) {
#ifdef _MSC_VER
    WendaxCoverThread();
#endif
    std::terminate();
}

void terminate_on_covered_thread() {
    cover_all();
    WaitForSingleObject(CreateThread(nullptr, 0, cover_and_terminate, nullptr, 0, nullptr), INFINITE);
}

#ifdef _MSC_VER
void end_by_itself() {
    puts("the program's own handler");
    ExitProcess(0);
}

void terminate_with_the_translator_alone() {
    set_terminate(end_by_itself);
    WendaxCoverThread();
    std::terminate();
}
#endif

LONG CALLBACK report_at_once(EXCEPTION_POINTERS* fault) {
    printf("answer %d\n", WendaxReportFault(fault));
    ExitProcess(0);
}

void report_from_vectored_handler() {
    AddVectoredExceptionHandler(1, report_at_once);
    fail();
}

void report_nothing() {
    printf("answer %d\n", WendaxReportFault(nullptr));
}

const Fault kWays[] = {
    {"reporter", with_reporter},
    {"fault-inside", with_fault_inside},
    {"filter-inside", with_filter_inside},
    {"throw-inside", with_throw_inside},
    {"filter-before", with_filter_before},
    {"cost", count_what_it_costs},
    {"overflow", overflow},
    {"overflow-with-enough", overflow_with_enough},
    {"overflow-with-reserve", overflow_with_reserve},
    {"terminate", terminate_now},
    {"noexcept", throw_out_of_noexcept},
    {"terminate-later", terminate_after_a_caught_exception},
    {"invalid-parameter", pass_invalid},
    {"covered-thread", terminate_on_covered_thread},
#ifdef _MSC_VER
    {"translator-alone", terminate_with_the_translator_alone},
#endif
    {"vectored", report_from_vectored_handler},
    {"no-pointers", report_nothing},
};

} // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    main_thread = GetCurrentThreadId();
    void (*const way)() = argc == 2 ? find_fault(kWays, argv[1]) : nullptr;
    if (!way)
        return 2;
    way();
    return 0;
}
