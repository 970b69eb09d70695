// Test support: what a process holds, as the system counts it.
#pragma once

#include <windows.h>
#include <winternl.h>
#define PSAPI_VERSION 2 // the names that kernel32.dll exports
#include <psapi.h>
#include <stdlib.h>
#include <tlhelp32.h>

// The open handles of this process. Counted in the list of all, since Wine's GetProcessHandleCount answers 0. Ends the
// program where there is no such list: two counts of nothing would be the same.
inline unsigned process_handles() {
    constexpr ULONG kSize = 1 << 20;
    const auto query = reinterpret_cast<decltype(NtQuerySystemInformation)*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtQuerySystemInformation")));
    auto* const list = static_cast<SYSTEM_HANDLE_INFORMATION*>(malloc(kSize));
    if (!list || !query || query(SystemHandleInformation, list, kSize, nullptr) != 0)
        abort();
    unsigned count = 0;
    for (ULONG i = 0; i < list->Count; ++i)
        count += list->Handle[i].OwnerPid == GetCurrentProcessId() ? 1 : 0;
    free(list);
    return count;
}

// The threads of this process.
inline int process_threads() {
    HANDLE const snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    CloseHandle(snapshot);
    return count;
}

// In KiB.
struct ProcessMemory {
    unsigned own; // of this process alone
    unsigned present;
    unsigned most_present; // since the process began
};

inline ProcessMemory process_memory() {
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    return {static_cast<unsigned>(memory.PagefileUsage / 1024), static_cast<unsigned>(memory.WorkingSetSize / 1024),
            static_cast<unsigned>(memory.PeakWorkingSetSize / 1024)};
}
