// A file is measured when its piece is set up and read when it is appended. One that has shrunk in between counts with
// the bytes that it still has.
#include "net/super_buffer.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

void CSuperBuffer::Piece::SetText(const CStdString& text) noexcept {
    m_text = text.c_str();
    m_size = text.length();
}

void CSuperBuffer::Piece::SetText(const char* text) noexcept {
    m_text = text;
    m_size = static_cast<unsigned>(strlen(text));
}

void CSuperBuffer::Piece::SetFile(const char* path) {
    if (!path || !*path || !m_file.Open(path))
        return;
    const int64_t size = m_file.Length();
    if (size > INT_MAX)
        gen::throw_out_of_memory();
    m_size = size > 0 ? static_cast<unsigned>(size) : 0;
}

unsigned CSuperBuffer::Piece::CopyTo(char* to) const {
    if (!m_file.IsOpen()) {
        memcpy(to, m_text, m_size);
        return m_size;
    }
    unsigned done = 0;
    while (done < m_size) {
        const unsigned got = m_file.Read(to + done, m_size - done);
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

CSuperBuffer::CSuperBuffer() = default;

CSuperBuffer::~CSuperBuffer() {
    free(m_data);
}

void CSuperBuffer::Append(const CStdString& text) {
    Piece piece;
    piece.SetText(text);
    Append(&piece, 1);
}

void CSuperBuffer::AppendFile(const char* path) {
    Piece piece;
    piece.SetFile(path);
    Append(&piece, 1);
}

// Into a new block of the final size: one allocation for all pieces, and the old body stays whole where it fails.
void CSuperBuffer::Append(const Piece* pieces, unsigned count) {
    unsigned capacity = m_length;
    for (unsigned i = 0; i < count; ++i) {
        if (pieces[i].GetSize() > INT_MAX - capacity)
            gen::throw_out_of_memory();
        capacity += pieces[i].GetSize();
    }
    if (capacity == m_length)
        return;
    char* const block = static_cast<char*>(malloc(capacity));
    if (!block)
        gen::throw_out_of_memory();
    unsigned length = m_length;
    if (length)
        memcpy(block, m_data, length);
    for (unsigned i = 0; i < count; ++i)
        if (pieces[i].GetSize())
            length += pieces[i].CopyTo(block + length);
    free(m_data);
    m_data = block;
    m_length = length;
}
