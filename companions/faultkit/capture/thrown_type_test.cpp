#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "companions/faultkit/capture/fault_facts.h"
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

// An exception of two bases, of which the second is std::exception, 8 bytes into the object.
struct ThrownException {
    ThrownException() {
        memory.fill(0x5000, 0x300, 0);
        memory.put_u32(0x5000 + 12, 0x5020); // list of types
        memory.put_u32(0x5020, 3);
        put_type(0, 0x5040, 0x5100, ".?AVFileError@@", 0);
        put_type(1, 0x5060, 0x5140, ".?AUCounted@@", 0);
        put_type(2, 0x5080, 0x5180, ".?AVexception@std@@", 8);
        memory.put_u32(0x6000 + 8 + 4, 0x5200); // the object's text, behind its second vtable
        put_text(0x5200, "no file");
    }

    void put_text(std::uint32_t at, const char* text) {
        memory.put(at, faultkit::FakeMemory::Bytes(text, text + std::strlen(text) + 1));
    }
    void put_type(unsigned index, std::uint32_t at, std::uint32_t descriptor, const char* name, std::uint32_t place) {
        memory.put_u32(0x5020 + 4 + index * 4, at);
        memory.put_u32(at + 4, descriptor);
        memory.put_u32(at + 8, place);
        memory.put_u32(at + 12, 0xFFFFFFFF);
        put_text(descriptor + 8, name);
    }
    std::string text(std::uint32_t size = 204) {
        const std::uint32_t parameters[] = {0x19930520, 0x6000, 0x5000};
        char storage[204];
        faultkit::read_thrown_text(memory, parameters, 3, storage, size);
        return storage;
    }

    faultkit::FakeMemory memory = object_memory();

private:
    static faultkit::FakeMemory object_memory() {
        faultkit::FakeMemory made;
        made.fill(0x6000, 0x20, 0);
        return made;
    }
};

TEST(ThrownText, Text_of_an_exception_is_found_in_the_base_that_holds_it) {
    ThrownException thrown;
    EXPECT_EQ(thrown.text(), "no file");
    EXPECT_EQ(thrown.text(3), "no");
    thrown.put_text(0x5188, ".?AVexception@@"); // as the system's own runtime calls it
    EXPECT_EQ(thrown.text(), "no file");
}

TEST(ThrownText, Object_that_is_no_exception_has_no_text) {
    ThrownException thrown;
    thrown.put_text(0x5188, ".?AVexceptional@@");
    EXPECT_EQ(thrown.text(), "");
}

TEST(ThrownText, Exception_as_a_virtual_base_is_left_alone) {
    ThrownException thrown;
    thrown.memory.put_u32(0x5080 + 12, 4);
    EXPECT_EQ(thrown.text(), "");
}

TEST(ThrownText, Text_that_is_not_there_is_none) {
    ThrownException thrown;
    for (const std::uint32_t text : {0u, 0x9000u}) {
        thrown.memory.put_u32(0x6000 + 8 + 4, text);
        EXPECT_EQ(thrown.text(), "");
    }
    thrown.memory.put_u32(0x5080 + 8, 0x4000); // outside the object
    EXPECT_EQ(thrown.text(), "");
    thrown.memory.put_u32(0x5020, 2);
    EXPECT_EQ(thrown.text(), "");
}

TEST(ThrownText, Damaged_count_of_types_leaves_the_first) {
    ThrownException thrown;
    thrown.put_text(0x5108, ".?AVexception@std@@");
    thrown.memory.put_u32(0x5040 + 8, 8);
    thrown.memory.put_u32(0x5020, 0x10000);
    EXPECT_EQ(thrown.text(), "no file");
}

TEST(ThrownText, Thrown_text_is_its_own) {
    ThrownException thrown;
    for (const char* name : {".PAD", ".PBD"}) {
        thrown.put_text(0x5108, name);
        thrown.memory.put_u32(0x6000, 0x5200);
        EXPECT_EQ(thrown.text(), "no file");
    }
}

} // namespace
