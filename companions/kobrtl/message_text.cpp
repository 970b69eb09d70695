// Tries with buffers that double in size, since the runtime's formatter doesn't say how much a text takes.
#include "companions/kobrtl/message_text.h"

#include <stdlib.h>

#include "base/bounded_format.h"

namespace kobrtl {

char* format_message(const char* format, va_list arguments) {
    constexpr unsigned kUsual = 512, kMost = 65536;
    for (unsigned capacity = kUsual;; capacity *= 2) {
        char* text = static_cast<char*>(calloc(capacity + 1, 1));
        if (!text)
            return nullptr;
        va_list again;
        va_copy(again, arguments);
        const int length = gen::bounded_format(text, capacity, format, again);
        va_end(again);
        if (length >= 0 || capacity == kMost) {
            text[length >= 0 ? static_cast<unsigned>(length) : capacity] = '\0';
            return text;
        }
        free(text);
    }
}

} // namespace kobrtl
