// What the system keeps behind locks, such as the current folder, is read where it lies.
#include "companions/faultkit/capture/process_facts.h"

#include <windows.h>
#include <winternl.h>

#include "companions/faultkit/capture/process_modules.h"
#include "win/clock.h"
#include "win/guard.h"
#include "win/library.h"

namespace faultkit {
namespace {

// What the loader left of the call that started the process, by the places of what is read.
constexpr unsigned kParametersInBlock = 4 * sizeof(Address);
constexpr unsigned kFolderAt = sizeof(Address) == 8 ? 0x38 : 0x24;
constexpr unsigned kPathAt = sizeof(Address) == 8 ? 0x60 : 0x38;
constexpr unsigned kCommandLineAt = kPathAt + sizeof(UNICODE_STRING);

// One call of the system's per function: each runs under its own guard.
bool ask_time(ProcessFacts* facts) {
    FILETIME local;
    facts->time = win::system_time();
    const FILETIME utc = win::file_time(facts->time);
    if (FileTimeToLocalFileTime(&utc, &local)) {
        const int64_t ahead = static_cast<int64_t>(win::ticks_of(local) - facts->time);
        constexpr int64_t kMinute = 60 * win::kTicksASecond;
        facts->zone = static_cast<int32_t>(ahead / kMinute);
    }
    return true;
}

bool ask_uptime(ProcessFacts* facts) {
    FILETIME begin, end, kernel, user;
    facts->system_uptime = GetTickCount64();
    if (!GetProcessTimes(GetCurrentProcess(), &begin, &end, &kernel, &user))
        return false;
    const uint64_t since = win::ticks_of(begin);
    facts->program_uptime = facts->time > since ? (facts->time - since) / 10000 : 0;
    return true;
}

bool ask_windows(ProcessFacts* facts) {
    // Not GetVersionEx, which tells a program without a manifest that it runs on an older system.
    auto* get = win::function_of_ntdll<LONG NTAPI(OSVERSIONINFOW*)>("RtlGetVersion");
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (!get || get(&version) != 0)
        return false;
    facts->windows[0] = version.dwMajorVersion;
    facts->windows[1] = version.dwMinorVersion;
    facts->windows[2] = version.dwBuildNumber;
    BOOL narrow = FALSE;
    IsWow64Process(GetCurrentProcess(), &narrow);
    facts->windows_64 = narrow || sizeof(Address) == 8;
    return true;
}

bool ask_language(ProcessFacts* facts) {
    facts->code_page = GetACP();
    WCHAR name[LOCALE_NAME_MAX_LENGTH];
    const int length = GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH);
    if (length > 1)
        to_ansi(name, length - 1, facts->language, sizeof facts->language);
    return true;
}

bool ask_elevation(ProcessFacts* facts) {
    // By functions of ntdll.dll: advapi32.dll may have to be loaded first, and the loader's lock may be held for ever.
    constexpr ULONG kTokenQuery = 8, kTokenElevation = 20;
    auto* open = win::function_of_ntdll<LONG NTAPI(HANDLE, ULONG, HANDLE*)>("NtOpenProcessToken");
    auto* query = win::function_of_ntdll<LONG NTAPI(HANDLE, ULONG, void*, ULONG, ULONG*)>("NtQueryInformationToken");
    HANDLE token = nullptr;
    ULONG elevated = 0, length = 0;
    if (!open || !query || open(GetCurrentProcess(), kTokenQuery, &token) != 0)
        return false;
    const bool known = query(token, kTokenElevation, &elevated, sizeof elevated, &length) == 0;
    CloseHandle(token);
    facts->elevated = elevated != 0;
    return known;
}

bool ask_memory(ProcessFacts* facts) {
    MEMORYSTATUSEX memory;
    memory.dwLength = sizeof memory;
    if (!GlobalMemoryStatusEx(&memory))
        return false;
    facts->physical = memory.ullTotalPhys;
    facts->physical_free = memory.ullAvailPhys;
    facts->commit = memory.ullTotalPageFile;
    facts->commit_free = memory.ullAvailPageFile;
    return true;
}

bool ask_handles(ProcessFacts* facts) {
    DWORD count = 0;
    facts->handles = GetProcessHandleCount(GetCurrentProcess(), &count) ? count : 0;
    return facts->handles != 0; // every process has some: what a system says that doesn't count them
}

// A program that never loaded user32.dll has no window objects, and shall not be given any now.
bool ask_window_objects(ProcessFacts* facts) {
    const HMODULE user32 = GetModuleHandleA("user32.dll");
    auto* get = user32 ? win::function_of<DWORD WINAPI(HANDLE, DWORD)>(user32, "GetGuiResources") : nullptr;
    if (!get)
        return !user32;
    facts->gdi_objects = get(GetCurrentProcess(), 0);
    facts->user_objects = get(GetCurrentProcess(), 1);
    return true;
}

void read_counted(Memory& memory, Address at, char* to, unsigned size) {
    UNICODE_STRING counted = {};
    uint16_t text[512];
    if (!memory.read(at, &counted, sizeof counted))
        return;
    unsigned length = counted.Length / 2u;
    length = length < size - 1 ? length : size - 1;
    if (length && memory.read(reinterpret_cast<Address>(counted.Buffer), text, length * 2))
        to_ansi(reinterpret_cast<const wchar_t*>(text), length, to, size);
}

void ask_private(Memory& memory, ProcessFacts* facts) {
    // The thread's block leads to the process's.
    constexpr unsigned kProcessBlock = 12 * sizeof(Address);
    Address process = 0, parameters = 0;
    if (!memory.read_address(reinterpret_cast<Address>(NtCurrentTeb()) + kProcessBlock, &process) ||
        !memory.read_address(process + kParametersInBlock, &parameters))
        return;
    read_counted(memory, parameters + kPathAt, facts->path, sizeof facts->path);
    read_counted(memory, parameters + kCommandLineAt, facts->command_line, sizeof facts->command_line);
    read_counted(memory, parameters + kFolderAt, facts->folder, sizeof facts->folder);
}

} // namespace

void gather_process_facts(Memory& memory, bool with_private, ProcessFacts* facts) {
    static constexpr struct {
        bool (*ask)(ProcessFacts*);
        uint32_t known;
    } kSteps[] = {{ask_time, ProcessFacts::kTime},          {ask_uptime, ProcessFacts::kUptime},
                  {ask_windows, ProcessFacts::kWindows},    {ask_language, 0},
                  {ask_elevation, ProcessFacts::kElevated}, {ask_memory, ProcessFacts::kMemory},
                  {ask_handles, ProcessFacts::kHandles},    {ask_window_objects, ProcessFacts::kWindowObjects}};
    *facts = ProcessFacts();
    for (const auto& step : kSteps)
        win::run_guarded(win::kSwallowAll, [&] {
            if (step.ask(facts))
                facts->known |= step.known;
        });
    if (with_private)
        win::run_guarded(win::kSwallowAll, [&] { ask_private(memory, facts); });
}

} // namespace faultkit
