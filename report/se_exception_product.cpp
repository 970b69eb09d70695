// The description grows piece by piece, so that what the helper said before it faulted is kept.
#include "report/se_exception.h"

#include "report/fault_helper.h"
#include "win/guard.h"

namespace {

// More than fits into a report's body: ends with a helper that never does.
constexpr unsigned kLongestDescription = 40000; // bytes
constexpr char kHelperFault[] = "(faultkit.dll met a fault)";

// As much of the helper's text as a description may have: it may be of any length.
void append_bounded(CStdString& text, const char* piece) {
    unsigned count = 0;
    while (piece && text.length() + count < kLongestDescription && piece[count])
        ++count;
    text.append(piece, count);
}

void append_stack(const FaultHelper& helper, EXCEPTION_POINTERS* pointers, CStdString& text) {
    const char* line = helper.first_stack_line(pointers);
    while (line && text.length() < kLongestDescription) {
        append_bounded(text, line);
        text += "\n";
        line = helper.next_stack_line(pointers);
    }
}

} // namespace

IMPLEMENT_DYNAMIC(CSeException, CException)

CSeException::CSeException(unsigned int code, EXCEPTION_POINTERS* pointers) noexcept
    : m_code(code), m_pointers(pointers) {}

void CSeException::GetFaultDescription(CStdString& text) {
    text = "";
    FaultHelper helper;
    if (!helper.loaded()) {
        text += "faultkit.dll was not found\n";
        return;
    }
    if (helper.has_reason()) {
        text += "Crush Expantion:\n"; // Kept: readers of these reports look for this spelling.
        if (!win::run_guarded([&] { append_bounded(text, helper.reason(m_pointers)); }))
            text += kHelperFault;
        text += "\n\n";
    }
    text += "Stack Trace:\n";
    if (helper.has_stack() && !win::run_guarded([&] { append_stack(helper, m_pointers, text); })) {
        text += kHelperFault;
        text += "\n";
    }
}
