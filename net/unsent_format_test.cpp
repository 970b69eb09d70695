#include "net/unsent_format.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace unsent;

constexpr uint64_t kSecond = 10'000'000;
constexpr uint64_t kDay = 24 * 60 * 60 * kSecond;
constexpr uint64_t kNow = 0x01DD000000000000;
constexpr uint32_t kMegabyte = 1 << 20;

const Header kHeader = {"https://example.com:8443/form?a=b", true, 0, 0x3456789A, 0x01DC5A3B00000001, 0xCBF43926};

std::string formatted(const Header& header) {
    char buffer[kMostHeader];
    return {buffer, format_header(buffer, header)};
}

bool parses(const std::string& data) {
    // In a block of its own size, so that a read beyond it is found.
    const std::vector<char> block(data.begin(), data.end());
    Header header;
    return parse_header(block.data(), block.size(), header);
}

TEST(UnsentChecksum, Is_that_of_zip_and_png) {
    EXPECT_EQ(checksum("123456789", 9), 0xCBF43926u);
    EXPECT_EQ(checksum("", 0), 0u);
    EXPECT_EQ(checksum("\0\0\0\0", 4), 0x2144DF1Cu);
    EXPECT_EQ(checksum("6789", 4, checksum("12345", 5)), 0xCBF43926u);
}

TEST(UnsentHeader, Is_these_bytes) {
    const std::string expected("WENDAX UNSENT>\r\n"
                               "\x01\0\0\0"
                               "\x62\0\0\0"
                               "\x9A\x78\x56\x34\0\0\0\0"
                               "\x01\0\0\0\x3B\x5A\xDC\x01"
                               "\x26\x39\xF4\xCB"
                               "\x01\0\0\0"
                               "\x22\0\0\0"
                               "\0\0\0\0\0\0\0\0",
                               60);
    const std::string url("https://example.com:8443/form?a=b\0", 34);
    const std::string header = formatted(kHeader);
    ASSERT_EQ(header.size(), 98u);
    EXPECT_EQ(header.substr(0, 60), expected);
    EXPECT_EQ(header.substr(64), url);
    const std::string checked = expected + std::string(4, '\0') + url;
    uint32_t found;
    memcpy(&found, header.data() + 60, 4);
    EXPECT_EQ(found, checksum(checked.data(), checked.size()));
}

TEST(UnsentHeader, Comes_back_as_it_was_put_in) {
    const std::string data = formatted(kHeader) + "body";
    Header header;
    ASSERT_TRUE(parse_header(data.data(), data.size(), header));
    EXPECT_STREQ(header.url, kHeader.url);
    EXPECT_TRUE(header.proxy_allowed);
    EXPECT_EQ(header.size, 98u);
    EXPECT_EQ(header.body_size, 0x3456789Au);
    EXPECT_EQ(header.time, 0x01DC5A3B00000001u);
    EXPECT_EQ(header.body_checksum, 0xCBF43926u);

    Header direct = kHeader;
    direct.proxy_allowed = false;
    const std::string other = formatted(direct);
    ASSERT_TRUE(parse_header(other.data(), other.size(), header));
    EXPECT_FALSE(header.proxy_allowed);
}

TEST(UnsentHeader, Is_none_with_any_bit_turned_or_any_byte_missing) {
    const std::string whole = formatted(kHeader);
    EXPECT_TRUE(parses(whole));
    for (size_t i = 0; i < whole.size(); ++i) {
        EXPECT_FALSE(parses(whole.substr(0, i))) << i;
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = whole;
            damaged[i] = static_cast<char>(damaged[i] ^ 1 << bit);
            EXPECT_FALSE(parses(damaged)) << i;
        }
    }
}

// A header with a right checksum of whatever stands in it.
std::string sealed(std::string header) {
    memset(&header[60], 0, 4);
    const uint32_t sum = checksum(header.data(), header.size());
    memcpy(&header[60], &sum, 4);
    return header;
}

std::string with_number(std::string header, size_t at, uint32_t number) {
    memcpy(&header[at], &number, 4);
    return sealed(header);
}

