// "SSE2" is compared before "SSE", as only the beginning of a setting counts.
#include "sysinfo/instruction_set_setting.h"

#include "base/text_search.h"

namespace sysinfo {

int lower_instruction_set_level(const char* setting, int level) {
    if (gen::begins_ignoring_case(setting, "NONE"))
        return 0;
    if (gen::begins_ignoring_case(setting, "SSE2"))
        return level >= 3 ? 3 : level;
    if (gen::begins_ignoring_case(setting, "SSE"))
        return level >= 2 ? 2 : level;
    if (gen::begins_ignoring_case(setting, "MMX"))
        return level > 0 ? 1 : level;
    return level;
}

} // namespace sysinfo
