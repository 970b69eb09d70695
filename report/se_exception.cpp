#include "report/se_exception.h"

#include "report/fault_helper.h"

namespace {

// More than fits into a report's body: ends with a helper that never does.
constexpr unsigned kLongestDescription = 40000; // bytes

} // namespace

IMPLEMENT_DYNAMIC(CSeException, CException)

CSeException::CSeException(unsigned int code, EXCEPTION_POINTERS* pointers) : m_code(code), m_pointers(pointers) {}

void CSeException::GetFaultDescription(CStdString& text) {
    text = "";
    FaultHelper helper;
    if (!helper.loaded()) {
        text += "faultkit.dll was not found\n";
        return;
    }
    if (helper.has_reason()) {
        text += "Crush Expantion:\n"; // Kept: readers of these reports look for this spelling.
        text += helper.reason(m_pointers);
        text += "\n\n";
    }
    text += "Stack Trace:\n";
    if (!helper.has_stack())
        return;
    const char* line = helper.first_stack_line(m_pointers);
    while (line && text.length() < kLongestDescription) {
        text += line;
        text += "\n";
        line = helper.next_stack_line(m_pointers);
    }
}
