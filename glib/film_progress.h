// How an image document tells its user how far it has come.
#pragma once

#include <stdint.h>

#include "base/basic_string.h"

namespace glib {

struct FilmProgress {
    static constexpr int32_t kFinished = -2;

    gen::basic_string<char>
        text;         // of the operation: "load...", "save...", "stretch..."; empty at the end of a document
    uint32_t total;   // steps there are
    int32_t step;     // the present one, from 1; 0 before the first; -2 when all is over
    uint8_t can_stop; // 1
};

// 0: stop. The answers before the first step and after the last one change nothing. Must not throw.
typedef uint8_t (*FilmProgressCallback)(void* context, const FilmProgress* progress);

} // namespace glib
