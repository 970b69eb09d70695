// Positions go through fgetpos and fsetpos, which have 64 bits in the system's runtime. Which of reading and writing
// came last is remembered, as a change of direction needs a new position.
#include "glib/stdio_file_stream.h"

#include <io.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <windows.h>

VStdioFileStream::~VStdioFileStream() {
    Close();
}

unsigned VStdioFileStream::adopt(FILE* file) {
    m_file = file;
    m_last = Last::neither;
    m_failed = false;
    if (!file)
        return 0;
    constexpr size_t kBufferSize = 4096;
    m_buffer = static_cast<char*>(malloc(kBufferSize));
    if (m_buffer)
        setvbuf(file, m_buffer, _IOFBF, kBufferSize);
    return 1;
}

unsigned VStdioFileStream::OpenWide(const wchar_t* path, const wchar_t* mode) {
    Close();
    return path && mode ? adopt(_wfopen(path, mode)) : 0;
}

unsigned VStdioFileStream::Open(const char* path, const char* mode) {
    Close();
    return path && mode ? adopt(fopen(path, mode)) : 0;
}

// The runtime's buffer serves one direction at a time; setting the position lets it change over.
bool VStdioFileStream::begin(Last operation) {
    if (!m_file)
        return false;
    if (m_last != Last::neither && m_last != operation) {
        fpos_t here;
        if (fgetpos(m_file, &here) != 0 || fsetpos(m_file, &here) != 0)
            return false;
    }
    m_last = operation;
    return true;
}

unsigned VStdioFileStream::IsEndOfData() {
    return m_file && feof(m_file);
}

unsigned VStdioFileStream::HasError() {
    return m_file && (m_failed || ferror(m_file));
}

uint64_t VStdioFileStream::Tell() {
    fpos_t here;
    return m_file && fgetpos(m_file, &here) == 0 ? static_cast<uint64_t>(here) : 0;
}

unsigned VStdioFileStream::SetPosition(uint64_t position) {
    fpos_t target = static_cast<fpos_t>(position);
    if (!m_file || target < 0 || fsetpos(m_file, &target) != 0)
        return 0;
    // A successful seek clears the end-of-data flag, which not every runtime does by itself; an error stays.
    m_failed = HasError() != 0;
    clearerr(m_file);
    m_last = Last::neither;
    return 1;
}

uint64_t VStdioFileStream::Size() {
    if (!m_file)
        return 0;
    if (m_last == Last::write)
        fflush(m_file);
    const int64_t size = _filelengthi64(_fileno(m_file));
    return size < 0 ? 0 : static_cast<uint64_t>(size);
}

int64_t VStdioFileStream::ModificationTime() {
    struct _stati64 status;
    return m_file && _fstati64(_fileno(m_file), &status) == 0 ? static_cast<int64_t>(status.st_mtime) : 0;
}

unsigned VStdioFileStream::SetSize(uint64_t size) {
    const int64_t wanted = static_cast<int64_t>(size);
    if (!m_file || wanted < 0)
        return 0;
    // Through the position the runtime gives up what it has buffered; the system's own position is then free to move.
    fpos_t here;
    if (fgetpos(m_file, &here) != 0 || fflush(m_file) != 0)
        return 0;
    HANDLE const file = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(m_file)));
    LARGE_INTEGER end;
    end.QuadPart = wanted;
    const bool done = SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && SetEndOfFile(file);
    const bool back = fsetpos(m_file, &here) == 0;
    m_last = Last::neither;
    return done && back;
}

uint8_t VStdioFileStream::ReadByte() {
    const int byte = begin(Last::read) ? getc(m_file) : EOF;
    return byte == EOF ? 0 : static_cast<uint8_t>(byte);
}

uint32_t VStdioFileStream::Read(void* buffer, uint32_t size, uint32_t count) {
    if (!buffer || !size || !count || count > ~0u / size || !begin(Last::read))
        return 0;
    return static_cast<uint32_t>(fread(buffer, size, count, m_file));
}

char* VStdioFileStream::ReadLine(char* buffer, uint32_t length) {
    if (!buffer || !length || length > 0x7FFFFFFF || !begin(Last::read))
        return nullptr;
    return fgets(buffer, static_cast<int>(length), m_file);
}

unsigned VStdioFileStream::WriteByte(uint8_t value) {
    return begin(Last::write) && fputc(value, m_file) != EOF;
}

uint32_t VStdioFileStream::Write(const void* buffer, uint32_t size, uint32_t count) {
    if (!buffer || !size || !count || count > ~0u / size || !begin(Last::write))
        return 0;
    return static_cast<uint32_t>(fwrite(buffer, size, count, m_file));
}

unsigned VStdioFileStream::WriteString(const char* text) {
    if (!text || !begin(Last::write) || fputs(text, m_file) == EOF)
        return 0;
    return static_cast<unsigned>(strlen(text));
}

unsigned VStdioFileStream::WriteFormat(const char* format, ...) {
    if (!format || !begin(Last::write))
        return 0;
    va_list arguments;
    va_start(arguments, format);
    const int written = vfprintf(m_file, format, arguments);
    va_end(arguments);
    return written > 0;
}

unsigned VStdioFileStream::Flush() {
    // Nothing else waits to be written, and the runtime would throw away what it has read ahead, position and all.
    return m_file && (m_last != Last::write || fflush(m_file) == 0);
}

unsigned VStdioFileStream::Close() {
    FILE* file = m_file;
    m_file = nullptr;
    if (!file)
        return 0;
    // On its own: not every runtime's fclose tells that the last bytes could not be written.
    const bool flushed = fflush(file) == 0;
    const bool closed = fclose(file) == 0;
    free(m_buffer);
    m_buffer = nullptr;
    return closed && flushed;
}
