#include "tests/failing_calls/gate.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tests/failing_calls/gate_entry.h"
#include "tests/failing_calls/held.h"

void (*dialog_made)(HWND dialog);

namespace {

constexpr unsigned kMostCalls = 400;

Call calls[kMostCalls];
unsigned call_count;
unsigned char* stubs; // one for each call

bool armed;
const Call* target;
unsigned target_number;
bool has_failed;

Call* call_of_stub(const void* address) {
    const auto at = static_cast<const unsigned char*>(address) - stubs;
    return at >= 0 && at < static_cast<int>(kMostCalls * kStubSize) ? &calls[at / kStubSize] : nullptr;
}

[[noreturn]] void unlisted(const char* library, const char* name) {
    printf("unlisted %s %s\n", library, name);
    fflush(stdout);
    ExitProcess(4);
}

void base_name(HMODULE module, char (&name)[MAX_PATH]) {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(module, path, MAX_PATH - 1);
    const char* const backslash = strrchr(path, '\\');
    strcpy(name, backslash ? backslash + 1 : path);
}

bool is_own(HMODULE module) {
    char name[MAX_PATH];
    base_name(module, name);
    static const char* const kOwnNames[] = {"Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll"};
    for (const char* own : kOwnNames)
        if (_stricmp(name, own) == 0)
            return true;
    return false;
}

// The answer is 0 or all ones where the function failed; of a status with its result in an argument it is not 0.
bool went_well(const Call& call, intptr_t answer) {
    if (!call.out)
        return answer != 0 && answer != -1;
    return (call.answer != 0) == (static_cast<int>(answer) == 0);
}

void note_opened(const Call& call, const uintptr_t* arguments, intptr_t answer, const void* caller) {
    if (strcmp(call.name, "HeapReAlloc") == 0 && answer)
        closed("block", arguments[2]);
    if (!*call.opens || !went_well(call, answer))
        return;
    const uintptr_t value =
        call.out ? *reinterpret_cast<const uintptr_t*>(arguments[call.out - 1]) : static_cast<uintptr_t>(answer);
    if (value)
        opened(call.opens, value, caller);
}

// What a call brings in gets gates as well.
intptr_t follow(const Call& call, const uintptr_t* arguments, intptr_t answer) {
    if (!answer)
        return answer;
    if (strncmp(call.name, "LoadLibrary", 11) == 0 && is_own(reinterpret_cast<HMODULE>(answer)))
        gate_module(reinterpret_cast<HMODULE>(answer));
    if (strcmp(call.name, "GetProcAddress") == 0) {
        char library[MAX_PATH];
        base_name(reinterpret_cast<HMODULE>(arguments[0]), library);
        const char* const name = reinterpret_cast<const char*>(arguments[1]);
        Call* const found = find_call(library, name);
        if (!found)
            unlisted(library, name);
        if (found->never)
            return answer;
        found->original = reinterpret_cast<const void*>(answer);
        return reinterpret_cast<intptr_t>(found->stub);
    }
    if (strcmp(call.name, "CreateDialogIndirectParamA") == 0 && dialog_made)
        dialog_made(reinterpret_cast<HWND>(answer));
    return answer;
}

} // namespace

extern "C" {

const void* __cdecl gate_before(Call* call, const uintptr_t* arguments) {
    const DWORD error = GetLastError();
    bool fails = false;
    if (armed) {
        ++call->count;
        fails = call == target && call->count == target_number;
        has_failed |= fails;
    }
    if (*call->closes && (!fails || call->is_made) &&
        (strcmp(call->name, "VirtualFree") != 0 || static_cast<DWORD>(arguments[2]) == MEM_RELEASE))
        closed(call->closes, arguments[call->closed - 1]);
    SetLastError(error);
    if (fails && !call->is_made)
        return nullptr;
    return call->replacement ? call->replacement : call->original;
}

intptr_t __cdecl gate_failed(const Call* call) {
    SetLastError(call->error);
    return call->answer;
}

intptr_t __cdecl gate_after(const Call* call, const uintptr_t* arguments, intptr_t answer, const void* caller) {
    // Only of those that are made: others, which wait in another thread, may return while the failing one is under way.
    if (armed && call->is_made && call == target && call->count == target_number)
        return gate_failed(call);
    const DWORD error = GetLastError();
    note_opened(*call, arguments, answer, caller);
    answer = follow(*call, arguments, answer);
    SetLastError(error);
    return answer;
}
}

