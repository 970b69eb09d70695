// What a member that shows something, or reads the library's resources, has around it.
#pragma once

#include <afxwin.h>

#include "base/floating_point_scope.h"

// This library's own module.
HINSTANCE library_module();

// Switches to the library's resources and to floating-point settings of its own; puts back those that were current.
class ReportScope {
public:
    ReportScope();
    ~ReportScope();
    ReportScope(const ReportScope&) = delete;
    ReportScope& operator=(const ReportScope&) = delete;

    // The module whose resources were current.
    HINSTANCE saved_resources() const { return m_saved_resources; }

private:
    HINSTANCE m_saved_resources;
    gen::FloatingPointScope m_floating_point; // the last one, so that nothing between could leave it behind
};
