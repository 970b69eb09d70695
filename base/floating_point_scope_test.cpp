#include "base/floating_point_scope.h"

#include <gtest/gtest.h>

#include "testing/cxx/floating_point.h"

#if defined(__i386__) || defined(__x86_64__)

namespace {

void set(unsigned control, unsigned mxcsr) {
    FloatingPoint wanted = floating_point();
    wanted.control = control;
    wanted.mxcsr = mxcsr;
    set_floating_point(wanted);
}

// Leaves the unit to the next test as this one has found it.
class FloatingPointScope : public testing::Test {
    void TearDown() override {
        __asm__ volatile("fninit");
        set(m_before.control, m_before.mxcsr);
    }
    const FloatingPoint m_before = floating_point();
};

TEST_F(FloatingPointScope, Has_the_settings_of_a_new_thread) {
    set(0x0C40, 0xE000); // towards zero, 24 bits, nothing masked; SSE towards zero, flushing, nothing masked
    FloatingPoint inside = {};
    {
        const gen::FloatingPointScope scope;
        inside = floating_point();
    }
    calm_floating_point();
    EXPECT_EQ(inside.control & 0xFFFF, 0x027Fu);
    EXPECT_EQ(inside.mxcsr, 0x1F80u);
}

TEST_F(FloatingPointScope, Brings_back_control_words_whatever_was_done_inside) {
    const struct {
        unsigned control, mxcsr;
    } cases[] = {{0x0372, 0x1F80}, {0x037B, 0x0000}, {0x0B7F, 0xDFBF}, {0x0040, 0x1F81}};
    for (const auto& outside : cases) {
        set(outside.control, outside.mxcsr);
        {
            const gen::FloatingPointScope scope;
            set(0x0C7F, 0xFF80);
        }
        const FloatingPoint after = floating_point();
        calm_floating_point();
        EXPECT_EQ(after.control & 0xFFFF, outside.control);
        EXPECT_EQ(after.mxcsr, outside.mxcsr);
    }
}

TEST_F(FloatingPointScope, Brings_back_a_full_stack_and_has_an_empty_one_inside) {
    __asm__ volatile("fninit\n\tfld1\n\tfldpi\n\tfldl2e\n\tfldlg2\n\tfldln2\n\tfldl2t\n\tfldz\n\tfld1");
    const FloatingPoint before = floating_point();
    FloatingPoint inside = {};
    {
        const gen::FloatingPointScope scope;
        inside = floating_point();
        __asm__ volatile("fldz\n\tfldz\n\tfldz");
    }
    const FloatingPoint after = floating_point();
    __asm__ volatile("fninit");
    EXPECT_EQ(inside.tags & 0xFFFF, 0xFFFFu);
    EXPECT_EQ(after.tags & 0xFFFF, before.tags & 0xFFFF);
    EXPECT_EQ(after.status & 0xFFFF, before.status & 0xFFFF);
    EXPECT_EQ(memcmp(after.registers, before.registers, sizeof before.registers), 0);
}

TEST_F(FloatingPointScope, Clears_an_exception_that_is_pending) {
    set(0x037B, 0x1F80);
    __asm__ volatile("fld1\n\tfldz\n\tfdivrp");
    const unsigned before = floating_point().status;
    {
        const gen::FloatingPointScope scope;
        __asm__ volatile("fwait"); // would fault
    }
    const unsigned after = floating_point().status;
    __asm__ volatile("fwait\n\tfstp %st(0)");
    EXPECT_EQ(before & 0x8084, 0x8084u);
    EXPECT_EQ(after & 0x8084, 0u);
}

TEST_F(FloatingPointScope, Keeps_what_masked_exceptions_have_noted) {
    set(0x037F, 0x1F80);
    __asm__ volatile("fnclex\n\tfld1\n\tfldz\n\tfdivrp");
    const unsigned before = floating_point().status & 0xFFFF;
    {
        const gen::FloatingPointScope scope;
    }
    const unsigned after = floating_point().status & 0xFFFF;
    __asm__ volatile("fstp %st(0)");
    EXPECT_EQ(before & 0x80FF, 0x0004u);
    EXPECT_EQ(after, before);
}

TEST_F(FloatingPointScope, Leaves_none_pending_that_came_inside_unmasked) {
    {
        const gen::FloatingPointScope scope;
        set(0x0340, 0x1F80);
        __asm__ volatile("fld1\n\tfldz\n\tfdivrp");
    }
    __asm__ volatile("fwait");
    EXPECT_EQ(floating_point().status & 0x80BF, 0u);
}

} // namespace

#endif
