// The saved positions, which every stream has; all else is the derived streams'.
#include "glib/stream.h"

VStream::~VStream() {}

void VStream::PushPosition() {
    m_positions.add(static_cast<int64_t>(Tell()));
}

unsigned VStream::PopPosition() {
    unsigned kept = m_positions.size();
    if (!kept)
        return 0;
    int64_t position = m_positions[kept - 1];
    m_positions.remove(kept - 1);
    return SetPosition(static_cast<uint64_t>(position));
}
