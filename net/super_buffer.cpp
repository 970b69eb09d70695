#include "net/super_buffer.h"

#include <limits.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#ifdef _WIN32
#include <io.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

bool exists(const char* path) {
#ifdef _WIN32
    return _access(path, 0) == 0;
#else
    return access(path, F_OK) == 0;
#endif
}

// Bytes; not a long, which ends at 2 GiB on Windows. Negative where there are none (a pipe).
int64_t length_of(FILE* file) {
#ifdef _WIN32
    return _filelengthi64(_fileno(file));
#else
    struct stat status;
    return fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
#endif
}

unsigned measure(FILE* file) {
    const int64_t size = length_of(file);
    if (size > INT_MAX) {
        gen::throw_out_of_memory();
    }
    return size > 0 ? static_cast<unsigned>(size) : 0;
}

} // namespace

CSuperBuffer::Piece::~Piece() {
    if (m_file) {
        fclose(m_file);
    }
}

void CSuperBuffer::Piece::SetText(const CStdString& text) noexcept {
    m_text = text.c_str();
    m_size = text.length();
}

void CSuperBuffer::Piece::SetText(const char* text) noexcept {
    m_text = text;
    m_size = static_cast<unsigned>(strlen(text));
}

void CSuperBuffer::Piece::SetFile(const char* path) {
    if (!path || !*path || !exists(path)) {
        return;
    }
    m_file = fopen(path, "rb");
    if (m_file) {
        // Read in one piece; a buffer would come from the runtime's heap, which may be damaged.
        setvbuf(m_file, nullptr, _IONBF, 0);
        m_size = measure(m_file);
    }
}

unsigned CSuperBuffer::Piece::CopyTo(char* to) const {
    if (!m_file) {
        memcpy(to, m_text, m_size);
        return m_size;
    }
    unsigned done = 0;
    while (done < m_size) {
        const size_t got = fread(to + done, 1, m_size - done, m_file);
        if (got == 0) {
            break;
        }
        done += static_cast<unsigned>(got);
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

void CSuperBuffer::Append(const Piece* pieces, unsigned count) {
    unsigned room = m_length;
    for (unsigned i = 0; i < count; ++i) {
        if (pieces[i].GetSize() > INT_MAX - room) {
            gen::throw_out_of_memory();
        }
        room += pieces[i].GetSize();
    }
    if (room == m_length) {
        return;
    }
    char* const block = static_cast<char*>(malloc(room));
    if (!block) {
        gen::throw_out_of_memory();
    }
    unsigned length = m_length;
    if (length) {
        memcpy(block, m_data, length);
    }
    for (unsigned i = 0; i < count; ++i) {
        if (pieces[i].GetSize()) {
            length += pieces[i].CopyTo(block + length);
        }
    }
    free(m_data);
    m_data = block;
    m_length = length;
}
