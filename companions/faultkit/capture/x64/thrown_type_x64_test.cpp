#include <gtest/gtest.h>

#include "companions/faultkit/capture/fault_facts.h"
#include "testing/cxx/fake_process.h"

namespace {

TEST(WideThrownType, Name_is_found_by_offsets_in_the_image_that_threw) {
    constexpr faultkit::Address kImage = 0x7FF612340000;
    faultkit::FakeMemory memory;
    memory.fill(kImage + 0x5000, 0x100, 0);
    memory.put_u32(kImage + 0x5000 + 12, 0x5020); // list of types
    memory.put_u32(kImage + 0x5020 + 4, 0x5030);  // the first
    memory.put_u32(kImage + 0x5030 + 4, 0x5040);  // its descriptor
    memory.put(kImage + 0x5050, {'.', 'H', 0});
    const faultkit::Address parameters[] = {0x19930520, 0x1234, kImage + 0x5000, kImage};
    char type[128];
    faultkit::read_thrown_type(memory, parameters, 4, type);
    EXPECT_STREQ(type, ".H");
    faultkit::read_thrown_type(memory, parameters, 3, type);
    EXPECT_STREQ(type, "");
}

TEST(WideThrownText, Text_of_an_exception_is_found_by_offsets_in_the_image_that_threw) {
    constexpr faultkit::Address kImage = 0x7FF612340000, kObject = 0x1F0000;
    faultkit::FakeMemory memory;
    memory.fill(kImage + 0x5000, 0x100, 0);
    memory.fill(kObject, 0x40, 0);
    memory.put_u32(kImage + 0x5000 + 12, 0x5020); // list of types
    memory.put_u32(kImage + 0x5020, 1);
    memory.put_u32(kImage + 0x5020 + 4, 0x5030);
    memory.put_u32(kImage + 0x5030 + 4, 0x5060); // its descriptor
    memory.put_u32(kImage + 0x5030 + 8, 16);     // and place in the object
    memory.put_u32(kImage + 0x5030 + 12, 0xFFFFFFFF);
    const char name[] = ".?AVexception@std@@";
    memory.put(kImage + 0x5070, faultkit::FakeMemory::Bytes(name, name + sizeof name));
    memory.put_u64(kObject + 16 + 8, kImage + 0x50A0);
    memory.put(kImage + 0x50A0, {'o', 'u', 't', 0});
    const faultkit::Address parameters[] = {0x19930520, kObject, kImage + 0x5000, kImage};
    char text[204];
    faultkit::read_thrown_text(memory, parameters, 4, text, sizeof text);
    EXPECT_STREQ(text, "out");
    memory.put(kImage + 0x5070, {'.', 'P', 'E', 'B', 'D', 0});
    memory.put_u64(kObject, kImage + 0x50A0);
    faultkit::read_thrown_text(memory, parameters, 4, text, sizeof text);
    EXPECT_STREQ(text, "out");
}

} // namespace
