// Grows by its step, or by more where that is too little. After a failed growth the stream has an error for good and
// takes no more.
#include "glib/mem_stream.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "base/bounded_format.h"

const VMemStream::Callbacks VMemStream::kProcessAllocator = {malloc, free, realloc};

VMemStream::VMemStream(uint32_t step, uint32_t capacity, const Callbacks& callbacks)
    : m_buffer(nullptr), m_size(0), m_position(0), m_step(step), m_capacity(0), m_fixed(growable), m_end_of_data(0),
      m_error(0), m_callbacks(callbacks) {
    if (capacity)
        m_buffer = static_cast<uint8_t*>(m_callbacks.allocate(capacity));
    if (m_buffer)
        m_capacity = capacity;
}

VMemStream::VMemStream(void* buffer, uint32_t size)
    : m_buffer(static_cast<uint8_t*>(buffer)), m_size(buffer ? size : 0), m_position(0), m_step(0), m_capacity(m_size),
      m_fixed(fixed), m_end_of_data(0), m_error(0), m_callbacks(kProcessAllocator) {}

VMemStream::VMemStream(const void* buffer, uint32_t size) : VMemStream(const_cast<void*>(buffer), size) {
    m_fixed = fixed_for_reading;
}

#ifdef _MSC_VER
// The order of the fields is fixed, in the product's ABI.
struct VMemStream::Layout {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Winvalid-offsetof"
    static constexpr unsigned kPointer = sizeof(void*);
    static constexpr unsigned kBuffer = kPointer == 8 ? 48 : 32;
    static_assert(offsetof(VMemStream, m_buffer) == kBuffer && offsetof(VMemStream, m_size) == kBuffer + 8 &&
                  offsetof(VMemStream, m_position) == kBuffer + 16 && offsetof(VMemStream, m_step) == kBuffer + 24 &&
                  offsetof(VMemStream, m_capacity) == kBuffer + 32);
    static_assert(offsetof(VMemStream, m_fixed) == kBuffer + 40 &&
                  offsetof(VMemStream, m_end_of_data) == kBuffer + 41 &&
                  offsetof(VMemStream, m_error) == kBuffer + 42 &&
                  offsetof(VMemStream, m_callbacks) == kBuffer + 40 + kPointer);
    static_assert(sizeof(Callbacks) == 3 * kPointer && offsetof(Callbacks, release) == kPointer &&
                  offsetof(Callbacks, reallocate) == 2 * kPointer);
#pragma clang diagnostic pop
};
#endif

VMemStream::~VMemStream() {
    using Nothrow =
        void (*)(void*) noexcept; // else a fault of a damaged heap could not pass, and would end the process
    if (m_fixed == growable)
        reinterpret_cast<Nothrow>(m_callbacks.release)(m_buffer);
}

uint8_t* VMemStream::Detach() {
    if (m_fixed != growable)
        return nullptr;
    uint8_t* given = m_buffer;
    m_buffer = nullptr;
    m_size = m_position = m_capacity = 0;
    return given;
}

// Memory is always open: what belongs to files succeeds and does nothing.

unsigned VMemStream::OpenWide(const wchar_t*, const wchar_t*) {
    return 1;
}

unsigned VMemStream::Open(const char*, const char*) {
    return 1;
}

unsigned VMemStream::IsEndOfData() {
    return m_end_of_data;
}

unsigned VMemStream::HasError() {
    return m_error;
}

uint64_t VMemStream::Tell() {
    return m_position;
}

// A place beyond the end is as good as any; only one before the start is refused.
unsigned VMemStream::SetPosition(uint64_t position) {
    if (static_cast<int64_t>(position) < 0)
        return 0;
    m_position = position;
    m_end_of_data = 0;
    return 1;
}

uint64_t VMemStream::Size() {
    return m_size;
}

int64_t VMemStream::ModificationTime() {
    return 0;
}

unsigned VMemStream::SetSize(uint64_t size) {
    if (m_fixed != growable)
        return size == m_size;
    if (m_error)
        return 0;
    if (size > m_capacity) {
        const uint64_t stepped = m_capacity + m_step;
        if (!grow_to(size > stepped ? size : stepped))
            return 0;
    }
    clear_gap(size);
    m_size = size;
    return 1;
}

uint8_t VMemStream::ReadByte() {
    if (!left()) {
        m_end_of_data = 1;
        return 0;
    }
    return m_buffer[m_position++];
}

uint32_t VMemStream::Read(void* buffer, uint32_t size, uint32_t count) {
    uint64_t bytes = static_cast<uint64_t>(size) * count;
    if (!bytes || !buffer)
        return 0;
    if (bytes > left()) {
        bytes = left();
        m_end_of_data = 1;
    }
    if (bytes)
        memcpy(buffer, m_buffer + m_position, static_cast<size_t>(bytes));
    m_position += bytes;
    return static_cast<uint32_t>(bytes / size);
}

