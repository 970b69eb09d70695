// The browser's own library is loaded and asked, so both happen under a fault guard.
#include "sysinfo/std_info.h"

#include <windows.h>
#include <shlwapi.h>

#include "sysinfo/version_texts.h"
#include "win/guard.h"
#include "win/handle.h"
#include "win/library.h"

namespace sysinfo {

namespace {

bool ask_library(const char* library, DLLVERSIONINFO& version) {
    const win::LibraryHandle module(LoadLibraryA(library));
    if (!module) {
        FreeLibrary(nullptr); // Kept: it does no more than set the last error.
        return false;
    }
    auto* const get_version = win::function_of<HRESULT WINAPI(DLLVERSIONINFO*)>(module.get(), "DllGetVersion");
    version.cbSize = sizeof(version);
    static_assert(sizeof(version) == 20);
    return get_version && get_version(&version) >= 0;
}

} // namespace

CStdString browser_version_text(const char* library) {
    DLLVERSIONINFO version = {};
    bool answered = false;
    win::run_guarded([&] { answered = ask_library(library, version); });
    if (!answered)
        return "Cannot extract version number of Internet Explorer";
    return describe_browser(version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
}

} // namespace sysinfo

CStdString GetInternetExplorerVersionText() {
    return sysinfo::browser_version_text("shdocvw.dll");
}
