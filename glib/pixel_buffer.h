// Memory for pixels, straight from the system: it may be taken while the heap is damaged, and goes back as a whole.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace glib {

class PixelBuffer {
public:
    PixelBuffer() = default;
    PixelBuffer(PixelBuffer&& other) noexcept;
    PixelBuffer& operator=(PixelBuffer&& other) noexcept;
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;
    ~PixelBuffer() { Free(); }

    // Gives up what it held and takes `bytes` zero bytes; false, with no memory held, when there are none.
    bool Allocate(size_t bytes);
    void Free() noexcept;

    uint8_t* data() { return m_data; }
    const uint8_t* data() const { return m_data; }

private:
    uint8_t* m_data = nullptr;
};

} // namespace glib
