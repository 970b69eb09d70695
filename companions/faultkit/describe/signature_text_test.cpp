#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "companions/faultkit/describe/signature_text.h"
#include "testing/cxx/fake_process.h"

namespace {

using faultkit::Address;
using faultkit::FakeProcess;
using faultkit::FaultFacts;
using faultkit::FrameOrigin;
using faultkit::Module;
using faultkit::TraceLine;

class SignatureTest : public testing::Test {
protected:
    SignatureTest() {
        m_facts.has_record = true;
        m_facts.code = 0xC0000094;
        name_pdb(0, "0123456789ABCDEF0123456789ABCDEF1");
        add_module(0x5000000, "Plugin.dll", false);
        add_module(0x7000000, "ntdll.dll", true);
    }

    Module& module(unsigned index) { return const_cast<Module&>(m_process.modules[index]); }
    void name_pdb(unsigned index, const char* key) { std::strcpy(module(index).image.pdb.key, key); }
    void add_module(std::uint32_t base, const char* name, bool of_system) {
        Module* const added = m_process.modules.next();
        *added = Module();
        added->image.base = base;
        added->image.size = 0x20000;
        added->image.time_stamp = 0x55667788;
        std::strcpy(added->name, name);
        added->of_system = of_system;
        m_process.modules.commit();
    }
    TraceLine& add(Address pc, const char* function = "", bool inlined = false) {
        m_lines.push_back(TraceLine());
        TraceLine& line = m_lines.back();
        line.pc = pc;
        line.origin = m_lines.size() == 1 ? FrameOrigin::kInterrupted : FrameOrigin::kChecked;
        std::strcpy(line.place.function, function);
        line.place.inlined = inlined;
        return line;
    }
    std::string signature() {
        char storage[2048];
        faultkit::TextBuilder text(storage);
        faultkit::write_signature(text, m_facts, m_process.modules, m_lines.data(),
                                  static_cast<unsigned>(m_lines.size()));
        return text.c_str();
    }
    std::string places() {
        const std::string text = signature();
        const std::string head = "\nSignature: EXCEPTION_INT_DIVIDE_BY_ZERO";
        EXPECT_EQ(text.substr(0, head.size()), head);
        return text.substr(head.size());
    }

