// Three places tell bugs apart well. A function that was inlined is passed over for the one that holds its code: which
// inlined functions are known depends on the debugging library.
#include "companions/faultkit/describe/signature_text.h"

#include "base/text_search.h"
#include "companions/faultkit/describe/fault_text.h"

namespace faultkit {
namespace {

constexpr unsigned kMostPlaces = 3, kMostName = 120;

// Runtimes of compilers, which lie beside one program and in the system's folder for another.
const char* const kRuntimes[] = {"msvcr",     "msvcp",         "vcruntime", "ucrtbase", "mfc4",   "mfc7",
                                 "mfc8",      "mfc9",          "mfc1",      "concrt",   "vcomp",  "libgcc_s",
                                 "libstdc++", "libwinpthread", "libc++",    "wendax",   "kobrtl", "faultkit."};

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

struct Place {
    const TraceLine* line;
    Address base;
    const char* module;
    const Image* image; // null for a module that is gone
    const UnloadedModule* gone;
};

// Where a line lies; false for no module.
bool find_place(const ModuleTable& modules, const TraceLine& line, bool first, Place* place) {
    const Address inside = first ? line.pc : line.pc - 1; // behind the last instruction may be another module
    if (const Module* module = modules.find(inside))
        *place = {&line, module->image.base, module->name, &module->image, nullptr};
    else if (const UnloadedModule* gone = modules.find_unloaded(inside))
        *place = {&line, gone->base, gone->name, nullptr, gone};
    else
        return false;
    return true;
}

bool is_own_place(const ModuleTable& modules, const Place& place) {
    const Module* const module = place.image ? modules.find(place.base) : nullptr;
    return !module || is_own(*module);
}

unsigned choose_places(const FaultFacts& facts, const ModuleTable& modules, const TraceLine* lines, unsigned line_count,
                       Place (&places)[kMostPlaces], bool* own) {
    unsigned count = 0;
    // What raises a fault of its own stands first on the stack, the same for all of them.
    unsigned skip = facts.is_of_cover() && !facts.of_throw ? 1 : 0;
    Place first = {};
    *own = true;
    for (unsigned i = 0; i < line_count && count < kMostPlaces; ++i) {
        const TraceLine& line = lines[i];
        Place place;
        if (line.place.inlined || line.origin == FrameOrigin::kGuessed ||
            !find_place(modules, line, line.origin == FrameOrigin::kInterrupted, &place))
            continue;
        if (!first.line)
            first = place;
        bool known = !is_own_place(modules, place);
        for (unsigned j = 0; j < count && !known; ++j)
            known = places[j].line->pc == line.pc; // recursion is of any depth
        if (known)
            continue;
        if (skip)
            --skip;
        else
            places[count++] = place;
    }
    if (count == 0 && first.line) {
        *own = false;
        places[count++] = first;
    }
    return count;
}

void write_module_name(TextBuilder& text, const char* name) {
    for (; *name; ++name)
        text.character(static_cast<unsigned char>(*name) < 0x20 ? '?' : lower(*name));
}

void write_identity(TextBuilder& text, const Place& place) {
    text.character('@');
    if (place.image && place.image->pdb.key[0]) {
        text.text(place.image->pdb.key);
        return;
    }
    text.hex(place.image ? place.image->time_stamp : place.gone->time_stamp);
    text.least_hex(place.image ? place.image->size : place.gone->size);
}

} // namespace

bool is_own(const Module& module) {
    for (const char* runtime : kRuntimes)
        if (gen::begins_ignoring_case(module.name, runtime))
            return false;
    return !module.of_system;
}

void write_signature(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules, const TraceLine* lines,
                     unsigned line_count) {
    Place places[kMostPlaces];
    bool own;
    const unsigned count = choose_places(facts, modules, lines, line_count, places, &own);
    write_kind(text.text("\nSignature: "), facts);
    bool named = false;
    for (unsigned i = 0; i < count; ++i) {
        const Place& place = places[i];
        write_module_name(text.text(" | "), place.module);
        named = named || place.line->place.function[0];
        if (!own)
            continue;
        write_identity(text, place);
        text.character('+').least_hex(static_cast<uint32_t>(place.line->pc - place.base));
    }
    if (!named)
        return;
    write_kind(text.text("\nSignature names: "), facts);
    for (unsigned i = 0; i < count; ++i) {
        const Place& place = places[i];
        const char* const function = place.line->place.function;
        write_module_name(text.text(" | "), place.module);
        if (function[0])
            text.character('!').name(function, kMostName);
        else if (own)
            text.character('+').least_hex(static_cast<uint32_t>(place.line->pc - place.base));
    }
}

} // namespace faultkit
