// An address in words: module and offset, function, file and line.
#pragma once

#include <stdint.h>

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/text_builder.h"

namespace faultkit {

// What symbols say about an address. Empty texts where they say nothing.
struct SourcePlace {
    char function[200];
    uint32_t displacement; // bytes from the function's start
    char file[260];
    uint32_t line;
    bool inlined; // the function was inlined into the one of the next place
};

struct PlaceOptions {
    bool module, function, line, address;
};

// Reads the option bits of faultkit.h.
PlaceOptions place_options(uint32_t bits);

// Appends one place: "00401234 host.exe+00001234 Widget::draw+0x1A (src\widget.cpp:42)". `address` is printed; a module
// that is gone gets " [unloaded]" behind its offset, an address outside every module "no module".
void write_place(TextBuilder& text, const ModuleTable& modules, uint32_t address, const SourcePlace& place,
                 PlaceOptions options);

} // namespace faultkit
