#include "mfc/afx_time.h"

CTime::CTime(int year, int month, int day, int hour, int minute, int second) {
    struct tm parts = {};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    m_time = _mktime64(&parts);
}

CTime CTime::GetCurrentTime() {
    return CTime(_time64(nullptr));
}

CString CTime::Format(LPCSTR pFormat) const {
    char text[128];
    const struct tm* const parts = _localtime64(&m_time);
    if (!parts || strftime(text, sizeof(text), pFormat, parts) == 0)
        return CString();
    return CString(text);
}
