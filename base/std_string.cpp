// The runtime's formatter doesn't say how long a text will be, so it is tried with a growing limit until the text fits.
// A text beyond the last limit is cut.
#include "base/std_string.h"

#include "base/bounded_format.h"
#include "base/text_search.h"

namespace {

constexpr unsigned kFormatStep = 1024;   // characters that each try has more than the one before
constexpr unsigned kFormatBound = 32767; // a try with a buffer of this size or more is the last

} // namespace

CStdString::CStdString() = default;
CStdString::CStdString(const char* text) : base(text) {}
CStdString::CStdString(const char* text, unsigned n) : base(text, n) {}
CStdString::CStdString(const char* left, unsigned left_length, const char* right, unsigned right_length)
    : base(left, left_length, right, right_length) {}
CStdString::CStdString(const base& other) : base(other) {}
CStdString::CStdString(base&& other) noexcept : base(static_cast<base&&>(other)) {}
CStdString::CStdString(const CStdString& other) = default;
CStdString::CStdString(CStdString&& other) noexcept = default;
CStdString::~CStdString() = default;

void CStdString::format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vformat(format, arguments);
    va_end(arguments);
}

void CStdString::vformat(const char* format, va_list arguments) {
    if (!format)
        format = "";
    unsigned limit = sum(gen::text_length(format), kFormatStep);
    // In storage of its own, which replaces the old text only when all has gone well.
    gen::array<char> text(capacity() > limit + 1 ? capacity() : limit + 1);
    text.resize(limit + 1);
    int result;
    for (;;) {
        va_list once;
        va_copy(once, arguments);
        result = gen::bounded_format(text.data(), limit, format, once);
        va_end(once);
        if (result != -1 || limit >= kFormatBound)
            break;
        limit += kFormatStep;
        text.resize(limit + 1);
    }
    const unsigned length = result != -1 ? static_cast<unsigned>(result) : gen::text_length(text.data());
    text.data()[length] = '\0';
    text.resize(length + 1);
    take(text);
}

CStdString operator+(const CStdString& left, const gen::basic_string<char>& right) {
    return CStdString(left.c_str(), left.length(), right.c_str(), right.length());
}

CStdString operator+(const CStdString& left, const char* right) {
    return CStdString(left.c_str(), left.length(), right, gen::text_length(right));
}

CStdString operator+(const CStdString& left, char right) {
    return CStdString(left.c_str(), left.length(), &right, 1);
}

CStdString operator+(const char* left, const CStdString& right) {
    return CStdString(left, gen::text_length(left), right.c_str(), right.length());
}

CStdString operator+(CStdString&& left, const gen::basic_string<char>& right) {
    left += right;
    return static_cast<CStdString&&>(left);
}

CStdString operator+(CStdString&& left, const char* right) {
    left += right;
    return static_cast<CStdString&&>(left);
}

CStdString operator+(CStdString&& left, char right) {
    left += right;
    return static_cast<CStdString&&>(left);
}
