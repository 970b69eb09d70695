// The header is copied as the struct that it is: both widths, and every processor that Windows runs on, lay it out
// alike.
#include "net/unsent_format.h"

#include <string.h>

namespace unsent {

namespace {

const char kMark[16] = {'W', 'E', 'N', 'D', 'A', 'X', ' ', 'U', 'N', 'S', 'E', 'N', 'T', '>', '\r', '\n'};
constexpr uint32_t kVersion = 1;

constexpr uint32_t kProxyAllowed = 1; // a flag

struct Fixed {
    char mark[sizeof kMark];
    uint32_t version;
    uint32_t header_size;
    uint32_t body_size;
    uint32_t body_size_above; // of 64 bits the upper half, 0
    uint64_t time;
    uint32_t body_checksum;
    uint32_t flags;
    uint32_t url_size; // with the NUL
    uint32_t unused[2];
    uint32_t header_checksum; // of the whole header, this field as 0
};
static_assert(sizeof(Fixed) == kFixedSize);

uint32_t header_checksum(const char* data, Fixed fixed) {
    fixed.header_checksum = 0;
    return checksum(data + sizeof fixed, fixed.url_size, checksum(&fixed, sizeof fixed));
}

} // namespace

// By halves of bytes: a table of 64 bytes instead of one of 1,024.
uint32_t checksum(const void* data, size_t size, uint32_t before) {
    static const uint32_t kTable[16] = {0x00000000, 0x1DB71064, 0x3B6E20C8, 0x26D930AC, 0x76DC4190, 0x6B6B51F4,
                                        0x4DB26158, 0x5005713C, 0xEDB88320, 0xF00F9344, 0xD6D6A3E8, 0xCB61B38C,
                                        0x9B64C2B0, 0x86D3D2D4, 0xA00AE278, 0xBDBDF21C};
    const auto* const bytes = static_cast<const unsigned char*>(data);
    uint32_t rest = ~before;
    for (size_t i = 0; i < size; ++i) {
        rest ^= bytes[i];
        rest = rest >> 4 ^ kTable[rest & 15];
        rest = rest >> 4 ^ kTable[rest & 15];
    }
    return ~rest;
}

unsigned format_header(char (&buffer)[kMostHeader], const Header& header) {
    Fixed fixed = {};
    memcpy(fixed.mark, kMark, sizeof kMark);
    fixed.version = kVersion;
    fixed.body_size = header.body_size;
    fixed.time = header.time;
    fixed.body_checksum = header.body_checksum;
    fixed.flags = header.proxy_allowed ? kProxyAllowed : 0;
    fixed.url_size = static_cast<uint32_t>(strlen(header.url) + 1);
    if (fixed.url_size > kMostUrl)
        return 0;
    fixed.header_size = kFixedSize + fixed.url_size;
    memcpy(buffer + kFixedSize, header.url, fixed.url_size);
    fixed.header_checksum = header_checksum(buffer, fixed);
    memcpy(buffer, &fixed, sizeof fixed);
    return fixed.header_size;
}

bool parse_header(const char* data, size_t size, Header& header) {
    Fixed fixed;
    if (size < sizeof fixed)
        return false;
    memcpy(&fixed, data, sizeof fixed);
    if (memcmp(fixed.mark, kMark, sizeof kMark) != 0 || fixed.version != kVersion || fixed.body_size_above ||
        fixed.url_size - 1 >= kMostUrl || fixed.header_size != kFixedSize + fixed.url_size ||
        fixed.header_size > size || data[fixed.header_size - 1] ||
        fixed.header_checksum != header_checksum(data, fixed))
        return false;
    header.url = data + kFixedSize;
    header.proxy_allowed = (fixed.flags & kProxyAllowed) != 0;
    header.size = fixed.header_size;
    header.body_size = fixed.body_size;
    header.time = fixed.time;
    header.body_checksum = fixed.body_checksum;
    return true;
}

bool Limits::Stays(uint64_t time, uint32_t size) {
    // A time that is yet to come is that of a clock that was set back since.
    const uint64_t age = m_now > time ? m_now - time : 0;
    if (m_count > 0 &&
        (m_count >= kMostReports || m_bytes > kMostBytes || size > kMostBytes - m_bytes || age > kMostAge))
        m_reached = true;
    if (m_reached)
        return false;
    m_bytes += size;
    ++m_count;
    return true;
}

} // namespace unsent
