// The application framework's window header: module state (whose resources are looked up, and the chain of extension
// modules), the file finder and the wait cursor.
#pragma once

#include <afx.h>
#include "win/handle.h"

// What the framework keeps of an extension module; a static object of the module.
struct AFX_EXTENSION_MODULE {
    BOOL bInitialized;
    HMODULE hModule;
    HMODULE hResource;
};

// Fills the record; called from DllMain before anything else. TRUE on success.
BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule);
// Deletes the module's CDynLinkLibrary objects; called from DllMain at the end.
void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state);

// An extension module in the framework's chain, from construction to destruction. Made with new in DllMain and owned by
// the framework from then on.
class CDynLinkLibrary {
public:
    explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& state);
    ~CDynLinkLibrary();
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;

    HMODULE m_hModule;
    HMODULE m_hResource;
    CDynLinkLibrary* m_pNextDLL;

    static CDynLinkLibrary* first();
};

// The module whose resources are current: the process's own until somebody sets another. Not guarded: one report is
// made at a time.
HINSTANCE AfxGetResourceHandle();
void AfxSetResourceHandle(HINSTANCE hInstResource);

// The hourglass, for as long as the object lives.
class CWaitCursor {
public:
    CWaitCursor() : m_previous(SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_WAIT)))) {}
    ~CWaitCursor() { win::nothrow(SetCursor)(m_previous); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    HCURSOR m_previous; // not owned
};
