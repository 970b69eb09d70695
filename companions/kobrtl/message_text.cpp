// Tries with buffers that double in size, since the runtime's formatter doesn't say how much a text takes.
#include "companions/kobrtl/message_text.h"

#include <stdlib.h>

#include "base/bounded_format.h"

namespace kobrtl {

char* format_message(const char* format, va_list arguments) {
    constexpr unsigned kUsual = 512, kMost = 65536;
    for (unsigned room = kUsual;; room *= 2) {
        char* text = static_cast<char*>(calloc(room + 1, 1));
        if (!text)
            return nullptr;
        va_list again;
        va_copy(again, arguments);
        const int length = gen::bounded_format(text, room, format, again);
        va_end(again);
        if (length >= 0 || room == kMost) {
            text[length >= 0 ? static_cast<unsigned>(length) : room] = '\0';
            return text;
        }
        free(text);
    }
}

} // namespace kobrtl
