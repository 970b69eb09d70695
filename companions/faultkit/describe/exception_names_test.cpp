#include <set>
#include <string>

#include <gtest/gtest.h>

#include "companions/faultkit/describe/fault_text.h"

namespace {

struct Case {
    std::uint32_t code;
    const char* name;
};

class ExceptionNames : public testing::TestWithParam<Case> {};

TEST_P(ExceptionNames, Known_code_has_its_name) {
    const faultkit::ExceptionName* entry = faultkit::find_exception_name(GetParam().code);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->name, GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExceptionNames,
    testing::Values(
        Case{0x40010005, "DBG_CONTROL_C"}, Case{0x40010006, "DBG_PRINTEXCEPTION_C"},
        Case{0x40010008, "DBG_CONTROL_BREAK"}, Case{0x406D1388, "thread name"},
        Case{0x80000001, "EXCEPTION_GUARD_PAGE"}, Case{0x80000002, "EXCEPTION_DATATYPE_MISALIGNMENT"},
        Case{0x80000003, "EXCEPTION_BREAKPOINT"}, Case{0x80000004, "EXCEPTION_SINGLE_STEP"},
        Case{0x80000100, "EXCEPTION_WINE_STUB"}, Case{0xC0000005, "EXCEPTION_ACCESS_VIOLATION"},
        Case{0xC0000006, "EXCEPTION_IN_PAGE_ERROR"}, Case{0xC0000008, "EXCEPTION_INVALID_HANDLE"},
        Case{0xC0000017, "STATUS_NO_MEMORY"}, Case{0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION"},
        Case{0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION"}, Case{0xC0000026, "EXCEPTION_INVALID_DISPOSITION"},
        Case{0xC000008C, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"}, Case{0xC000008D, "EXCEPTION_FLT_DENORMAL_OPERAND"},
        Case{0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO"}, Case{0xC000008F, "EXCEPTION_FLT_INEXACT_RESULT"},
        Case{0xC0000090, "EXCEPTION_FLT_INVALID_OPERATION"}, Case{0xC0000091, "EXCEPTION_FLT_OVERFLOW"},
        Case{0xC0000092, "EXCEPTION_FLT_STACK_CHECK"}, Case{0xC0000093, "EXCEPTION_FLT_UNDERFLOW"},
        Case{0xC0000094, "EXCEPTION_INT_DIVIDE_BY_ZERO"}, Case{0xC0000095, "EXCEPTION_INT_OVERFLOW"},
        Case{0xC0000096, "EXCEPTION_PRIV_INSTRUCTION"}, Case{0xC00000FD, "EXCEPTION_STACK_OVERFLOW"},
        Case{0xC0000135, "STATUS_DLL_NOT_FOUND"}, Case{0xC0000138, "STATUS_ORDINAL_NOT_FOUND"},
        Case{0xC0000139, "STATUS_ENTRYPOINT_NOT_FOUND"}, Case{0xC000013A, "STATUS_CONTROL_C_EXIT"},
        Case{0xC0000142, "STATUS_DLL_INIT_FAILED"}, Case{0xC0000194, "EXCEPTION_POSSIBLE_DEADLOCK"},
        Case{0xC00002B4, "STATUS_FLOAT_MULTIPLE_FAULTS"}, Case{0xC00002B5, "STATUS_FLOAT_MULTIPLE_TRAPS"},
        Case{0xC0000374, "STATUS_HEAP_CORRUPTION"}, Case{0xC0000409, "STATUS_STACK_BUFFER_OVERRUN"},
        Case{0xC0000417, "STATUS_INVALID_CRUNTIME_PARAMETER"}, Case{0xC0000420, "STATUS_ASSERTION_FAILURE"},
        Case{0xC06D007E, "delay load: module not found"}, Case{0xC06D007F, "delay load: procedure not found"},
        Case{0x0EEDFADE, "Delphi exception"}, Case{0xE0434352, "CLR exception"}, Case{0xE0434F4D, "CLR exception"},
        Case{0xE06D7363, "C++ exception"}),
    [](const auto& info) { return "code_" + std::to_string(info.param.code); });

TEST(ExceptionNames, Unknown_code_has_none) {
    EXPECT_EQ(faultkit::find_exception_name(0), nullptr);
    EXPECT_EQ(faultkit::find_exception_name(0xE0001234), nullptr);
}

TEST(ExceptionNames, Floating_point_codes_are_told_apart) {
    EXPECT_TRUE(faultkit::is_float_exception(0xC000008D));
    EXPECT_TRUE(faultkit::is_float_exception(0xC0000093));
    EXPECT_TRUE(faultkit::is_float_exception(0xC00002B4));
    EXPECT_TRUE(faultkit::is_float_exception(0xC00002B5));
    EXPECT_FALSE(faultkit::is_float_exception(0xC000008C));
    EXPECT_FALSE(faultkit::is_float_exception(0xC0000094));
}

} // namespace
