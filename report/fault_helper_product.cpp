// Loads the helper by its full path, never by a search.
#include "report/fault_helper.h"

#include <string.h>

#include "base/std_string.h"
#include "win/library.h"

namespace {

constexpr unsigned kStackOptions = 15; // all pieces of a stack line that the helper knows

CStdString helper_path() {
    CStdString path;
    GetModuleFileNameA(nullptr, path.get_buffer(1024), 1024);
    path.release_buffer();
    path.at(0); // throws when the executable has no path
    CStdString helper = path.left(path.rfind('\\'));
    helper += "\\faultkit.dll";
    return helper;
}

// Where the folder's name has letters that the ANSI code page lacks, only its wide name leads to the helper.
HMODULE load_by_wide_path() {
    static const wchar_t kName[] = L"faultkit.dll";
    constexpr unsigned kLongest = 1024; // characters
    wchar_t path[kLongest + sizeof kName];
    unsigned end = GetModuleFileNameW(nullptr, path, kLongest);
    while (end && path[end - 1] != L'\\')
        --end;
    if (!end)
        return nullptr;
    memcpy(path + end, kName, sizeof kName);
    return win::load_quietly(path);
}

uintptr_t argument(const EXCEPTION_POINTERS* pointers) {
    return reinterpret_cast<uintptr_t>(pointers);
}

} // namespace

FaultHelper::FaultHelper() : m_library(win::load_quietly(helper_path().c_str())) {
    if (!m_library)
        m_library.reset(load_by_wide_path());
    if (!m_library)
        return;
    m_reason = GetProcAddress(m_library.get(), "GetFaultReason");
    m_first_line = GetProcAddress(m_library.get(), "GetFirstStackTraceString");
    m_next_line = GetProcAddress(m_library.get(), "GetNextStackTraceString");
}

const char* FaultHelper::reason(EXCEPTION_POINTERS* pointers) const {
    return report::call_helper(m_reason, argument(pointers), 0);
}

const char* FaultHelper::first_stack_line(EXCEPTION_POINTERS* pointers) const {
    return report::call_helper(m_first_line, kStackOptions, argument(pointers));
}

const char* FaultHelper::next_stack_line(EXCEPTION_POINTERS* pointers) const {
    return report::call_helper(m_next_line, kStackOptions, argument(pointers));
}
