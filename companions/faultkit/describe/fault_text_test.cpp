#include <cstring>
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>
#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"
#include "companions/faultkit/describe/fault_text.h"

namespace {

using faultkit::FakeProcess;
using faultkit::FaultFacts;
using faultkit::Module;

class FaultTextTest : public testing::Test {
protected:
    FaultTextTest() {
        m_facts.has_record = true;
        m_facts.code = 0xC0000005;
        m_facts.address = 0x401234;
        m_facts.parameter_count = 2;
        m_facts.thread = 0x1A4;
        m_facts.executable = FakeProcess::kModule;
    }

    // What was thrown: the type and the text that it holds.
    void thrown(const char* type, const char* text) {
        std::strcpy(m_facts.thrown_type, type);
        std::strcpy(m_facts.thrown_text, text);
    }
    std::string described() {
        char storage[4096];
        faultkit::TextBuilder text(storage);
        faultkit::describe_fault(text, m_facts, {}, m_process.modules);
        return text.c_str();
    }
    // Of a fault of this kind.
    std::string first_line(std::uint32_t code, const std::vector<faultkit::Address>& parameters = {}) {
        m_facts.code = code;
        m_facts.parameter_count = static_cast<std::uint32_t>(parameters.size());
        std::copy_n(parameters.begin(), std::min<std::size_t>(parameters.size(), 4), m_facts.parameters);
        return described().substr(0, described().find('\n'));
    }
    std::string listed(unsigned size = 8192, unsigned reserve = 0) {
        std::string storage(size, '\0');
        faultkit::TextBuilder text(storage.data(), size);
        faultkit::list_modules(text, m_facts, m_process.modules, reserve);
        return text.c_str();
    }
    Module* add_module(std::uint32_t base, const char* name, bool of_system) {
        Module* module = m_process.modules.next();
        *module = Module();
        module->image.base = base;
        module->image.size = 0x2000;
        std::strcpy(module->name, name);
        module->of_system = of_system;
        m_process.modules.commit();
        return module;
    }