TEST(UnsentHeader, Is_none_with_another_version_or_sizes_that_do_not_agree) {
    const std::string whole = formatted(kHeader);
    EXPECT_EQ(sealed(whole), whole);
    EXPECT_FALSE(parses(with_number(whole, 16, 2))) << "another version";
    EXPECT_FALSE(parses(with_number(with_number(whole, 48, 33), 20, 97))) << "no NUL";
    EXPECT_FALSE(parses(with_number(with_number(whole, 48, 0), 20, 64).substr(0, 64))) << "no text";
    EXPECT_FALSE(parses(with_number(with_number(whole, 48, 0xFFFFFFFF), 20, 63))) << "a sum that wraps";
    EXPECT_FALSE(parses(with_number(whole, 28, 1))) << "a body of more than 4 GiB";
    EXPECT_FALSE(parses(with_number(whole, 20, 97))) << "sizes that don't agree";
}

TEST(UnsentHeader, Takes_a_url_up_to_its_bound) {
    const std::string longest(kMostUrl - 1, 'a'), longer = longest + 'a';
    Header header = kHeader;
    header.url = longest.c_str();
    EXPECT_EQ(formatted(header).size(), kMostHeader);
    EXPECT_TRUE(parses(formatted(header)));
    header.url = longer.c_str();
    EXPECT_EQ(formatted(header), "");
    const std::string extended = formatted(kHeader).substr(0, kFixedSize) + longer + '\0';
    EXPECT_FALSE(parses(with_number(with_number(extended, 48, kMostUrl + 1), 20, kMostHeader + 1)));
    header.url = "";
    EXPECT_EQ(formatted(header).size(), kFixedSize + 1);
    EXPECT_TRUE(parses(formatted(header)));
}

struct Kept {
    uint64_t time;
    uint32_t size;
};

unsigned staying(const std::vector<Kept>& newest_first) {
    Limits limits(kNow);
    unsigned count = 0;
    bool reached = false;
    for (const Kept& report : newest_first) {
        const bool stays = limits.Stays(report.time, report.size);
        EXPECT_FALSE(reached && stays) << "an older one stays";
        reached = !stays;
        count += stays ? 1 : 0;
    }
    return count;
}

TEST(UnsentReports, Stay_up_to_ten) {
    EXPECT_EQ(staying({}), 0u);
    EXPECT_EQ(staying(std::vector<Kept>(10, {kNow, 1})), 10u);
    EXPECT_EQ(staying(std::vector<Kept>(11, {kNow, 1})), 10u);
}

TEST(UnsentReports, Stay_up_to_256_megabytes) {
    EXPECT_EQ(staying({{kNow, 100 * kMegabyte}, {kNow, 100 * kMegabyte}, {kNow, 56 * kMegabyte}}), 3u);
    EXPECT_EQ(staying({{kNow, 100 * kMegabyte}, {kNow, 100 * kMegabyte}, {kNow, 56 * kMegabyte + 1}}), 2u);
    // The oldest go first, also where a smaller one of them would fit.
    EXPECT_EQ(staying({{kNow, 200 * kMegabyte}, {kNow - 1, 100 * kMegabyte}, {kNow - 2, 1}}), 1u);
}

TEST(UnsentReports, Stay_for_thirty_days) {
    EXPECT_EQ(staying({{kNow, 1}, {kNow - 30 * kDay, 1}}), 2u);
    EXPECT_EQ(staying({{kNow, 1}, {kNow - 30 * kDay - 1, 1}}), 1u);
}

TEST(UnsentReports, Stay_where_the_clock_was_set_back) {
    EXPECT_EQ(staying({{kNow + 365 * kDay, 1}, {kNow + 100 * kDay, 1}}), 2u);
}

TEST(UnsentReports, Stay_in_any_case_if_they_are_the_newest) {
    EXPECT_EQ(staying({{kNow - 100 * kDay, ~uint32_t{0}}}), 1u);
    EXPECT_EQ(staying({{kNow - 100 * kDay, ~uint32_t{0}}, {kNow - 100 * kDay, 1}}), 1u);
    EXPECT_EQ(staying({{kNow, ~uint32_t{0}}, {kNow, 1}}), 1u);
}

} // namespace
