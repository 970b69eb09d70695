// A host that tells faultkit.dll what it does, has other threads, and then fails. faultkit.dll stays loaded from the
// start.
//
// usage: telling_host COMMAND...
//   value KEY TEXT      sets a value; TEXT "-" takes it out, "bad" is a bad pointer
//   note TEXT           adds a note; TEXT "bad" is a bad pointer
//   long-note LENGTH    adds a note of so many letters
//   flood COUNT         adds COUNT notes from each of 8 threads at once, as fast as they can
//   load DLL            loads one
//   thread KIND         starts a thread: wait, spin, heap, loader, hold-heap, suspended, refusing, deep, alternate,
//                       free
//   stuck               from now on no registers of a thread that was started can be had, but for those of kind free
//   text PATH           writes the text file as well
//   text-alone PATH     writes nothing but the text file
//   bad-pointers        hands pointers that can't be read to the text file
//   dump PATH           writes a minidump as well
//   by another          has the fault described by another thread, and prints which one has failed
//   left BYTES          puts the end of the stack where so much of it is left for what describes the fault
//   fault NAME          fails by one of testing/cxx/faults.cpp or endings.cpp; what faultkit.dll says is printed, and
//                       the host ends
//   again COUNT         fails COUNT times and goes on, and prints how often a reason came that tells of other threads
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "companions/faultkit/faultkit.h"
#include "testing/cxx/faults.h"
#include "testing/cxx/stack_guard.h"
#include "tests/faultkit/companion_threads.h"
#include "tests/faultkit/endings.h"
#include "win/library.h"

namespace {

struct Faultkit {
    HMODULE module;
    decltype(GetFaultReason)* reason;
    decltype(GetFirstStackTraceString)* first;
    decltype(GetNextStackTraceString)* next;
    decltype(WriteFaultText)* text;
    decltype(WriteFaultDump)* dump;
    decltype(SetFaultValue)* value;
    decltype(AddFaultNote)* note;
};

Faultkit kit;
const char* text_path;
const char* dump_path;
bool text_alone, bad_pointers, by_another;
const char* fault;

template <class Function>
void look_up(const char* name, Function** function) {
    *function = win::function_of<Function>(kit.module, name);
}

void load() {
    kit.module = LoadLibraryA("faultkit.dll");
    look_up("GetFaultReason", &kit.reason);
    look_up("GetFirstStackTraceString", &kit.first);
    look_up("GetNextStackTraceString", &kit.next);
    look_up("WriteFaultText", &kit.text);
    look_up("WriteFaultDump", &kit.dump);
    look_up("SetFaultValue", &kit.value);
    look_up("AddFaultNote", &kit.note);
}

char* bad_pointer() {
    return reinterpret_cast<char*>(0x1001);
}

void set_value(const char* key, const char* text) {
    const bool bad = strcmp(text, "bad") == 0;
    const int set = kit.value(key, bad ? bad_pointer() : strcmp(text, "-") == 0 ? nullptr : text);
    printf("value %d error %lu\n", set, set ? 0 : GetLastError());
}

void add_note(const char* text) {
    const int added = kit.note(strcmp(text, "bad") == 0 ? bad_pointer() : text);
    printf("note %d error %lu\n", added, added ? 0 : GetLastError());
}

void add_long_note(unsigned length) {
    char* const text = static_cast<char*>(malloc(length + 1));
    memset(text, 'x', length);
    text[length] = '\0';
    add_note(text);
    free(text);
}

struct Flood {
    unsigned thread, count;
};

DWORD WINAPI flood_thread(void* data) {
    const Flood& flood = *static_cast<Flood*>(data);
    char text[200];
    for (unsigned i = 0; i < flood.count; ++i) {
        const int length = sprintf(text, "thread %u note %u ", flood.thread, i);
        memset(text + length, 'a' + static_cast<char>(flood.thread), 100);
        strcpy(text + length + 100, " end");
        if (!kit.note(text))
            printf("refused\n");
    }
    return 0;
}

void flood(unsigned count) {
    Flood floods[8];
    HANDLE threads[8];
    for (unsigned i = 0; i < 8; ++i) {
        floods[i] = {i, count};
        threads[i] = CreateThread(nullptr, 0, flood_thread, &floods[i], 0, nullptr);
    }
    WaitForMultipleObjects(8, threads, TRUE, INFINITE);
}

DWORD WINAPI describe_pointers(void* data) {
    auto* const pointers = static_cast<EXCEPTION_POINTERS*>(data);
    const char* const name = fault;
    fault = nullptr;
    if (!text_alone) {
        printf("=== %s\nCrush Expantion:\n%s\n\nStack Trace:\n", name, kit.reason(pointers));
        for (const char* line = kit.first(15, pointers); line; line = kit.next(15, pointers))
            printf("%s\n", line);
    }
    if (text_path) {
        const int written =
            kit.text(text_path, bad_pointers ? reinterpret_cast<EXCEPTION_POINTERS*>(bad_pointer()) : pointers);
        printf("--- text %d error %lu\n", written, written ? 0 : GetLastError());
    }
    if (dump_path)
        printf("--- dump %d\n", kit.dump(dump_path, pointers));
    return 0;
}

LONG CALLBACK describe(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode >> 30 != 3 || !fault)
        return EXCEPTION_CONTINUE_SEARCH;
    if (by_another) {
        WaitForSingleObject(CreateThread(nullptr, 128 << 10, describe_pointers, pointers, 0, nullptr), INFINITE);
        printf("--- thread %08lX\n", GetCurrentThreadId());
    } else {
        describe_pointers(pointers);
    }
    fflush(nullptr);
    ExitProcess(0);
}

