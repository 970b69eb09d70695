// The file in which an upload that failed is kept until a later try: a header, then the request's body as it is. Pure:
// no files, no Windows. The format as a whole is written down in docs/delivery.md.
//
// Numbers are little-endian. The header has a checksum of its own, so that a file can be known, and dropped when its
// time has come, without its body being read.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace unsent {

constexpr unsigned kFixedSize = 64; // bytes of the header before its text
constexpr unsigned kMostUrl = 2048; // with the NUL
constexpr unsigned kMostHeader = kFixedSize + kMostUrl;

struct Header {
    const char* url;    // where the body goes
    bool proxy_allowed; // as in Destination
    unsigned size;      // of the header, in bytes: where the body begins
    uint32_t body_size; // in bytes
    uint64_t time;      // when it was kept, in units of 100 ns since 1601, UTC
    uint32_t body_checksum;
};

// The CRC-32 of so many bytes; of the bytes before them and them, with that of those before.
uint32_t checksum(const void* data, size_t size, uint32_t before = 0);

// Writes the header of a body into the buffer, and returns its size; 0 where the URL is too long. header.size isn't
// looked at.
unsigned format_header(char (&buffer)[kMostHeader], const Header& header);

// Whether a file that begins with these bytes is a kept report whose header is whole. `size` is how many of its first
// bytes there are, all or kMostHeader. The URL lies in the data.
bool parse_header(const char* data, size_t size, Header& header);

// Which of a folder's reports stay: at most 10, of 256 MB, not older than 30 days; the newest does in any case. The
// others are the oldest.
class Limits {
public:
    static constexpr unsigned kMostReports = 10;
    static constexpr uint32_t kMostBytes = 256 << 20;
    static constexpr uint64_t kMostAge = uint64_t{30} * 24 * 60 * 60 * 10'000'000;

    // now: as Header's time.
    explicit Limits(uint64_t now) : m_now(now) {}

    // To be asked of each report, the newest first. time: as in its header; size: of the file, in bytes.
    bool Stays(uint64_t time, uint32_t size);

private:
    uint64_t m_now;
    uint32_t m_bytes = 0; // more only where the newest alone has more
    unsigned m_count = 0;
    bool m_reached = false;
};

} // namespace unsent
