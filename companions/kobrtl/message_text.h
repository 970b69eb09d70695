// The text of a message box.
#pragma once

#include <stdarg.h>

namespace kobrtl {

// Formats as printf does, whatever the length up to 64 K characters; longer texts are cut. The caller frees the result
// with free(). Null if memory is gone.
char* format_message(const char* format, va_list arguments);

} // namespace kobrtl