void fail(const char* name) {
    fault = name;
    if (!commit_ending(name) && !commit_fault(name))
        printf("unknown fault: %s\n", name);
}

unsigned reasons;

LONG CALLBACK count_reasons(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != 0xE0001234)
        return EXCEPTION_CONTINUE_SEARCH;
    const char* const reason = kit.reason(pointers);
    reasons += strncmp(reason, "exception (E0001234)", 20) == 0 && strstr(reason, "\nOther threads: ");
    return EXCEPTION_CONTINUE_EXECUTION;
}

void fail_again(unsigned count) {
    AddVectoredExceptionHandler(1, count_reasons);
    for (unsigned i = 0; i < count; ++i)
        RaiseException(0xE0001234, 0, 0, nullptr);
    printf("%u reasons\n", reasons);
}

} // namespace

int main(int argc, char** argv) {
    load();
    AddVectoredExceptionHandler(1, describe);
    for (int i = 1; i < argc; ++i) {
        const char* const command = argv[i];
        const char* const first = i + 1 < argc ? argv[i + 1] : "";
        const char* const second = i + 2 < argc ? argv[i + 2] : "";
        if (strcmp(command, "stuck") == 0) {
            keep_registers_back(kit.module);
            continue;
        }
        if (strcmp(command, "bad-pointers") == 0) {
            bad_pointers = true;
            continue;
        }
        ++i;
        if (strcmp(command, "value") == 0) {
            set_value(first, second);
            ++i;
        } else if (strcmp(command, "note") == 0) {
            add_note(first);
        } else if (strcmp(command, "long-note") == 0) {
            add_long_note(static_cast<unsigned>(atoi(first)));
        } else if (strcmp(command, "flood") == 0) {
            flood(static_cast<unsigned>(atoi(first)));
        } else if (strcmp(command, "thread") == 0) {
            start_companion(first);
        } else if (strcmp(command, "text") == 0 || strcmp(command, "text-alone") == 0) {
            text_path = first;
            text_alone = command[4] != '\0';
        } else if (strcmp(command, "load") == 0) {
            LoadLibraryA(first);
        } else if (strcmp(command, "dump") == 0) {
            dump_path = first;
        } else if (strcmp(command, "by") == 0) {
            by_another = true;
        } else if (strcmp(command, "left") == 0) {
            ULONG bytes = static_cast<ULONG>(atoi(first));
            SetThreadStackGuarantee(&bytes);
            guard_stack_reserve();
        } else if (strcmp(command, "again") == 0) {
            fail_again(static_cast<unsigned>(atoi(first)));
        } else if (strcmp(command, "fault") == 0) {
            fail(first);
        } else {
            printf("unknown command: %s\n", command);
            return 2;
        }
        fflush(stdout);
    }
    TerminateProcess(GetCurrentProcess(), 0); // not ExitProcess, which wants the heap that a companion was at
}
