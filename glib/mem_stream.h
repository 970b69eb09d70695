// A stream over memory: a buffer that grows, or a fixed piece of the caller's.
#pragma once

#include <stddef.h>

#include "glib/stream.h"

class VMemStream : public VOrderedStream {
public:
    typedef void* (*Allocate)(size_t bytes);                 // null when memory is gone
    typedef void (*Release)(void* memory);                   // null is allowed
    typedef void* (*Reallocate)(void* memory, size_t bytes); // null leaves the old memory as it was

    struct Callbacks {
        Allocate allocate;
        Release release;
        Reallocate reallocate; // may be null: growth then allocates, copies and frees
    };
    // The C runtime's malloc, free and realloc.
    static const Callbacks kProcessAllocator;

    static constexpr uint32_t kDefaultStep = 65535; // bytes

    // An empty stream that grows by at least `step` bytes at a time, with `capacity` bytes allocated at once. If there
    // is no memory for them the stream begins empty and tries again at the first write.
    explicit VMemStream(uint32_t step = kDefaultStep, uint32_t capacity = 0,
                        const Callbacks& callbacks = kProcessAllocator);
    // A stream over `size` bytes of the caller's, which must outlive it: it never grows and never changes its size.
    VMemStream(void* buffer, uint32_t size);
    // The same for reading alone: writes move no bytes.
    VMemStream(const void* buffer, uint32_t size);
    ~VMemStream() override;

    // The data, for Size() bytes; null while there is no buffer. Good until the next write.
    const uint8_t* data() const { return m_buffer; }
    uint64_t capacity() const { return m_capacity; }
    // Gives the buffer away; whoever takes it frees it with the callbacks' release. The stream is empty then. A fixed
    // stream gives null.
    uint8_t* Detach();

    unsigned OpenWide(const wchar_t* path, const wchar_t* mode) override; // nothing to open: 1
    unsigned Open(const char* path, const char* mode) override;           // nothing to open: 1
    unsigned IsEndOfData() override;
    unsigned HasError() override; // 1 after a failed growth, until the stream is remade
    uint64_t Tell() override;
    unsigned SetPosition(uint64_t position) override;
    uint64_t Size() override;
    int64_t ModificationTime() override;      // 0
    unsigned SetSize(uint64_t size) override; // leaves the position; a fixed stream refuses all but its own size
    uint8_t ReadByte() override;
    uint32_t Read(void* buffer, uint32_t size, uint32_t count) override;
    char* ReadLine(char* buffer, uint32_t length) override;
    unsigned WriteByte(uint8_t value) override;
    uint32_t Write(const void* buffer, uint32_t size, uint32_t count) override;
    unsigned WriteString(const char* text) override;
    unsigned WriteFormat(const char* format, ...) override; // cut at 1024 bytes
    unsigned Flush() override;                              // nothing to do: 1
    unsigned Close() override;                              // nothing to do: 1

private:
    struct Layout; // checked in the source
    enum Buffer : uint8_t { growable = 0, fixed = 1, fixed_for_reading = 2 };

    uint64_t left() const { return m_position < m_size ? m_size - m_position : 0; }
    uint64_t copy_in(const uint8_t* bytes, uint64_t count, uint64_t limit);
    void clear_gap(uint64_t end);
    bool grow_to(uint64_t capacity);

    uint8_t* m_buffer;
    uint64_t m_size;
    uint64_t m_position;
    uint64_t m_step;
    uint64_t m_capacity;
    uint8_t m_fixed; // one of Buffer
    uint8_t m_end_of_data;
    uint8_t m_error;
    Callbacks m_callbacks;
};

namespace glib {

// The one memory stream that the imaging layer keeps for the process. A growable stream of the process allocator:
// growth step and first capacity 65,535 bytes. It is made at the first call and lives as long as the library; whoever
// uses it leaves it as he likes and does not share it between threads.
VMemStream& process_stream();

} // namespace glib
