// The resources are switched before the floating-point settings, and put back before them.
#include "report/report_scope.h"

namespace {

HINSTANCE switch_to_own_resources() {
    HINSTANCE const saved = AfxGetResourceHandle();
    AfxSetResourceHandle(library_module());
    return saved;
}

} // namespace

ReportScope::ReportScope() : m_saved_resources(switch_to_own_resources()) {}

ReportScope::~ReportScope() {
    AfxSetResourceHandle(m_saved_resources);
}
