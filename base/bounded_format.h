// The one place where the strings meet the platform's formatter.
#pragma once

#include <stdarg.h>

namespace gen {

// Formats into a buffer of `limit` characters as the Windows runtime's _vsnprintf does:
// - a shorter text is written with its NUL, and its length returned;
// - a text of exactly `limit` characters fills the buffer, WITHOUT a NUL, and is a success like others;
// - of a longer one the first `limit` characters are written, without a NUL, and -1 is returned;
// - a format text that the runtime refuses gives -1 too.
// The argument list is consumed: pass a copy if it is needed again.
[[gnu::format(printf, 3, 0)]] int bounded_format(char* buffer, unsigned limit, const char* format, va_list arguments);

} // namespace gen
