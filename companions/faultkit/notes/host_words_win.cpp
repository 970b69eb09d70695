// One store of each kind, for as long as the library is loaded. Their lock sleeps by the system's clock, which is all
// that they need of Windows.
#include "companions/faultkit/notes/host_words.h"

#include <windows.h>
#include <string.h>

#include "companions/faultkit/faultkit.h"
#include "win/clock.h"

namespace faultkit {
namespace {

ValueStore value_store;
NoteRing note_ring;

void give_way(unsigned milliseconds) {
    Sleep(milliseconds);
}

} // namespace

uint32_t set_value(const char* key, const char* text) {
    FaultValue value;
    if (!key || !is_key(key))
        return ERROR_INVALID_PARAMETER;
    copy_bounded(value.key, key, FaultValue::kMostKey);
    copy_bounded(value.text, text ? text : "", FaultValue::kMostText);
    return value_store.set(value, give_way) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

uint32_t add_note(const char* text) {
    char copy[FaultNote::kMostText + 1];
    if (!text)
        return ERROR_INVALID_PARAMETER;
    const unsigned length = copy_bounded(copy, text, FaultNote::kMostText);
    return note_ring.add(copy, length, GetCurrentThreadId(), win::system_time, give_way) ? ERROR_SUCCESS : ERROR_BUSY;
}

void HostWords::take() {
    value_count = value_store.copy(values, give_way);
    note_count = note_ring.copy(notes, &notes_before, give_way);
}

bool HostWords::with_private() const {
    for (unsigned i = 0; i < value_count; ++i)
        if (strcmp(values[i].key, FAULTKIT_PRIVATE) == 0)
            return strcmp(values[i].text, "1") == 0;
    return false;
}

} // namespace faultkit
