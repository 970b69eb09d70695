// Slots are taken in the order of the keys and never given back: a value that was taken out leaves its key.
#include "companions/faultkit/notes/value_store.h"

#include <string.h>

namespace faultkit {

unsigned copy_bounded(char* to, const char* from, unsigned most) {
    unsigned length = 0;
    for (; length < most && from[length]; ++length)
        to[length] = from[length];
    to[length] = '\0';
    return length;
}

bool is_key(const char* key) {
    unsigned length = 0;
    for (; key[length]; ++length) {
        const char c = key[length], lower = static_cast<char>(c | 0x20);
        const bool letter = (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9');
        if (length == FaultValue::kMostKey || (!letter && c != ' ' && c != '.' && c != '-' && c != '_'))
            return false;
    }
    return length != 0;
}

bool ValueStore::set(const FaultValue& value, GiveWay give_way) {
    if (!m_lock.acquire(give_way))
        return false;
    unsigned at = 0;
    while (at < m_count && strcmp(m_slots[at].value.key, value.key) != 0)
        ++at;
    const bool fits = at < kMostValues;
    if (fits) {
        Slot& slot = m_slots[at];
        __atomic_store_n(&slot.whole, 0, __ATOMIC_SEQ_CST);
        slot.value = value;
        __atomic_store_n(&slot.whole, 1, __ATOMIC_SEQ_CST);
        if (at == m_count)
            __atomic_store_n(&m_count, at + 1, __ATOMIC_RELEASE);
    }
    m_lock.release();
    return fits;
}

unsigned ValueStore::copy(FaultValue (&to)[kMostValues], GiveWay give_way) {
    // Read without the lock, too, as the notes are.
    const bool locked = m_lock.acquire(give_way);
    const unsigned count = __atomic_load_n(&m_count, __ATOMIC_ACQUIRE);
    unsigned copied = 0;
    for (unsigned i = 0; i < count && i < kMostValues; ++i) {
        if (!__atomic_load_n(&m_slots[i].whole, __ATOMIC_ACQUIRE))
            continue;
        to[copied] = m_slots[i].value;
        to[copied].text[FaultValue::kMostText] = '\0';
        copied += to[copied].text[0] != '\0';
    }
    if (locked)
        m_lock.release();
    return copied;
}

} // namespace faultkit
