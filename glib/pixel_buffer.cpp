#include "glib/pixel_buffer.h"

#ifdef _WIN32
#include "win/handle.h"
#else
#include <stdlib.h>
#endif

namespace glib {

PixelBuffer::PixelBuffer(PixelBuffer&& other) noexcept : m_data(other.m_data) {
    other.m_data = nullptr;
}

PixelBuffer& PixelBuffer::operator=(PixelBuffer&& other) noexcept {
    if (this != &other) {
        Free();
        m_data = other.m_data;
        other.m_data = nullptr;
    }
    return *this;
}

#ifdef _WIN32

bool PixelBuffer::Allocate(size_t bytes) {
    Free();
    m_data = static_cast<uint8_t*>(VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    return m_data != nullptr;
}

void PixelBuffer::Free() noexcept {
    if (m_data)
        win::nothrow(VirtualFree)(m_data, 0, MEM_RELEASE);
    m_data = nullptr;
}

#else

bool PixelBuffer::Allocate(size_t bytes) {
    Free();
    m_data = bytes ? static_cast<uint8_t*>(calloc(bytes, 1)) : nullptr;
    return m_data != nullptr;
}

void PixelBuffer::Free() noexcept {
    free(m_data);
    m_data = nullptr;
}

#endif

} // namespace glib
