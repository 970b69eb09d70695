// Pages of the system's in Windows; elsewhere, where tests run, cleared memory of the C runtime's.
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
    uint8_t* const taken = other.m_data;
    other.m_data = nullptr;
    Free();
    m_data = taken;
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
    m_data = static_cast<uint8_t*>(calloc(bytes, 1));
    return m_data != nullptr;
}

void PixelBuffer::Free() noexcept {
    free(m_data);
    m_data = nullptr;
}

#endif

} // namespace glib
