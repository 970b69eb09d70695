#include "sysinfo/browser_version.h"

#include <windows.h>
#include <shlwapi.h>

#include "sysinfo/version_texts.h"
#include "win/handle.h"
#include "win/library.h"

namespace sysinfo {

CStdString browser_version_text(const char* library) {
    CStdString unknown = "Cannot extract version number of Internet Explorer";
    const win::LibraryHandle module(LoadLibraryA(library));
    if (!module) {
        FreeLibrary(nullptr); // Kept: it does no more than set the last error.
        return unknown;
    }
    auto* const get_version = win::function_of<HRESULT WINAPI(DLLVERSIONINFO*)>(module.get(), "DllGetVersion");
    if (!get_version)
        return unknown;
    DLLVERSIONINFO version = {};
    static_assert(sizeof(version) == 20);
    version.cbSize = sizeof(version);
    if (get_version(&version) < 0)
        return unknown;
    return describe_browser(version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
}

} // namespace sysinfo

CStdString GetInternetExplorerVersionText() {
    return sysinfo::browser_version_text("shdocvw.dll");
}
