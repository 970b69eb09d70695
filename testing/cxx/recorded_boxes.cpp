#include "testing/cxx/recorded_boxes.h"

#include <cstdarg>
#include <cstdio>

#include "companions/kobrtl/kobrtl.h"

namespace {
std::vector<RecordedBox> g_boxes;
}

const std::vector<RecordedBox>& recorded_boxes() {
    return g_boxes;
}

void clear_recorded_boxes() {
    g_boxes.clear();
}

int KOBRTL_CDECL MsgBox(HWND__* owner, unsigned flags, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    g_boxes.push_back({owner, flags, text});
    return 1;
}
