// The texts of a note are copied before the lock is taken, as the host's pointers may be bad; see AddFaultNote.
#include "companions/faultkit/notes/note_ring.h"

#include <string.h>

namespace faultkit {

bool NoteRing::add(const char* text, unsigned length, uint32_t thread, uint64_t (*now)(), GiveWay give_way) {
    if (!m_lock.acquire(give_way))
        return false;
    Slot& slot = m_slots[m_count % kMostNotes];
    __atomic_store_n(&slot.whole, 0, __ATOMIC_SEQ_CST);
    slot.note.time = now();
    slot.note.thread = thread;
    length = length < FaultNote::kMostText ? length : FaultNote::kMostText;
    memcpy(slot.note.text, text, length);
    slot.note.text[length] = '\0';
    __atomic_store_n(&slot.whole, 1, __ATOMIC_SEQ_CST);
    __atomic_store_n(&m_count, m_count + 1, __ATOMIC_RELEASE);
    m_lock.release();
    return true;
}

unsigned NoteRing::copy(FaultNote (&to)[kMostNotes], uint32_t* before, GiveWay give_way) {
    // Read without the lock, too: a thread that was stopped while it held it never gives it back, and the marks of the
    // slots tell which are whole.
    const bool locked = m_lock.acquire(give_way);
    const uint32_t count = __atomic_load_n(&m_count, __ATOMIC_ACQUIRE);
    *before = count > kMostNotes ? count - kMostNotes : 0;
    unsigned copied = 0;
    for (uint32_t i = *before; i != count; ++i) {
        const Slot& slot = m_slots[i % kMostNotes];
        if (!__atomic_load_n(&slot.whole, __ATOMIC_ACQUIRE))
            continue;
        to[copied] = slot.note;
        to[copied++].text[FaultNote::kMostText] = '\0';
    }
    if (locked)
        m_lock.release();
    return copied;
}

} // namespace faultkit
