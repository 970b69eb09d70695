// Each file of the report is made under a fault guard, with floating-point settings of the library's own. Upload() has
// no guard: the dialog puts one around it.
#include "include/wendax.h"

#include <string.h>

#include "base/floating_point_scope.h"
#include "capture/screenshot.h"
#include "net/http_transport.h"
#include "net/super_buffer.h"
#include "net/unsent_folder.h"
#include "net/upload.h"
#include "net/upload_form.h"
#include "report/delivery.h"
#include "report/destinations.h"
#include "report/sent_contents.h"
#include "sysinfo/std_info.h"
#include "win/guard.h"

namespace {

// Null is no path, as an empty text is.
const char* path_or_none(const char* path) {
    return path ? path : "";
}

// What lies on the disk of the report that was uploaded last, until its object ends: the next try takes its place.
unsent::KeptReport kept;
const CCrashReport2* report_kept;

// Keeps the report from the beginning of its upload on, so that it outlasts the end of the program.
void keep(const CCrashReport2* report, const Destination& to, const CSuperBuffer& body) {
    if (report_kept != report)
        kept.LetGo();
    report_kept = report;
    if (*report::unsent_folder())
        kept.Keep(report::unsent_folder(), to, body.GetData(), body.GetLength());
}

// A fault in what makes a file costs the file, not the report.
template <class Callable>
void make_file(Callable make) {
    gen::call_with_own_floating_point([&] { win::run_guarded(make); });
}

} // namespace

// What hosts reckon with, whose compilers see pointers and ints in place of the library's types.
static_assert(sizeof(CStdString) == (sizeof(void*) == 4 ? 24 : 32));
static_assert(sizeof(CCrashReport2) == (sizeof(void*) == 4 ? 176 : 256));

CCrashReport2* CCrashReport2::m_pThis;

CCrashReport2::CCrashReport2(CSeException* exception) : m_saved_resources(nullptr), m_exception(exception) {
    m_pThis = this;
}

CCrashReport2::~CCrashReport2() {
    if (m_pThis == this)
        m_pThis = nullptr;
    if (report_kept == this)
        kept.LetGo();
}

void CCrashReport2::PostRequest(const char* config, const char* script, const char* log, const char* file) {
    m_config_path = path_or_none(config);
    m_script_path = path_or_none(script);
    m_log_path = path_or_none(log);
    m_file_path = path_or_none(file);
}

void CCrashReport2::AddAttachment(const char* path) {
    CStdString copy(path_or_none(path));
    m_attachments.Add(copy);
}

bool CCrashReport2::Upload() {
    bool uploaded = false;
    gen::call_with_own_floating_point([&] {
        const char* names[upload_form::part_count] = {
            m_script_path.c_str(), m_config_path.c_str(), m_file_path.c_str(),
            m_log_path.c_str(),    m_screen_path.c_str(), m_system_path.c_str(),
        };
        const char* paths[upload_form::part_count];
        memcpy(paths, names, sizeof paths);
        if (report::sent_contents)
            report::sent_contents->Replace(names, paths);
        CSuperBuffer body;
        upload_form::append_body(body, names, paths);
        const Destination to =
            destination_of(record_address(kDestinations.upload_address), kDestinations.proxy_allowed != 0);
        keep(this, to, body);
        UploadWatcher* const watcher = report::upload_watcher;
        uploaded = upload(to, record_application(kDestinations).name, body.GetData(), body.GetLength(), watcher);
        if (uploaded || (watcher && watcher->stopped))
            kept.Drop();
        else if (*report::unsent_folder())
            kept.DropOlder(report::unsent_folder());
    });
    return uploaded;
}

void CCrashReport2::CreateScreenCopy() {
    make_file([&] {
        m_screen_path = screenshot_path();
        set_up_screenshot_format();
        write_screenshot(m_screen_path);
    });
}

void CCrashReport2::CreateSystemInfo() {
    make_file([&] { write_system_info_file(m_system_path, record_application(kDestinations)); });
}
