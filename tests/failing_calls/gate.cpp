#include "tests/failing_calls/gate.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tests/failing_calls/held.h"

void (*dialog_made)(HWND dialog);

namespace {

constexpr unsigned kMostCalls = 400;
constexpr unsigned kStubSize = 16;

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
bool went_well(const Call& call, int answer) {
    const bool is_status = call.out && call.answer != 0;
    return is_status ? answer == 0 : answer != 0 && answer != -1;
}

void note_opened(const Call& call, const DWORD* arguments, int answer, const void* caller) {
    if (strcmp(call.name, "HeapReAlloc") == 0 && answer)
        closed("block", arguments[2]);
    if (!*call.opens || !went_well(call, answer))
        return;
    const DWORD value =
        call.out ? *reinterpret_cast<const DWORD*>(arguments[call.out - 1]) : static_cast<DWORD>(answer);
    if (value)
        opened(call.opens, value, caller);
}

// What a call brings in gets gates as well.
int follow(const Call& call, const DWORD* arguments, int answer) {
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
        return reinterpret_cast<int>(found->stub);
    }
    if (strcmp(call.name, "CreateDialogIndirectParamA") == 0 && dialog_made)
        dialog_made(reinterpret_cast<HWND>(answer));
    return answer;
}

} // namespace

extern "C" {

// What to call; null when the call fails instead.
const void* __cdecl gate_before(Call* call, const DWORD* arguments) {
    const DWORD error = GetLastError();
    bool fails = false;
    if (armed) {
        ++call->count;
        fails = call == target && call->count == target_number;
        has_failed |= fails;
    }
    if (*call->closes && (!fails || call->is_made) &&
        (strcmp(call->name, "VirtualFree") != 0 || arguments[2] == MEM_RELEASE))
        closed(call->closes, arguments[call->closed - 1]);
    SetLastError(error);
    if (fails && !call->is_made)
        return nullptr;
    return call->replacement ? call->replacement : call->original;
}

int __cdecl gate_failed(const Call* call) {
    SetLastError(call->error);
    return call->answer;
}

int __cdecl gate_after(const Call* call, const DWORD* arguments, int answer, const void* caller) {
    if (armed && call == target && call->count == target_number)
        return gate_failed(call);
    const DWORD error = GetLastError();
    note_opened(*call, arguments, answer, caller);
    answer = follow(*call, arguments, answer);
    SetLastError(error);
    return answer;
}

// Entered by a stub, which has pushed its call: [ebp + 4] call, [ebp + 8] return address, [ebp + 12] arguments.
__attribute__((naked)) void gate_entry() {
    __asm__ volatile("pushl %ebp\n\t"
                     "movl %esp, %ebp\n\t"
                     "pushl %ecx\n\t"
                     "pushl %edx\n\t"
                     "leal 12(%ebp), %eax\n\t"
                     "pushl %eax\n\t"
                     "pushl 4(%ebp)\n\t"
                     "call _gate_before\n\t"
                     "addl $8, %esp\n\t"
                     "testl %eax, %eax\n\t"
                     "jz 2f\n\t"
                     "movl 4(%ebp), %edx\n\t"
                     "movl 4(%edx), %ecx\n\t"
                     "1: testl %ecx, %ecx\n\t"
                     "jz 3f\n\t"
                     "pushl 8(%ebp, %ecx, 4)\n\t"
                     "decl %ecx\n\t"
                     "jmp 1b\n\t"
                     "3: movl -4(%ebp), %ecx\n\t" // a member function's object
                     "call *%eax\n\t"
                     "leal -8(%ebp), %esp\n\t"
                     "pushl %edx\n\t" // the upper half of a 64-bit answer
                     "pushl 8(%ebp)\n\t"
                     "pushl %eax\n\t"
                     "leal 12(%ebp), %eax\n\t"
                     "pushl %eax\n\t"
                     "pushl 4(%ebp)\n\t"
                     "call _gate_after\n\t"
                     "addl $16, %esp\n\t"
                     "popl %edx\n\t"
                     "jmp 4f\n\t"
                     "2: pushl 4(%ebp)\n\t"
                     "call _gate_failed\n\t"
                     "cltd\n\t"
                     "4: movl 4(%ebp), %ecx\n\t"
                     "movl 8(%ecx), %ecx\n\t"
                     "pushl 8(%ebp)\n\t"
                     "popl 8(%ebp, %ecx)\n\t" // where the function's own return would leave the stack
                     "leal 8(%ebp, %ecx), %ecx\n\t"
                     "movl (%ebp), %ebp\n\t"
                     "movl %ecx, %esp\n\t"
                     "ret");
}
}

namespace {

void write_stub(Call& call, unsigned index) {
    unsigned char* const code = stubs + index * kStubSize;
    const auto put = [](unsigned char* to, DWORD value) { memcpy(to, &value, sizeof value); };
    code[0] = 0x68; // push
    put(code + 1, reinterpret_cast<DWORD>(&call));
    code[5] = 0xE9; // jmp
    put(code + 6, reinterpret_cast<DWORD>(gate_entry) - reinterpret_cast<DWORD>(code + 10));
    call.stub = code;
}

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
        write_stub(calls[call_count], call_count);
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
    const auto headers = reinterpret_cast<const IMAGE_NT_HEADERS32*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    auto library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table.VirtualAddress);
    for (; table.VirtualAddress && library->Name; ++library) {
        const char* const library_name = reinterpret_cast<const char*>(base + library->Name);
        auto name = reinterpret_cast<const IMAGE_THUNK_DATA32*>(base + library->OriginalFirstThunk);
        auto slot = reinterpret_cast<IMAGE_THUNK_DATA32*>(base + library->FirstThunk);
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
            slot->u1.Function = reinterpret_cast<DWORD>(call->stub);
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