namespace {

bool read_line(char* line, Call& call) {
    char convention[16] = "", mode[16] = "", word[2][16] = {};
    unsigned number = 0;
    int used = 0;
    if (sscanf(line, "%23s %111s %15s%n", call.library, call.name, convention, &used) != 3)
        return false;
    call.never = strcmp(convention, "never") == 0;
    if (call.never)
        return true;
    char* rest = line + used;
    if (sscanf(rest, "%u %15s%n", &call.words, mode, &used) != 2)
        return false;
    rest += used;
    used = 0;
    if (strcmp(mode, "noted") != 0 && sscanf(rest, "%d %lu%n", &call.answer, &call.error, &used) != 2)
        return false;
    call.is_made = strcmp(mode, "fails") != 0;
    call.pops = strcmp(convention, "std") == 0 ? 4 * call.words : 0;
    rest += used;
    while (sscanf(rest, "%15s %15s%n", word[0], word[1], &used) == 2) {
        rest += used;
        const bool has_number = sscanf(rest, "%u%n", &number, &used) == 1;
        if (has_number)
            rest += used;
        const bool opens = strcmp(word[0], "opens") == 0;
        strcpy(opens ? call.opens : call.closes, word[1]);
        (opens ? call.out : call.closed) = has_number ? number : 0;
    }
    return true;
}

} // namespace

bool read_calls(const char* path) {
    stubs = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, kMostCalls * kStubSize, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    FILE* const file = fopen(path, "r");
    if (!file || !stubs)
        return false;
    char line[256];
    while (fgets(line, sizeof line, file)) {
        line[strcspn(line, "\r\n")] = 0;
        if (*line == '#' || !*line)
            continue;
        if (call_count == kMostCalls || !read_line(line, calls[call_count])) {
            printf("not understood: %s\n", line);
            return false;
        }
        calls[call_count].stub = stubs + call_count * kStubSize;
        write_stub(static_cast<unsigned char*>(calls[call_count].stub), calls[call_count]);
        ++call_count;
    }
    fclose(file);
    return true;
}

Call* find_call(const char* library, const char* name) {
    for (unsigned i = 0; i < call_count; ++i)
        if (_stricmp(calls[i].library, library) == 0 && (strcmp(calls[i].name, name) == 0 || calls[i].name[0] == '*'))
            return &calls[i];
    return nullptr;
}

void for_each_call(void (*visit)(Call& call)) {
    for (unsigned i = 0; i < call_count; ++i)
        visit(calls[i]);
}

void gate_module(HMODULE module) {
    const auto base = reinterpret_cast<unsigned char*>(module);
    const auto dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    auto library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table.VirtualAddress);
    for (; table.VirtualAddress && library->Name; ++library) {
        const char* const library_name = reinterpret_cast<const char*>(base + library->Name);
        auto name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++slot) {
            const auto import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            Call* const call = find_call(library_name, import->Name);
            if (!call)
                unlisted(library_name, import->Name);
            if (call->never || call_of_stub(reinterpret_cast<const void*>(slot->u1.Function)))
                continue;
            call->original = reinterpret_cast<const void*>(slot->u1.Function);
            DWORD before;
            VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
            slot->u1.Function = reinterpret_cast<uintptr_t>(call->stub);
            VirtualProtect(slot, sizeof *slot, before, &before);
        }
    }
}

void arm(const Call* call, unsigned n) {
    for (unsigned i = 0; i < call_count; ++i)
        calls[i].count = 0;
    target = call;
    target_number = n;
    has_failed = false;
    armed = true;
}

bool disarm() {
    armed = false;
    return has_failed;
}
