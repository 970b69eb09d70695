#include "net/http_transport.h"

#include <gtest/gtest.h>

namespace {

// What needs a server is tested by tests/upload, which brings its own.

TEST(HttpTransport, Has_no_error_at_first) {
    EXPECT_EQ(CHttpTransport().LastError(), 0u);
}

TEST(HttpTransport, Request_without_a_url_is_all_ones) {
    CHttpTransport transport;
    EXPECT_EQ(transport.Request(nullptr, true, "body"), nullptr);
    EXPECT_EQ(transport.LastError(), 0xFFFFFFFFu);
    EXPECT_EQ(transport.Request(nullptr, false, nullptr), nullptr);
    EXPECT_EQ(transport.LastError(), 0xFFFFFFFFu);
}

TEST(HttpTransport, Text_that_is_no_url_keeps_the_error_of_the_call_that_refused_it) {
    CHttpTransport transport;
    EXPECT_EQ(transport.Request("no url", true, "body"), nullptr);
    EXPECT_EQ(transport.LastError(), static_cast<DWORD>(ERROR_INTERNET_UNRECOGNIZED_SCHEME));
    EXPECT_EQ(transport.Request("no url", false, nullptr), nullptr);
    EXPECT_EQ(transport.LastError(), static_cast<DWORD>(ERROR_INTERNET_UNRECOGNIZED_SCHEME));
}

} // namespace
