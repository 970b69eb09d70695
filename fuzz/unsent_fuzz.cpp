// Kept reports of any bytes: what is taken for one comes out of its own header again, and nothing beyond the bytes is
// read. And what is dropped of any folder.
#include <cstdint>
#include <cstring>
#include <vector>

#include "net/unsent_format.h"
#include "testing/cxx/require.h"

namespace {

using namespace unsent;

void check_header(const std::vector<char>& data) {
    Header header;
    if (!parse_header(data.data(), data.size(), header))
        return;
    require(header.size <= data.size() && header.size <= kMostHeader);
    char buffer[kMostHeader];
    if (std::strlen(header.url) + 1 != header.size - kFixedSize)
        return; // a zero byte in its midst
    require(format_header(buffer, header) == header.size);
    // All but flags and numbers that nobody knows, and with them the checksum.
    require(std::memcmp(buffer, data.data(), 44) == 0 && std::memcmp(buffer + 48, data.data() + 48, 4) == 0 &&
            std::memcmp(buffer + kFixedSize, data.data() + kFixedSize, header.size - kFixedSize) == 0);
}

struct Kept {
    std::uint64_t time;
    std::uint32_t size, unused;
};

void check_folder(const std::vector<char>& data) {
    std::vector<Kept> reports(data.size() / sizeof(Kept));
    if (reports.empty())
        return;
    std::memcpy(reports.data(), data.data(), reports.size() * sizeof(Kept));
    const std::uint64_t now = reports.back().time;
    Limits limits(now);
    std::uint64_t bytes = 0;
    unsigned staying = 0;
    for (unsigned i = 0; i < reports.size(); ++i) {
        const Kept& report = reports[i];
        if (!limits.Stays(report.time, report.size)) {
            require(i > 0);
            continue;
        }
        require(staying == i); // none of the older ones where one went
        ++staying;
        bytes += report.size;
        require(i == 0 || (bytes <= Limits::kMostBytes && report.size <= Limits::kMostBytes &&
                           (report.time > now || now - report.time <= Limits::kMostAge)));
    }
    require(staying <= Limits::kMostReports);
}

} // namespace

// The bytes as they are, with a right checksum where the header's size leaves space for one, and as a folder's list.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::vector<char> data(bytes, bytes + size);
    check_header(data);
    check_folder(data);
    std::uint32_t header_size = 0;
    if (size >= kFixedSize)
        std::memcpy(&header_size, bytes + 20, sizeof header_size);
    if (header_size >= kFixedSize && header_size <= size) {
        std::memset(&data[60], 0, 4);
        const std::uint32_t sum = checksum(data.data(), header_size);
        std::memcpy(&data[60], &sum, 4);
        check_header(data);
    }
    return 0;
}