    FakeProcess m_process;
    FaultFacts m_facts = {};
};

TEST_F(FaultTextTest, Access_names_what_was_done_where) {
    EXPECT_EQ(first_line(0xC0000005, {1, 0x20000000}),
              "EXCEPTION_ACCESS_VIOLATION (C0000005): memory at 20000000 could not be written");
    EXPECT_EQ(first_line(0xC0000005, {8, 0x20000000}),
              "EXCEPTION_ACCESS_VIOLATION (C0000005): memory at 20000000 could not be executed");
    m_facts.memory = "free memory";
    EXPECT_EQ(first_line(0xC0000005, {0, 0x20000000}),
              "EXCEPTION_ACCESS_VIOLATION (C0000005): memory at 20000000 could not be read (free memory)");
    EXPECT_EQ(first_line(0xC0000005), "EXCEPTION_ACCESS_VIOLATION (C0000005)");
}

TEST_F(FaultTextTest, Read_of_the_instructions_own_address_is_an_execution) {
    m_facts.address = 0x20000000;
    EXPECT_EQ(first_line(0xC0000005, {0, 0x20000000}),
              "EXCEPTION_ACCESS_VIOLATION (C0000005): memory at 20000000 could not be executed");
}

TEST_F(FaultTextTest, Address_in_the_first_64_KB_is_a_null_pointer) {
    m_facts.memory = "free memory";
    EXPECT_NE(first_line(0xC0000005, {1, 0xFFFF}).find("(a null pointer)"), std::string::npos);
    EXPECT_NE(first_line(0xC0000005, {1, 0x10000}).find("(free memory)"), std::string::npos);
}

TEST_F(FaultTextTest, Page_error_adds_the_systems_reason) {
    const std::string line = "EXCEPTION_IN_PAGE_ERROR (C0000006): memory at 20000000 could not be read";
    EXPECT_EQ(first_line(0xC0000006, {0, 0x20000000, 0xC000009C}), line + ", the system's reason was C000009C");
    EXPECT_EQ(first_line(0xC0000006, {0, 0x20000000}), line);
}

TEST_F(FaultTextTest, Known_exception_is_put_in_words_and_an_unknown_one_shows_its_parameters) {
    EXPECT_EQ(first_line(0xC0000094), "EXCEPTION_INT_DIVIDE_BY_ZERO (C0000094): an integer was divided by zero");
    EXPECT_EQ(first_line(0xE0001234), "exception (E0001234)");
    EXPECT_EQ(first_line(0xE0001234, {0x11, 0x22, 0x33}),
              "exception (E0001234), parameters 00000011 00000022 00000033");
    EXPECT_EQ(first_line(0xE0001234, {1, 2, 3, 4, 5, 6}),
              "exception (E0001234), parameters 00000001 00000002 00000003 00000004");
}

TEST_F(FaultTextTest, Thrown_object_shows_its_type_and_what_it_says) {
    const auto line = [&](const char* type, const char* text) {
        thrown(type, text);
        return first_line(0xE06D7363, {0, 0});
    };
    const std::string begin = "C++ exception (E06D7363): thrown by throw";
    EXPECT_EQ(first_line(0xE06D7363), begin);
    EXPECT_EQ(line(".?AVCFileException@@", ""), begin + ", type .?AVCFileException@@");
    EXPECT_EQ(line(".?AVFileException@@", "no\nfile"), begin + ", type .?AVFileException@@, what() \"no?file\"");
    EXPECT_EQ(line(".PAD", "no\nfile"), begin + ", type .PAD, text \"no?file\"");
    EXPECT_EQ(line("", "no\nfile"), begin + ", what() \"no?file\"");
}

TEST_F(FaultTextTest, Ends_of_the_program_are_put_in_words) {
    const std::string terminate = "std::terminate (E0575801): the program was ended by std::terminate";
    EXPECT_EQ(first_line(0xE0575801, {0, 0, 0}), terminate);
    thrown("class std::runtime_error", "full");
    EXPECT_EQ(first_line(0xE0575801, {0, 0, 0}), terminate + ", type std::runtime_error, what() \"full\"");
    thrown("struct Error", "full");
    EXPECT_NE(first_line(0xE0575801, {0, 0, 0}).find(", type Error, "), std::string::npos);
    thrown("", "");
    EXPECT_EQ(first_line(0xE0575802), "pure virtual call (E0575802): a function was called that the object does not "
                                      "have yet, or any more");
    EXPECT_EQ(first_line(0xE0575804), "abort (E0575804): the program called abort");
}

TEST_F(FaultTextTest, Invalid_parameter_shows_what_the_runtime_knows) {
    const auto line = [&] { return first_line(0xE0575803, {0, 0, 0, 41}); };
    const std::string begin = "invalid parameter (E0575803): the C runtime was given an invalid argument";
    EXPECT_EQ(line(), begin);
    std::strcpy(m_facts.invalid[0], "format != NULL");
    std::strcpy(m_facts.invalid[1], "printf");
    EXPECT_EQ(line(), begin + ", expression format != NULL, function printf");
    std::strcpy(m_facts.invalid[2], "printf.c");
    EXPECT_EQ(line(), begin + ", expression format != NULL, function printf, file printf.c line 41");
}

TEST_F(FaultTextTest, Length_of_own_modules_is_that_of_the_lists_first_lines) {
    add_module(0x200000, "ntdll.dll", true);
    add_module(0x300000, "plugin.dll", false);
    m_process.modules.add_unloaded({0x900000, 0x1000, 0x55667788, "gone.dll"});
    char storage[4096];
    faultkit::TextBuilder text(storage);
    text.text("before");
    const std::string own = listed().substr(0, listed().find("\n00900000"));
    EXPECT_EQ(faultkit::length_of_own_modules(text, m_facts, m_process.modules), own.size());
    EXPECT_STREQ(text.c_str(), "before");
}

TEST_F(FaultTextTest, Missing_record_is_said) {
    m_facts.has_record = false;
    EXPECT_EQ(first_line(0), "exception unknown: its record can't be read");
}

TEST_F(FaultTextTest, Instruction_code_thread_and_registers_follow) {
    m_facts.code = 0x80000003;
    m_facts.code_byte_count = 4;
    std::memcpy(m_facts.code_bytes, "\xCC\xC3\x90\x0F", 4);
    m_facts.has_registers = true;
    m_facts.registers = {1, 2, 3, 4, 5, 6, 7, 8, 0x401234, 0x246, 0x23, 0x2B, 0x2C, 0x6B, 0x63, 0x2D};
    m_facts.floating = {true, 0x27B, 0xB084, 0x401236, true, 0x1D80};
    EXPECT_EQ(described(), "EXCEPTION_BREAKPOINT (80000003): a breakpoint was reached\n"
                           "Instruction: 00401234 host.exe+00001234\n"
                           "Code: CC C3 90 0F\n"
                           "Thread: 000001A4\n"
                           "EAX 00000001  EBX 00000002  ECX 00000003  EDX 00000004\n"
                           "ESI 00000005  EDI 00000006  EBP 00000007  ESP 00000008\n"
                           "EIP 00401234  EFL 00000246  CS 0023  DS 002B  ES 002C  FS 006B  GS 0063  SS 002D");
}

TEST_F(FaultTextTest, Float_exception_adds_the_float_registers) {
    m_facts.code = 0xC000008E;
    m_facts.has_registers = true;
    m_facts.floating = {true, 0x27B, 0xB084, 0x401236, true, 0x1D80};
    const std::string text = described();
    EXPECT_NE(text.find("\nx87 control 027B, status B084, instruction 00401236 host.exe+00001236\nMXCSR 00001D80"),
              std::string::npos)
        << text;
}

TEST_F(FaultTextTest, Modules_are_listed_executable_first_and_the_systems_last) {
    add_module(0x200000, "ntdll.dll", true);
    add_module(0x300000, "plugin.dll", false);
    m_process.modules.add_unloaded({0x900000, 0x1000, 0x55667788, "gone.dll"});
    EXPECT_EQ(listed(), "\nModules (base, size, time stamp, version, PDB identity, name):"
                        "\n00400000 00010000 00000000 - - host.exe"
                        "\n00300000 00002000 00000000 - - plugin.dll"
                        "\n00900000 00001000 55667788 - - gone.dll [unloaded]"
                        "\n00200000 00002000 00000000 - - ntdll.dll");
}

TEST_F(FaultTextTest, Faulting_module_follows_the_executable) {
    add_module(0x300000, "plugin.dll", false);
    add_module(0x500000, "culprit.dll", true);
    m_facts.address = 0x501000;
    const std::string text = listed();
    EXPECT_LT(text.find("host.exe"), text.find("culprit.dll"));
    EXPECT_LT(text.find("culprit.dll"), text.find("plugin.dll"));
}

TEST_F(FaultTextTest, Module_line_holds_version_and_pdb) {
    Module* module = add_module(0x300000, "Plugin.dll", false);
    module->image.time_stamp = 0x4A5B6C7D;
    module->image.has_version = true;
    module->image.version[0] = 1;
    module->image.version[3] = 65535;
    std::strcpy(module->image.pdb.key, "44EF52FA4B1712244C4C44205044422E1");
    std::strcpy(module->image.pdb.file, "plugin.pdb");
    EXPECT_NE(listed().find("\n00300000 00002000 4A5B6C7D 1.0.0.65535 44EF52FA4B1712244C4C44205044422E1 Plugin.dll"),
              std::string::npos);
    EXPECT_EQ(listed().find('|'), std::string::npos);
    std::strcpy(module->image.pdb.file, "other.pdb");
    EXPECT_NE(listed().find("Plugin.dll | other.pdb"), std::string::npos);
}

TEST_F(FaultTextTest, Modules_that_do_not_fit_are_counted_and_the_reserve_stays_free) {
    for (std::uint32_t i = 0; i < 50; ++i)
        add_module(0x1000000 + i * 0x10000, "plugin.dll", false);
    const unsigned size = 1000, reserve = 200;
    const std::string text = listed(size, reserve);
    EXPECT_LE(text.size(), size - reserve);
    EXPECT_NE(text.find("host.exe"), std::string::npos);
    const std::size_t shown = [&] {
        std::size_t count = 0;
        for (std::size_t at = text.find("plugin.dll"); at != std::string::npos; at = text.find("plugin.dll", at + 1))
            ++count;
        return count;
    }();
    EXPECT_EQ(text.substr(text.rfind('\n')), "\n... " + std::to_string(50 - shown) + " more modules");
}

TEST_F(FaultTextTest, Float_registers_that_are_not_there_are_left_out) {
    m_facts.code = 0xC00002B4;
    m_facts.has_registers = true;
    EXPECT_EQ(described().find("x87"), std::string::npos);
    EXPECT_EQ(described().find("MXCSR"), std::string::npos);
    m_facts.floating.has_x87 = true;
    m_facts.code = 0xC00002B5;
    EXPECT_NE(described().find("\nx87 control 0000, status 0000"), std::string::npos);
    EXPECT_EQ(described().find(", instruction "), std::string::npos);
}

TEST_F(FaultTextTest, Pdb_of_the_modules_name_in_other_letters_is_not_named) {
    const auto listed_with = [&](const char* name, const char* pdb) {
        Module* const module = add_module(0x300000, name, false);
        std::strcpy(module->image.pdb.file, pdb);
        return listed();
    };
    EXPECT_EQ(listed_with("PLUGIN.dll", "plugin").find('|'), std::string::npos);
    EXPECT_EQ(listed_with("plugin", "plugin.pdb").find('|'), std::string::npos);
    EXPECT_NE(listed_with("PLUGIN.dll", "plug.pdb").find(" | plug.pdb"), std::string::npos);
    EXPECT_NE(listed_with("PLUGIN.dll", "plugins.pdb").find(" | plugins.pdb"), std::string::npos);
    EXPECT_NE(listed_with("PLUGIN.dll", "pluton.pdb").find(" | pluton.pdb"), std::string::npos);
}
TEST_F(FaultTextTest, List_without_enough_space_shows_whole_lines_alone) {
    add_module(0x300000, "plugin.dll", false);
    for (unsigned size = 68; size < 260; ++size) {
        const std::string text = listed(size);
        for (const char* name : {"host.exe", "plugin.dll"})
            EXPECT_TRUE(text.find("00000000 - - ") == std::string::npos || text.find("host.exe") != std::string::npos)
                << size << name << text;
        EXPECT_EQ(text.find("plugin.dll") != std::string::npos, text.find("00300000") != std::string::npos) << size;
    }
}

} // namespace
