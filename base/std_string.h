// CStdString: the system's char string, with printf-style formatting.
#pragma once

#include <stdarg.h>

#include "base/basic_string.h"

class CStdString : public gen::basic_string<char> {
    using base = gen::basic_string<char>;

public:
    CStdString();
    CStdString(const char* text);
    CStdString(const char* text, unsigned n);
    CStdString(const char* left, unsigned left_length, const char* right, unsigned right_length);
    CStdString(const base& other);
    CStdString(base&& other) noexcept;
    CStdString(const CStdString& other);
    CStdString(CStdString&& other) noexcept;
    ~CStdString() override;

    CStdString& operator=(const CStdString&) = default;
    CStdString& operator=(CStdString&&) noexcept = default;
    // Null as in basic_string::assign.
    CStdString& operator=(const char* text) {
        assign(text);
        return *this;
    }

    // Replaces the text by the formatted one. The conversions are those of the platform's own _vsnprintf. At most about
    // 32 KiB come out: the first try takes the length of the format text plus 1024 characters, each further try 1024
    // more, and none follows a try of 32767 or more; what doesn't fit then is cut, without a report. The
    // arguments may point into this string. A null format is an empty one.
    [[gnu::format(printf, 2, 3)]] void format(const char* format, ...);
    [[gnu::format(printf, 2, 0)]] void vformat(const char* format, va_list arguments);

    // As in basic_string.
    CStdString left(int n) const { return substr(0, n > 0 ? static_cast<unsigned>(n) : 0); }
    CStdString substr(unsigned pos, unsigned n = ~0u) const {
        n = clip(pos, n);
        return CStdString(c_str() + pos, n);
    }
};

static_assert(sizeof(CStdString) == sizeof(gen::base_array), "a string adds no field to its array");

CStdString operator+(const CStdString& left, const gen::basic_string<char>& right);
CStdString operator+(const CStdString& left, const char* right);
CStdString operator+(const CStdString& left, char right);
CStdString operator+(const char* left, const CStdString& right);
CStdString operator+(CStdString&& left, const gen::basic_string<char>& right);
CStdString operator+(CStdString&& left, const char* right);
CStdString operator+(CStdString&& left, char right);
