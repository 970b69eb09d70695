// Documents are counted under a critical section. Each run of GDI+ has a number, by which images of an earlier run are
// told. The start and the stop themselves are guarded against faults.
#include "glib/gdiplus_init.h"

#include "glib/gdiplus_api.h"
#include "win/guard.h"
#include "win/handle.h"

static_assert(sizeof(glib::GdiPlusInit) == 3 * sizeof(void*), "the type table, the flag and the token");

namespace glib {

namespace {

class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&m_section); }
    ~CriticalSection() { win::nothrow(DeleteCriticalSection)(&m_section); }
    void Enter() { EnterCriticalSection(&m_section); }
    void Leave() noexcept { win::nothrow(LeaveCriticalSection)(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

class Lock {
public:
    explicit Lock(CriticalSection& section) : m_section(section) { m_section.Enter(); }
    ~Lock() { m_section.Leave(); }

private:
    CriticalSection& m_section;
};

// Made when the library is loaded; the guard goes first at its end.
CriticalSection g_section;
int32_t g_documents;
uint32_t g_periods;
GdiPlusInit g_guard;

void start_process_wide() {
    if (g_guard.started())
        return;
    g_guard.Start();
    g_periods += g_guard.started();
}

} // namespace

GdiPlusInit::~GdiPlusInit() noexcept(false) {
    Stop();
}

void GdiPlusInit::Start() {
    if (m_started || !bind_gdiplus())
        return;
    Gdiplus::Status status = Gdiplus::GenericError;
    ULONG_PTR token = 0;
    win::run_guarded(win::kSwallowAll, [&] {
        Gdiplus::GdiplusStartupInput input;
        status = gdiplus_api().Startup(&token, &input, nullptr);
    });
    if (status != Gdiplus::Ok)
        return;
    m_token = token;
    m_started = 1;
}

void GdiPlusInit::Stop() {
    if (!m_started)
        return;
    m_started = 0;
    // Should it fault, there is nothing left to do about it.
    win::run_guarded(win::kSwallowAll, [&] { gdiplus_api().Shutdown(m_token); });
}

void gdiplus_switch(bool on) {
    if (on)
        start_process_wide();
    else
        g_guard.Stop();
}

void count_document() {
    Lock lock(g_section);
    ++g_documents;
    start_process_wide();
}

void discount_document() {
    Lock lock(g_section);
    if (--g_documents == 0)
        g_guard.Stop();
}

int32_t live_documents() {
    Lock lock(g_section);
    return g_documents;
}

uint32_t gdiplus_period() noexcept {
    return g_guard.started() ? g_periods : 0;
}

} // namespace glib
