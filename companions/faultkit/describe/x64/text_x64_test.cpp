#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "companions/faultkit/describe/fault_text.h"
#include "companions/faultkit/describe/trace_text.h"

namespace {

constexpr faultkit::Address kBase = 0x7FF612340000;

class WideTextTest : public testing::Test {
protected:
    WideTextTest() {
        m_modules->clear();
        faultkit::Module* module = m_modules->next();
        *module = faultkit::Module();
        module->image.base = kBase;
        module->image.size = 0x10000;
        std::copy_n("host.exe", 9, module->name);
        m_modules->commit();
        m_facts.has_record = true;
        m_facts.address = kBase + 0x1234;
        m_facts.thread = 0x1A4;
        m_facts.executable = kBase;
    }
    std::string described() {
        char storage[4096];
        faultkit::TextBuilder text(storage);
        faultkit::describe_fault(text, m_facts, {}, *m_modules);
        faultkit::list_modules(text, m_facts, *m_modules, 0);
        return text.c_str();
    }

    std::unique_ptr<faultkit::ModuleTable> m_modules = std::make_unique<faultkit::ModuleTable>();
    faultkit::FaultFacts m_facts = {};
};

TEST_F(WideTextTest, Addresses_have_sixteen_digits_and_offsets_eight) {
    m_facts.code = 0xC0000005;
    m_facts.parameter_count = 2;
    m_facts.parameters[0] = 1;
    m_facts.parameters[1] = 0xFFFFFFFFFFFFFFFF;
    m_modules->add_unloaded({0x180000000, 0x4000, 0x55667788, "gone.dll"});
    EXPECT_EQ(described(), "EXCEPTION_ACCESS_VIOLATION (C0000005): memory at FFFFFFFFFFFFFFFF could not be written\n"
                           "Instruction: 00007FF612341234 host.exe+00001234\n"
                           "Thread: 000001A4\n"
                           "Modules (base, size, time stamp, version, PDB identity, name):\n"
                           "00007FF612340000 00010000 00000000 - - host.exe\n"
                           "0000000180000000 00004000 55667788 - - gone.dll [unloaded]");
}

TEST_F(WideTextTest, Parameters_of_a_programs_own_exception_have_all_their_digits) {
    m_facts.code = 0xE0001234;
    m_facts.parameter_count = 1;
    m_facts.parameters[0] = 0x123456789ABCDEF0;
    EXPECT_EQ(described().substr(0, described().find('\n')), "exception (E0001234), parameters 123456789ABCDEF0");
}

TEST_F(WideTextTest, All_sixteen_registers_are_there) {
    m_facts.code = 0x80000003;
    m_facts.has_registers = true;
    m_facts.registers = {0x1, 0x2, 0x3, 0x4,  0x5,  0x6,   0x7,  0x8,  0x9,  0xA,  0xB,  0xC,
                         0xD, 0xE, 0xF, 0x10, 0x11, 0x246, 0x33, 0x2B, 0x2C, 0x53, 0x2D, 0x2E};
    const std::string text = described();
    EXPECT_NE(text.find("\nRAX 0000000000000001  RBX 0000000000000002  RCX 0000000000000003  RDX 0000000000000004"
                        "\nRSI 0000000000000005  RDI 0000000000000006  RBP 0000000000000007  RSP 0000000000000008"
                        "\nR8  0000000000000009  R9  000000000000000A  R10 000000000000000B  R11 000000000000000C"
                        "\nR12 000000000000000D  R13 000000000000000E  R14 000000000000000F  R15 0000000000000010"
                        "\nRIP 0000000000000011  EFL 00000246  CS 0033  DS 002B  ES 002C  FS 0053  GS 002D  SS 002E\n"),
              std::string::npos)
        << text;
}

TEST_F(WideTextTest, Guess_is_marked) {
    const auto trace = std::make_unique<faultkit::Trace>();
    trace->lines[0].pc = kBase + 0x1300;
    trace->lines[0].origin = faultkit::FrameOrigin::kGuessed;
    trace->count = trace->top_count = 1;
    faultkit::TraceText lines;
    lines.begin(*trace);
    char storage[640];
    faultkit::TextBuilder text(storage);
    ASSERT_TRUE(lines.write_next_line(*m_modules, 15, text));
    EXPECT_STREQ(text.c_str(), "00007FF612341300 host.exe+00001300 [guessed]");
}

} // namespace
