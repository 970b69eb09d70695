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
    const auto type_of = [&](std::uint32_t magic, std::uint32_t description, std::uint32_t count = 3) {
        const std::uint32_t parameters[] = {magic, 0x1234, description};
        char type[128];
        faultkit::read_thrown_type(memory, parameters, count, type);
        return std::string(type);
    };
    EXPECT_EQ(type_of(0x19930520, 0x5000), ".H");
    EXPECT_EQ(type_of(0x19930520, 0x5000, 2), "");
    EXPECT_EQ(type_of(0x12345678, 0x5000), "") << "somebody else's";
    EXPECT_EQ(type_of(0x19930520, 0x7000), "") << "nowhere";
    EXPECT_EQ(type_of(0x19930523, 0x5000), "") << "newer";
    for (const std::uint32_t place : {0x5024u, 0x5034u}) {
        memory.put_u32(place, 0x7000);
        EXPECT_EQ(type_of(0x19930520, 0x5000), "");
        memory.put_u32(place, place + 0xC);
    }
    memory.put_u32(0x5000 + 12, 0x7000);
    EXPECT_EQ(type_of(0x19930520, 0x5000), "");
}

// An exception of two bases, of which the second is std::exception, 8 bytes into the object.
struct ThrownText : testing::Test {
    ThrownText() {
        m_memory.fill(0x6000, 0x20, 0);
        m_memory.fill(0x5000, 0x300, 0);
        m_memory.put_u32(0x5000 + 12, 0x5020); // list of types
        m_memory.put_u32(0x5020, 3);
        put_type(0, 0x5040, 0x5100, ".?AVFileError@@", 0);
        put_type(1, 0x5060, 0x5140, ".?AUCounted@@", 0);
        put_type(2, 0x5080, 0x5180, ".?AVexception@std@@", 8);
        m_memory.put_u32(0x6000 + 8 + 4, 0x5200); // the object's text, behind its second vtable
        put_text(0x5200, "no file");
    }

    void put_text(std::uint32_t at, const char* text) {
        m_memory.put(at, faultkit::FakeMemory::Bytes(text, text + std::strlen(text) + 1));
    }
    void put_type(unsigned index, std::uint32_t at, std::uint32_t descriptor, const char* name, std::uint32_t place) {
        m_memory.put_u32(0x5020 + 4 + index * 4, at);
        m_memory.put_u32(at + 4, descriptor);
        m_memory.put_u32(at + 8, place);
        m_memory.put_u32(at + 12, 0xFFFFFFFF);
        put_text(descriptor + 8, name);
    }
    std::string text(std::uint32_t size = 204) {
        const std::uint32_t parameters[] = {0x19930520, 0x6000, 0x5000};
        char storage[204];
        faultkit::read_thrown_text(m_memory, parameters, 3, storage, size);
        return storage;
    }

    faultkit::FakeMemory m_memory;
};

TEST_F(ThrownText, Of_an_exception_is_found_in_the_base_that_holds_it) {
    EXPECT_EQ(text(), "no file");
    EXPECT_EQ(text(3), "no");
    put_text(0x5188, ".?AVexception@@"); // as the system's own runtime calls it
    EXPECT_EQ(text(), "no file");
}

TEST_F(ThrownText, Object_that_is_no_exception_has_none) {
    put_text(0x5188, ".?AVexceptional@@");
    EXPECT_EQ(text(), "");
}

TEST_F(ThrownText, Exception_as_a_virtual_base_is_left_alone) {
    m_memory.put_u32(0x5080 + 12, 4);
    EXPECT_EQ(text(), "");
}

TEST_F(ThrownText, That_is_not_there_is_none) {
    for (const std::uint32_t place : {0u, 0x9000u}) {
        m_memory.put_u32(0x6000 + 8 + 4, place);
        EXPECT_EQ(text(), "");
    }
    m_memory.put_u32(0x5080 + 8, 0x4000); // outside the object
    EXPECT_EQ(text(), "");
    m_memory.put_u32(0x5020, 2);
    EXPECT_EQ(text(), "");
}

TEST_F(ThrownText, Damaged_count_of_types_leaves_the_first) {
    put_text(0x5108, ".?AVexception@std@@");
    m_memory.put_u32(0x5040 + 8, 8);
    m_memory.put_u32(0x5020, 0x10000);
    EXPECT_EQ(text(), "no file");
}

TEST_F(ThrownText, Thrown_itself_is_its_own) {
    for (const char* name : {".PAD", ".PBD"}) {
        put_text(0x5108, name);
        m_memory.put_u32(0x6000, 0x5200);
        EXPECT_EQ(text(), "no file");
    }
}

} // namespace
