#include <set>
#include <string>

#include <gtest/gtest.h>

#include "companions/faultkit/describe/exception_names.h"

namespace {

struct Case {
    std::uint32_t code;
    const char* name;
};

class ExceptionNames : public testing::TestWithParam<Case> {};

TEST_P(ExceptionNames, Common_code_has_its_name) {
    const faultkit::ExceptionName* entry = faultkit::find_exception_name(GetParam().code);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->name, GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExceptionNames,
    testing::Values(Case{0xC0000005, "EXCEPTION_ACCESS_VIOLATION"}, Case{0xC0000006, "EXCEPTION_IN_PAGE_ERROR"},
                    Case{0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION"}, Case{0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
                    Case{0xC0000094, "EXCEPTION_INT_DIVIDE_BY_ZERO"}, Case{0xC0000095, "EXCEPTION_INT_OVERFLOW"},
                    Case{0xC0000096, "EXCEPTION_PRIV_INSTRUCTION"}, Case{0xC00000FD, "EXCEPTION_STACK_OVERFLOW"},
                    Case{0x80000003, "EXCEPTION_BREAKPOINT"}, Case{0xE06D7363, "C++ exception"}),
    [](const auto& info) { return "code_" + std::to_string(info.param.code); });

TEST(ExceptionNames, Unknown_code_has_none) {
    EXPECT_EQ(faultkit::find_exception_name(0), nullptr);
    EXPECT_EQ(faultkit::find_exception_name(0xE0001234), nullptr);
}

TEST(ExceptionNames, Floating_point_codes_are_told_apart) {
    EXPECT_TRUE(faultkit::is_float_exception(0xC000008D));
    EXPECT_TRUE(faultkit::is_float_exception(0xC0000093));
    EXPECT_TRUE(faultkit::is_float_exception(0xC00002B4));
    EXPECT_FALSE(faultkit::is_float_exception(0xC000008C));
    EXPECT_FALSE(faultkit::is_float_exception(0xC0000094));
}

} // namespace
