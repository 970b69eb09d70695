#include <gtest/gtest.h>

#include "companions/faultkit/capture/thrown_type.h"
#include "testing/cxx/fake_process.h"

namespace {

TEST(ThrownType, Name_is_found_through_the_throw_description) {
    faultkit::FakeMemory memory;
    memory.fill(0x5000, 0x100, 0);
    memory.put_u32(0x5000 + 12, 0x5020); // list of types
    memory.put_u32(0x5020 + 4, 0x5030);  // the first
    memory.put_u32(0x5030 + 4, 0x5040);  // its descriptor
    memory.put(0x5048, {'.', 'H', 0});
    const std::uint32_t parameters[] = {0x19930520, 0x1234, 0x5000};
    char type[128];
    faultkit::read_thrown_type(memory, parameters, 3, type);
    EXPECT_STREQ(type, ".H");
    faultkit::read_thrown_type(memory, parameters, 2, type);
    EXPECT_STREQ(type, "");
    const std::uint32_t foreign[] = {0x12345678, 0x1234, 0x5000};
    faultkit::read_thrown_type(memory, foreign, 3, type);
    EXPECT_STREQ(type, "");
    const std::uint32_t nowhere[] = {0x19930520, 0x1234, 0x7000};
    faultkit::read_thrown_type(memory, nowhere, 3, type);
    EXPECT_STREQ(type, "");
    const std::uint32_t newer[] = {0x19930523, 0x1234, 0x5000};
    faultkit::read_thrown_type(memory, newer, 3, type);
    EXPECT_STREQ(type, "");
    for (const std::uint32_t place : {0x5024u, 0x5034u}) {
        memory.put_u32(place, 0x7000);
        faultkit::read_thrown_type(memory, parameters, 3, type);
        EXPECT_STREQ(type, "");
        memory.put_u32(place, place + 0xC);
    }
    memory.put_u32(0x5000 + 12, 0x7000);
    faultkit::read_thrown_type(memory, parameters, 3, type);
    EXPECT_STREQ(type, "");
}

} // namespace
