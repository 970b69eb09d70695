// Writes the pieces that are asked for, in a fixed order, and leaves out those of which nothing is known.
#include "companions/faultkit/describe/place_text.h"

#include "companions/faultkit/faultkit.h"

namespace faultkit {
namespace {

// Long enough for almost every name, short enough that no single one takes over the report.
constexpr unsigned kMostFunction = 120, kMostFile = 80;

void write_module(TextBuilder& text, const ModuleTable& modules, Address address) {
    if (const Module* module = modules.find(address))
        text.name(module->name, sizeof module->name)
            .character('+')
            .hex(static_cast<uint32_t>(address - module->image.base));
    else if (const UnloadedModule* gone = modules.find_unloaded(address))
        text.name(gone->name, sizeof gone->name)
            .character('+')
            .hex(static_cast<uint32_t>(address - gone->base))
            .text(" [unloaded]");
    else
        text.text("no module");
}

} // namespace

PlaceOptions place_options(uint32_t bits) {
    const PlaceOptions options = {(bits & FAULTKIT_MODULE) != 0, (bits & FAULTKIT_FUNCTION) != 0,
                                  (bits & FAULTKIT_LINE) != 0, (bits & FAULTKIT_ADDRESS) != 0};
    return options.module || options.address ? options : PlaceOptions{false, options.function, options.line, true};
}

void write_place(TextBuilder& text, const ModuleTable& modules, Address address, const SourcePlace& place,
                 PlaceOptions options) {
    if (options.address)
        text.address(address);
    if (options.address && options.module)
        text.character(' ');
    if (options.module)
        write_module(text, modules, address);
    if (options.function && place.function[0]) {
        text.character(' ').name(place.function, kMostFunction);
        if (!place.inlined)
            text.character('+').short_hex(place.displacement);
    }
    if (options.line && place.file[0])
        text.text(" (").tail_of_name(place.file, kMostFile).character(':').decimal(place.line).character(')');
    if (options.function && place.inlined)
        text.text(" [inlined]");
}

} // namespace faultkit