char* VMemStream::ReadLine(char* buffer, uint32_t length) {
    if (!buffer || !length)
        return nullptr;
    if (!left()) {
        m_end_of_data = 1;
        return nullptr;
    }
    uint64_t bytes = left() < length - 1 ? left() : length - 1;
    const uint8_t* start = m_buffer + m_position;
    if (const void* feed = memchr(start, '\n', static_cast<size_t>(bytes)))
        bytes = static_cast<uint64_t>(static_cast<const uint8_t*>(feed) - start) + 1;
    memcpy(buffer, start, static_cast<size_t>(bytes));
    buffer[bytes] = 0;
    m_position += bytes;
    return buffer;
}

unsigned VMemStream::WriteByte(uint8_t value) {
    return Write(&value, 1, 1);
}

// Bytes that a seek has jumped over read as zeros, not as what the allocator left there.
void VMemStream::clear_gap(uint64_t end) {
    if (end > m_size)
        memset(m_buffer + m_size, 0, static_cast<size_t>(end - m_size));
}

// Copies what fits below the limit and advances the position.
uint64_t VMemStream::copy_in(const uint8_t* bytes, uint64_t count, uint64_t limit) {
    const uint64_t space = m_position < limit ? limit - m_position : 0;
    const uint64_t fits = count < space ? count : space;
    if (fits)
        memcpy(m_buffer + m_position, bytes, static_cast<size_t>(fits));
    m_position += fits;
    return fits;
}

bool VMemStream::grow_to(uint64_t capacity) {
    void* grown = nullptr;
    // Sizes have 64 bits also where blocks of memory have 32: a hostile one must not come out small.
    if (capacity > m_capacity && capacity <= PTRDIFF_MAX) {
        const size_t bytes = static_cast<size_t>(capacity);
        if (m_callbacks.reallocate) {
            grown = m_callbacks.reallocate(m_buffer, bytes);
        } else {
            grown = m_callbacks.allocate(bytes);
            if (grown && m_size)
                memcpy(grown, m_buffer, static_cast<size_t>(m_size));
            if (grown)
                m_callbacks.release(m_buffer);
        }
    }
    if (!grown) {
        m_error = 1;
        return false;
    }
    m_buffer = static_cast<uint8_t*>(grown);
    m_capacity = capacity;
    return true;
}

uint32_t VMemStream::Write(const void* buffer, uint32_t size, uint32_t count) {
    if (m_error || !size || !count || !buffer || m_fixed == fixed_for_reading)
        return 0;
    const uint64_t total = static_cast<uint64_t>(size) * count;
    const uint8_t* bytes = static_cast<const uint8_t*>(buffer);
    if (m_fixed == fixed)
        return static_cast<uint32_t>(copy_in(bytes, total, m_size) / size);

    clear_gap(m_position < m_capacity ? m_position : m_capacity);
    const uint64_t fitted = copy_in(bytes, total, m_capacity);
    if (m_position > m_size)
        m_size = m_position;
    const uint64_t remaining = total - fitted;
    if (remaining) {
        // Kept: a write from beyond the capacity lands at the capacity, and after a failed growth the stream ends
        // there, with the bytes that fitted written but not reported.
        m_size = m_position = m_capacity;
        if (!grow_to(m_capacity + (remaining > m_step ? remaining : m_step)))
            return 0;
        copy_in(bytes + fitted, remaining, m_capacity);
        m_size = m_position;
    }
    return static_cast<uint32_t>(total / size);
}

unsigned VMemStream::WriteString(const char* text) {
    return text ? Write(text, 1, static_cast<uint32_t>(strlen(text))) : 0;
}

unsigned VMemStream::WriteFormat(const char* format, ...) {
    char text[1024 + 1] = {};
    if (!format)
        return 0;
    va_list arguments;
    va_start(arguments, format);
    const int formatted = gen::bounded_format(text, sizeof(text) - 1, format, arguments);
    va_end(arguments);
    // A longer text is cut: its beginning fills the buffer up to the last byte, which is zero.
    const size_t length = formatted < 0 ? strlen(text) : static_cast<size_t>(formatted);
    return Write(text, static_cast<uint32_t>(length), 1);
}

unsigned VMemStream::Flush() {
    return 1;
}

unsigned VMemStream::Close() {
    return 1;
}

namespace glib {

VMemStream& process_stream() {
    static VMemStream stream(VMemStream::kDefaultStep, VMemStream::kDefaultStep);
    return stream;
}

} // namespace glib
