#include "sysinfo/instruction_set_level.h"

namespace sysinfo {

namespace {

bool begins_with(const char* text, const char* upper_case) {
    for (; *upper_case; ++text, ++upper_case) {
        const char c = *text >= 'a' && *text <= 'z' ? static_cast<char>(*text - 'a' + 'A') : *text;
        if (c != *upper_case)
            return false;
    }
    return true;
}

} // namespace

int lower_instruction_set_level(const char* setting, int level) {
    if (begins_with(setting, "NONE"))
        return 0;
    if (begins_with(setting, "SSE2"))
        return level >= 3 ? 3 : level;
    if (begins_with(setting, "SSE"))
        return level >= 2 ? 2 : level;
    if (begins_with(setting, "MMX"))
        return level > 0 ? 1 : level;
    return level;
}

} // namespace sysinfo
