// The start and stop of GDI+ for the process.
#pragma once

#include <stdint.h>

namespace glib {

// Keeps GDI+ running from Start to its own end. The process-wide one is reached through the functions below.
class GdiPlusInit {
public:
    GdiPlusInit() = default;
    GdiPlusInit(const GdiPlusInit&) = delete;
    GdiPlusInit& operator=(const GdiPlusInit&) = delete;
    virtual ~GdiPlusInit() noexcept(false); // stops it if it was started; lets a fault pass

    // Does nothing when started already. A start that fails, faults or finds no GDI+ leaves it stopped; the next one
    // tries again.
    void Start();
    void Stop();
    bool started() const noexcept { return m_started != 0; }

private:
    uint8_t m_started = 0;
    uintptr_t m_token = 0;
};

// The switch of the process: true starts GDI+, false stops it at once if it runs, whatever image documents there are.
// Takes no lock: one thread at a time.
void gdiplus_switch(bool on);

// Every image document calls these at its beginning and end, from any thread. The first one starts GDI+, also if it
// was stopped by the switch in between; the last one to go stops it.
void count_document();
void discount_document();
int32_t live_documents();

// The number of the running period of the process-wide GDI+, from 1; 0 while it is stopped. What was made by GDI+ in
// another period is gone and must not be touched.
uint32_t gdiplus_period() noexcept;

} // namespace glib
