// CTime: a point in time, shown in local time. Seconds have 64 bits: those of 32 end in January 2038.
#pragma once

#include <time.h>

#include "mfc/afx_string.h"

// windows.h has a macro of this name; the framework undefines it too.
#undef GetCurrentTime

class CTime {
public:
    CTime(__time64_t time) : m_time(time) {} // seconds since 1970, UTC
    // Local time.
    CTime(int year, int month, int day, int hour, int minute, int second);

    static CTime GetCurrentTime();

    __time64_t GetTime() const { return m_time; }

    // strftime on the local time, in the process's locale. Empty when the result is longer than 127 bytes or the time
    // is outside what the C runtime can show.
    CString Format(LPCSTR pFormat) const;

private:
    __time64_t m_time;
};
