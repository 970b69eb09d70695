#include "base/floating_point_scope.h"

#include <gtest/gtest.h>
#include <string.h>

#if defined(__i386__) || defined(__x86_64__)

namespace {

struct X87 {
    uint32_t control, status, tags, places[4];
    uint8_t registers[80];
};

struct Settings {
    unsigned control;
    unsigned mxcsr;
};

Settings settings() {
    uint16_t control;
    uint32_t mxcsr;
    __asm__ volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(control), "=m"(mxcsr));
    return {control, mxcsr};
}

X87 x87() {
    X87 found;
    __asm__ volatile("fnsave %0\n\tfrstor %0" : "=m"(found));
    return found;
}

unsigned status() {
    uint16_t found;
    __asm__ volatile("fnstsw %0" : "=m"(found));
    return found;
}

void set(Settings wanted) {
    const uint16_t control = static_cast<uint16_t>(wanted.control);
    const uint32_t mxcsr = wanted.mxcsr;
    __asm__ volatile("fldcw %0\n\tldmxcsr %1" : : "m"(control), "m"(mxcsr));
}

// Leaves the unit to the next test as this one has found it.
class FloatingPointScope : public testing::Test {
    void SetUp() override { m_before = settings(); }
    void TearDown() override {
        __asm__ volatile("fninit");
        set(m_before);
    }
    Settings m_before;
};

TEST_F(FloatingPointScope, Has_the_settings_of_a_new_thread) {
    set({0x0C40, 0xE000}); // towards zero, 24 bits, nothing masked; SSE towards zero, flushing, nothing masked
    Settings inside = {};
    {
        const gen::FloatingPointScope scope;
        inside = settings();
    }
    EXPECT_EQ(inside.control, 0x027Fu);
    EXPECT_EQ(inside.mxcsr, 0x1F80u);
}

TEST_F(FloatingPointScope, Brings_back_control_words_whatever_was_done_inside) {
    for (const Settings outside : {Settings{0x0372, 0x1F80}, {0x037B, 0x0000}, {0x0B7F, 0xDFBF}, {0x0040, 0x1F81}}) {
        set(outside);
        {
            const gen::FloatingPointScope scope;
            set({0x0C7F, 0xFF80});
        }
        const Settings after = settings();
        EXPECT_EQ(after.control, outside.control);
        EXPECT_EQ(after.mxcsr, outside.mxcsr);
    }
}

TEST_F(FloatingPointScope, Brings_back_a_full_stack_and_has_an_empty_one_inside) {
    __asm__ volatile("fninit\n\tfld1\n\tfldpi\n\tfldl2e\n\tfldlg2\n\tfldln2\n\tfldl2t\n\tfldz\n\tfld1");
    const X87 before = x87();
    X87 inside = {};
    {
        const gen::FloatingPointScope scope;
        inside = x87();
        __asm__ volatile("fldz\n\tfldz\n\tfldz");
    }
    const X87 after = x87();
    __asm__ volatile("fninit");
    EXPECT_EQ(inside.tags & 0xFFFF, 0xFFFFu);
    EXPECT_EQ(after.tags & 0xFFFF, before.tags & 0xFFFF);
    EXPECT_EQ(after.status & 0xFFFF, before.status & 0xFFFF);
    EXPECT_EQ(memcmp(after.registers, before.registers, sizeof before.registers), 0);
}

TEST_F(FloatingPointScope, Clears_an_exception_that_is_pending) {
    set({0x037B, 0x1F80});
    __asm__ volatile("fld1\n\tfldz\n\tfdivrp");
    const unsigned before = status();
    {
        const gen::FloatingPointScope scope;
        __asm__ volatile("fwait"); // would fault
    }
    const unsigned after = status();
    __asm__ volatile("fwait\n\tfstp %st(0)");
    EXPECT_EQ(before & 0x8084, 0x8084u);
    EXPECT_EQ(after & 0x8084, 0u);
}

TEST_F(FloatingPointScope, Keeps_what_masked_exceptions_have_noted) {
    set({0x037F, 0x1F80});
    __asm__ volatile("fnclex\n\tfld1\n\tfldz\n\tfdivrp");
    const unsigned before = status();
    {
        const gen::FloatingPointScope scope;
    }
    const unsigned after = status();
    __asm__ volatile("fstp %st(0)");
    EXPECT_EQ(before & 0x80FF, 0x0004u);
    EXPECT_EQ(after, before);
}

TEST_F(FloatingPointScope, Leaves_none_pending_that_came_inside_unmasked) {
    {
        const gen::FloatingPointScope scope;
        set({0x0340, 0x1F80});
        __asm__ volatile("fld1\n\tfldz\n\tfdivrp");
    }
    __asm__ volatile("fwait");
    EXPECT_EQ(status() & 0x80BF, 0u);
}

} // namespace

#endif
