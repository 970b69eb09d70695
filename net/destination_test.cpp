#include "net/upload.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
    const char* name;
    const char* address;
    const char* url;
    bool secure;
};

class Address : public testing::TestWithParam<Case> {};

TEST_P(Address, Stands_for_a_destination) {
    const Destination to = destination_of(GetParam().address, false);
    EXPECT_STREQ(to.url.c_str(), GetParam().url);
    EXPECT_EQ(to.secure, GetParam().secure);
    EXPECT_FALSE(to.proxy_allowed);
}

const Case kCases[] = {
    {"name", "reports.example", "http://reports.example/index.php?option=com_mosforms", false},
    {"number", "127.0.0.1", "http://127.0.0.1/index.php?option=com_mosforms", false},
    {"http", "http://reports.example", "http://reports.example/index.php?option=com_mosforms", false},
    {"http_with_path", "http://reports.example/up?a=1", "http://reports.example/up?a=1", false},
    {"https", "https://reports.example", "https://reports.example/index.php?option=com_mosforms", true},
    {"https_with_port", "https://reports.example:8443", "https://reports.example:8443/index.php?option=com_mosforms",
     true},
    {"https_with_all", "https://reports.example:8443/up", "https://reports.example:8443/up", true},
    {"https_root", "https://reports.example/", "https://reports.example/", true},
};

INSTANTIATE_TEST_SUITE_P(Destination, Address, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Destination, Of_what_is_no_address_is_none) {
    for (const char* address : {"", "http://", "https://", "ftp://reports.example", "file:///c:/x", "HTTPS://x", "://x",
                                "a b", "a\r\nb", "a\tb", "\xEF\xF0.example", "a\x7F"}) {
        EXPECT_STREQ(destination_of(address, true).url.c_str(), "") << address;
    }
}

TEST(Destination, Says_whether_a_proxy_may_be_asked) {
    EXPECT_TRUE(destination_of("https://reports.example", true).proxy_allowed);
    EXPECT_TRUE(destination_of("reports.example", true).proxy_allowed);
}

} // namespace
