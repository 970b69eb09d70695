// The C runtime formats, under a fault guard. Where the host has damaged the runtime's heap, a plain formatter of the
// few fields that messages have does it.
#include "mfc/afx_time.h"

#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "win/clock.h"
#include "win/guard.h"

namespace {

// Windows counts in 100 ns since 1601, the C runtime in seconds since 1970.
constexpr ULONGLONG kSecondsTo1970 = 11644473600;

constexpr int kCapacity = 128; // of a text with its terminator

// The same as strftime on local time, for the fields that messages have, in English and by the offset from Greenwich
// that holds now. Empty where that doesn't do.
void format_plainly(__time64_t time, const char* format, char (&text)[kCapacity]) {
    static const char* const kDays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
    const FILETIME greenwich = win::file_time((static_cast<ULONGLONG>(time) + kSecondsTo1970) * win::kTicksASecond);
    FILETIME local;
    SYSTEMTIME now;
    *text = '\0';
    if (!FileTimeToLocalFileTime(&greenwich, &local) || !FileTimeToSystemTime(&local, &now))
        return;
    const int numbers[] = {now.wDay, now.wYear % 100, now.wHour, now.wMinute, now.wSecond};
    constexpr char kLetters[] = "dyHMS";
    constexpr int kLongestField = 9;
    char* to = text;
    for (; *format && to < text + kCapacity - 1 - kLongestField; ++format) {
        if (*format != '%') {
            *to++ = *format;
            continue;
        }
        const char letter = *++format;
        const char* const found = letter ? strchr(kLetters, letter) : nullptr;
        if (!found && letter != 'A')
            break;
        to += found ? sprintf(to, "%02d", numbers[found - kLetters]) : sprintf(to, "%s", kDays[now.wDayOfWeek]);
    }
    *(*format ? text : to) = '\0';
}

void format_by_runtime(__time64_t time, const char* format, char (&text)[kCapacity]) {
    const struct tm* const parts = _localtime64(&time);
    if (!parts || strftime(text, kCapacity, format, parts) == 0)
        *text = '\0';
}

} // namespace

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
    // Not by _time64, which may take memory from the runtime's heap.
    return CTime(static_cast<__time64_t>(win::system_time() / win::kTicksASecond - kSecondsTo1970));
}

CString CTime::Format(LPCSTR pFormat) const {
    char text[kCapacity];
    // The runtime takes memory from its own heap, which the host may have damaged.
    if (!win::run_guarded([&] { format_by_runtime(m_time, pFormat, text); }))
        format_plainly(m_time, pFormat, text);
    return CString(text);
}