    FakeProcess m_process;
    FaultFacts m_facts = {};
    std::vector<TraceLine> m_lines;
};

const std::string kHost = " | host.exe@0123456789ABCDEF0123456789ABCDEF1";

TEST_F(SignatureTest, First_three_places_of_the_programs_own_modules_follow_the_kind) {
    add(0x7000100);
    add(0x4010E3);
    add(0x5001138);
    add(0x7000200);
    add(0x402000);
    add(0x402100);
    EXPECT_EQ(places(), kHost + "+10E3 | plugin.dll@5566778820000+1138" + kHost + "+2000");
}

TEST_F(SignatureTest, It_is_the_same_wherever_modules_were_loaded) {
    add(0x4010E3, "a");
    add(0x5001138, "b");
    const std::string before = signature();
    module(0).image.base += 0x100000;
    module(1).image.base += 0x300000;
    m_lines[0].pc += 0x100000;
    m_lines[1].pc += 0x300000;
    EXPECT_EQ(signature(), before);
}

TEST_F(SignatureTest, Names_stand_in_a_line_of_their_own_where_one_is_known) {
    add(0x4010E3, "copy_title");
    add(0x5001138);
    add(0x402000, "main");
    const std::string text = signature();
    EXPECT_EQ(
        text.substr(text.find('\n', 1)),
        "\nSignature names: EXCEPTION_INT_DIVIDE_BY_ZERO | host.exe!copy_title | plugin.dll+1138 | host.exe!main");
}

TEST_F(SignatureTest, Recursion_of_any_depth_is_the_same) {
    add(0x4010E3);
    for (int i = 0; i < 50; ++i)
        add(0x401100);
    add(0x402000);
    EXPECT_EQ(places(), kHost + "+10E3" + kHost + "+1100" + kHost + "+2000");
}

TEST_F(SignatureTest, Inlined_functions_count_as_the_one_that_holds_their_code) {
    add(0x4010E3, "inner", true);
    add(0x4010E3, "outer");
    EXPECT_EQ(signature(), "\nSignature: EXCEPTION_INT_DIVIDE_BY_ZERO" + kHost +
                               "+10E3\nSignature names: EXCEPTION_INT_DIVIDE_BY_ZERO | host.exe!outer");
}

TEST_F(SignatureTest, Guessed_frames_are_passed_over) {
    add(0x4010E3);
    add(0x401200).origin = FrameOrigin::kGuessed;
    add(0x402000);
    EXPECT_EQ(places(), kHost + "+10E3" + kHost + "+2000");
}

TEST_F(SignatureTest, Runtimes_of_compilers_are_not_the_programs_own_wherever_they_lie) {
    for (const char* name : {"VCRUNTIME140.dll", "msvcp140.dll", "ucrtbase.dll", "libstdc++-6.dll", "Wendax.dll"}) {
        std::strcpy(module(1).name, name);
        m_lines.clear();
        add(0x5001138);
        add(0x4010E3);
        EXPECT_EQ(places(), kHost + "+10E3") << name;
    }
    std::strcpy(module(1).name, "mfcview.dll");
    EXPECT_EQ(places(), " | mfcview.dll@5566778820000+1138" + kHost + "+10E3");
}

TEST_F(SignatureTest, Stack_without_the_programs_own_has_its_first_module_alone) {
    add(0);
    add(0x7000100, "RtlFail");
    add(0x7000200);
    EXPECT_EQ(signature(), "\nSignature: EXCEPTION_INT_DIVIDE_BY_ZERO | ntdll.dll"
                           "\nSignature names: EXCEPTION_INT_DIVIDE_BY_ZERO | ntdll.dll!RtlFail");
    m_lines.clear();
    EXPECT_EQ(places(), "");
    add(0);
    EXPECT_EQ(places(), "");
}

TEST_F(SignatureTest, Module_that_is_gone_is_known_by_its_time_stamp) {
    m_process.modules.add_unloaded({0x9000000, 0x1000, 0x11223344, "Gone.dll"});
    add(0x9000010);
    add(0x4010E3);
    EXPECT_EQ(places(), " | gone.dll@112233441000+10" + kHost + "+10E3");
}

TEST_F(SignatureTest, Return_address_behind_a_modules_end_belongs_to_it) {
    add(0x4010E3);
    add(0x5020000); // a call that never returns is the last instruction
    EXPECT_EQ(places(), kHost + "+10E3 | plugin.dll@5566778820000+20000");
}

TEST_F(SignatureTest, What_raised_an_end_of_the_program_is_passed_over) {
    m_facts.code = 0xE0575804;
    add(0x7000100);
    add(0x4010E3, "on_abort");
    add(0x402000, "main");
    EXPECT_EQ(signature(), "\nSignature: abort" + kHost + "+2000\nSignature names: abort | host.exe!main");
    m_facts.code = 0xE0575801;
    m_facts.of_throw = true;
    EXPECT_EQ(signature().find("+10E3") != std::string::npos, true);
}

TEST_F(SignatureTest, Kind_holds_how_memory_was_touched_and_what_was_thrown) {
    const auto kind = [&] {
        const std::string text = signature();
        return text.substr(12);
    };
    m_facts.code = 0xC0000005;
    m_facts.parameter_count = 2;
    m_facts.parameters[0] = 1;
    EXPECT_EQ(kind(), "EXCEPTION_ACCESS_VIOLATION, written");
    m_facts.parameter_count = 0;
    EXPECT_EQ(kind(), "EXCEPTION_ACCESS_VIOLATION");
    m_facts.code = 0xE0001234;
    EXPECT_EQ(kind(), "exception E0001234");
    m_facts.code = 0xE06D7363;
    std::strcpy(m_facts.thrown_type, ".?AVError@@");
    EXPECT_EQ(kind(), "C++ exception .?AVError@@");
    m_facts.code = 0xE0575801;
    std::strcpy(m_facts.thrown_type, "class std::runtime_error");
    EXPECT_EQ(kind(), "std::terminate std::runtime_error");
}

} // namespace
