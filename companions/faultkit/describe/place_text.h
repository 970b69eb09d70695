// An address in words: module and offset, function, file and line.
#pragma once

#include <stdint.h>

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/text_builder.h"
#include "companions/faultkit/walk/trace.h"

namespace faultkit {

struct PlaceOptions {
    bool module, function, line, address;
};

// Reads the option bits of faultkit.h.
PlaceOptions place_options(uint32_t bits);

// Appends one place: "00401234 host.exe+00001234 Widget::draw+0x1A (src\widget.cpp:42)". `address` is printed; a module
// that is gone gets " [unloaded]" behind its offset, an address outside every module "no module".
void write_place(TextBuilder& text, const ModuleTable& modules, Address address, const SourcePlace& place,
                 PlaceOptions options);

} // namespace faultkit
