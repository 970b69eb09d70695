// Whose resources are current while a report is made.
#pragma once

#include <afxwin.h>

// This library's own module.
HINSTANCE library_module();

// Switches to the library's resources; puts back those that were current.
class ResourceScope {
public:
    ResourceScope() : m_saved(AfxGetResourceHandle()) { AfxSetResourceHandle(library_module()); }
    ~ResourceScope() { AfxSetResourceHandle(m_saved); }
    ResourceScope(const ResourceScope&) = delete;
    ResourceScope& operator=(const ResourceScope&) = delete;

    HINSTANCE saved() const { return m_saved; }

private:
    HINSTANCE m_saved;
};
