// The library as an extension module of the framework: it is entered into the framework's chain when it is loaded.
// DllMain runs under the loader's lock and does no more than that.
#include <afxdllx.h>
#include <afxwin.h>

#include "report/report_scope.h"

namespace {

AFX_EXTENSION_MODULE extension_module;

} // namespace

HINSTANCE library_module() {
    return extension_module.hModule;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        if (!AfxInitExtensionModule(extension_module, instance))
            return FALSE;
        // The framework owns the object until AfxTermExtensionModule.
        new CDynLinkLibrary(extension_module);
    } else if (reason == DLL_PROCESS_DETACH) {
        AfxTermExtensionModule(extension_module);
    }
    return TRUE;
}
