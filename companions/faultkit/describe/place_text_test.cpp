#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"
#include "companions/faultkit/describe/place_text.h"

namespace {

using faultkit::FakeProcess;
using faultkit::SourcePlace;

SourcePlace draw() {
    SourcePlace place = {};
    std::strcpy(place.function, "Widget::draw");
    place.displacement = 0x1A;
    std::strcpy(place.file, "src\\widget.cpp");
    place.line = 42;
    return place;
}

// Of a 64-bit process an address has eight digits more.
const std::string kUpper(faultkit::kAddressDigits - 8, '0');

std::string written(std::uint32_t address, const SourcePlace& place, unsigned bits) {
    FakeProcess process;
    process.modules.add_unloaded({0x900000, 0x1000, 1, "gone.dll"});
    char storage[512];
    faultkit::TextBuilder text(storage);
    faultkit::write_place(text, process.modules, address, place, faultkit::place_options(bits));
    return text.c_str();
}

struct Options {
    const char* name;
    unsigned bits;
    const char* line;
    bool begins_with_address = false;
};

class PlaceOptionBits : public testing::TestWithParam<Options> {};

TEST_P(PlaceOptionBits, Switch_the_pieces_of_a_line) {
    const std::string upper = GetParam().begins_with_address ? kUpper : "";
    EXPECT_EQ(written(0x401234, draw(), GetParam().bits), upper + GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    Bits, PlaceOptionBits,
    testing::Values(Options{"all", 15, "00401234 host.exe+00001234 Widget::draw+0x1A (src\\widget.cpp:42)", true},
                    Options{"module", 1, "host.exe+00001234"},
                    Options{"module_and_function", 3, "host.exe+00001234 Widget::draw+0x1A"},
                    Options{"module_and_line", 5, "host.exe+00001234 (src\\widget.cpp:42)"},
                    Options{"address", 8, "00401234", true}, Options{"none_gives_the_address", 0, "00401234", true},
                    Options{"function_alone_gets_the_address", 2, "00401234 Widget::draw+0x1A", true},
                    Options{"unknown_bits_are_ignored", 0xFFFFFFF1, "host.exe+00001234"}),
    [](const auto& info) { return info.param.name; });

TEST(PlaceText, Without_symbols_there_is_module_and_offset) {
    EXPECT_EQ(written(0x401234, SourcePlace(), 15), kUpper + "00401234 host.exe+00001234");
}

TEST(PlaceText, Address_in_an_unloaded_module_says_so) {
    EXPECT_EQ(written(0x900123, SourcePlace(), 15), kUpper + "00900123 gone.dll+00000123 [unloaded]");
}

TEST(PlaceText, Address_outside_every_module_says_so) {
    EXPECT_EQ(written(0x50, SourcePlace(), 15), kUpper + "00000050 no module");
}

TEST(PlaceText, Inlined_function_has_no_displacement) {
    SourcePlace place = draw();
    place.inlined = true;
    EXPECT_EQ(written(0x401234, place, 15),
              kUpper + "00401234 host.exe+00001234 Widget::draw (src\\widget.cpp:42) [inlined]");
}

TEST(PlaceText, Endless_names_are_cut_so_that_no_line_takes_over) {
    SourcePlace place = draw();
    std::memset(place.function, 'f', sizeof place.function - 1);
    std::memset(place.file, 'd', sizeof place.file - 1);
    const std::string line = written(0x401234, place, 15);
    EXPECT_LT(line.size(), 260u + kUpper.size());
    EXPECT_NE(line.find("fff...+0x1A (...ddd"), std::string::npos) << line;
}

TEST(PlaceText, Line_end_in_a_name_is_replaced) {
    SourcePlace place = draw();
    std::strcpy(place.function, "a\nb");
    EXPECT_EQ(written(0x401234, place, 3), "host.exe+00001234 a?b+0x1A");
}

} // namespace
