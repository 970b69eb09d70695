// Plain globals without a mutex: DllMain runs under the loader's lock, and one report at a time switches resources.
#include "mfc/afxwin.h"

namespace {

CDynLinkLibrary* library_chain;
HINSTANCE resource_handle;

} // namespace

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule) {
    if (!state.bInitialized) {
        state.bInitialized = TRUE;
        state.hModule = hModule;
        state.hResource = hModule;
    }
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state) {
    CDynLinkLibrary* library = library_chain;
    while (library) {
        CDynLinkLibrary* const next = library->m_pNextDLL;
        if (library->m_hModule == state.hModule)
            delete library;
        library = next;
    }
    state.bInitialized = FALSE;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state)
    : m_hModule(state.hModule), m_hResource(state.hResource), m_pNextDLL(library_chain) {
    library_chain = this;
}

CDynLinkLibrary::~CDynLinkLibrary() {
    for (CDynLinkLibrary** link = &library_chain; *link; link = &(*link)->m_pNextDLL) {
        if (*link == this) {
            *link = m_pNextDLL;
            return;
        }
    }
}

CDynLinkLibrary* CDynLinkLibrary::first() {
    return library_chain;
}

HINSTANCE AfxGetResourceHandle() {
    return resource_handle ? resource_handle : GetModuleHandleA(nullptr);
}

void AfxSetResourceHandle(HINSTANCE hInstResource) {
    resource_handle = hInstResource;
}
