#include "tests/faultkit/endings.h"

#include "testing/cxx/faults.h"
#include "testing/cxx/microsoft_exception.h"

namespace {

struct Counted {
    virtual ~Counted() {}
    int count = 7;
};
// std::exception isn't at its beginning.
class FileError : public Counted, public std::runtime_error {
public:
    explicit FileError(const char* text) : runtime_error(text) {}
};

EXCEPTION_POINTERS thrown_pointers;
EXCEPTION_RECORD thrown_record;
CONTEXT thrown_context;

void raise(DWORD code, const void* first = nullptr, const void* second = nullptr, const void* third = nullptr,
           ULONG_PTR fourth = 0, DWORD count = 4) {
    const ULONG_PTR parameters[] = {reinterpret_cast<ULONG_PTR>(first), reinterpret_cast<ULONG_PTR>(second),
                                    reinterpret_cast<ULONG_PTR>(third), fourth};
    RaiseException(code, 0, count, parameters);
}

void terminate() {
    raise(0xE0575801, "class std::runtime_error", "the disk is full", nullptr, 0, 3);
}
void terminate_bare() {
    raise(0xE0575801, nullptr, nullptr, nullptr, 0, 3);
}
void pure_call() {
    raise(0xE0575802, nullptr, nullptr, nullptr, 0, 0);
}
void invalid_parameter() {
    raise(0xE0575803, L"format != nullptr", L"print_all", L"printing.cpp", 41);
}
void invalid_unknown() {
    raise(0xE0575803);
}
void abort_program() {
    raise(0xE0575804, nullptr, nullptr, nullptr, 0, 0);
}
void __attribute__((noinline)) throw_derived() {
    throw FileError("cannot open \"a.bmp\"\n");
}
void throw_text() {
    throw "out of cheese";
}

void __attribute__((noinline)) descend(int depth) {
    static volatile int returned;
    if (depth)
        descend(depth - 1);
    else
        *reinterpret_cast<volatile int*>(returned) = 1;
    returned = returned + 1;
}
void write_deep_down() {
    descend(1000);
}

int __attribute__((noinline)) recurse(int depth) {
    static volatile int never = -1;
    return depth == never ? 0 : recurse(depth + 1) + never;
}
// Where its end is, is the host's choice.
void overflow() {
    recurse(0);
}

// Copies what a throw would leave for a handler, then ends by std::terminate with it.
LONG CALLBACK keep_throw(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != 0xE06D7363)
        return EXCEPTION_CONTINUE_SEARCH;
    thrown_record = *pointers->ExceptionRecord;
    thrown_context = *pointers->ContextRecord;
    thrown_pointers = {&thrown_record, &thrown_context};
    raise(0xE0575801, nullptr, nullptr, &thrown_pointers, 0, 3);
    return EXCEPTION_CONTINUE_SEARCH;
}
void terminate_throw() {
    AddVectoredExceptionHandler(1, keep_throw);
    throw_derived();
}

const Fault kEndings[] = {{"terminate", terminate},
                          {"terminate-bare", terminate_bare},
                          {"terminate-throw", terminate_throw},
                          {"pure-call", pure_call},
                          {"invalid-parameter", invalid_parameter},
                          {"invalid-unknown", invalid_unknown},
                          {"abort", abort_program},
                          {"throw-derived", throw_derived},
                          {"throw-text", throw_text},
                          {"deep-write", write_deep_down},
                          {"overflow", overflow}};

} // namespace

bool commit_ending(const char* name) {
    auto* const commit = find_fault(kEndings, name);
    if (commit)
        commit();
    return commit != nullptr;
}
