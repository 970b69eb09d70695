// Gathers texts and attachments and gives them to CEmailTool. A part for which there is no memory is left out or cut
// short; the message goes all the same.
#include "include/wendax.h"

#include <new>

#include "base/floating_point_scope.h"
#include "base/owner.h"
#include "capture/screenshot.h"
#include "compose/email_tool.h"
#include "report/destinations.h"
#include "report/report_texts.h"
#include "report/report_scope.h"
#include "report/se_exception.h"
#include "sysinfo/std_info.h"

namespace {

// Where memory gives out on the way, the message has what there is of the two texts and of the attachments.

CStdString system_text() {
    // On the heap: the object holds a work area of 64 KiB, and after a stack overflow little stack is left.
    try {
        const gen::Owner<CStdInfo> info(new (std::nothrow) CStdInfo);
        if (info)
            return info->GetSystemInfoText(record_application(kDestinations));
    } catch (const gen::genlib_out_of_memory&) {
    }
    return CStdString();
}

CStdString debug_text(CSeException* exception) {
    // Kept: the test is made on the object's own address, which tells whether its first byte can be read.
    if (IsBadCodePtr(reinterpret_cast<FARPROC>(exception)))
        return report::kNoDebugText;
    CStdString text;
    try {
        exception->GetFaultDescription(text);
    } catch (const gen::genlib_error&) {
        if (text.empty())
            text = report::kNoDebugText;
    }
    return text;
}

void attach(CEmailTool& mail, const char* path) {
    try {
        mail.AddAttachment(path);
    } catch (const gen::genlib_out_of_memory&) {
    }
}

} // namespace

// What hosts reckon with, whose compilers see pointers and ints in place of the library's types.
static_assert(sizeof(CStdStringArray) == 5 * sizeof(void*));
static_assert(sizeof(CCrashReport) == (sizeof(void*) == 4 ? 32 : 64));

CCrashReport::CCrashReport(CSeException* exception) : m_saved_resources(nullptr), m_exception(exception) {}

CCrashReport::~CCrashReport() = default;

void CCrashReport::AddAttachment(const char* path) {
    CStdString copy(path ? path : "");
    m_attachments.Add(copy);
}

void CCrashReport::GenerateEmail(int context, const char* product, const char* subject, const char* recipient) {
    report::call_as_library([=, this] {
        const CWaitCursor wait;
        CEmailTool mail;
        const report::Names names = record_names(kDestinations);
        const char* const name = product ? product : names.product;
        {
            const CStdString note = report::screenshot_note(name, names);
            const CStdString debug = debug_text(m_exception);
            const report::MailText text = report::mail_text(context, name, subject, note, system_text(), debug, names);
            mail.Compose(text.subject.c_str(), text.body.c_str(),
                         recipient ? recipient : record_address(kDestinations.support_address), nullptr);
        }
        SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_HIGHEST); // Kept: never lowered again.
        for (INT_PTR i = 0; i < m_attachments.GetSize(); ++i)
            attach(mail, m_attachments[i].c_str());
        mail.OpenInMailer();
    });
}

void CCrashReport::AttachScreenCopy() {
    gen::call_with_own_floating_point([this] {
        const CStdString path = screenshot_path();
        write_screenshot(path);
        AddAttachment(path.c_str());
    });
}

HBITMAP CCrashReport::CopyScreenToBitmap(RECT* rect) {
    HBITMAP bitmap = nullptr;
    gen::call_with_own_floating_point([&] { bitmap = copy_screen_to_bitmap(rect); });
    return bitmap;
}
