// Plain values in, text of bounded length out; nothing here asks the system. Where the text gets too long, modules are
// left out and counted, those of the system before others.
#include "companions/faultkit/describe/fault_text.h"

#include <string.h>

namespace faultkit {
namespace {

constexpr uint32_t kNullReach = 0x10000; // the first 64 KB are never mapped: an address there comes from a null pointer
constexpr uint32_t kWrite = 1, kExecute = 8;

const char* access_words(const FaultFacts& facts) {
    // Processors that don't tell executing from reading report a read of the instruction's own address.
    if (facts.parameters[0] == kExecute || (facts.parameters[0] == 0 && facts.parameters[1] == facts.address))
        return "executed";
    return facts.parameters[0] == kWrite ? "written" : "read";
}

void describe_access(TextBuilder& text, const FaultFacts& facts) {
    text.text("memory at ").address(facts.parameters[1]).text(" could not be ").text(access_words(facts));
    if (facts.parameters[1] < kNullReach)
        text.text(" (a null pointer)");
    else if (facts.memory)
        text.text(" (").text(facts.memory).character(')');
    if (facts.code == kInPageError && facts.parameter_count >= 3)
        text.text(", the system's reason was ").hex(static_cast<uint32_t>(facts.parameters[2]));
}

bool has_access(const FaultFacts& facts) {
    return (facts.code == kAccessViolation || facts.code == kInPageError) && facts.parameter_count >= 2;
}

// Without the word that some compilers put in front of a type.
const char* bare_type(const char* type) {
    static const char* const kWords[] = {"class ", "struct "};
    for (const char* word : kWords) {
        const size_t length = strlen(word);
        if (strncmp(type, word, length) == 0)
            return type + length;
    }
    return type;
}

void describe_thrown(TextBuilder& text, const FaultFacts& facts) {
    const char* const type = bare_type(facts.thrown_type);
    if (type[0])
        text.text(", type ").name(type, sizeof facts.thrown_type);
    if (facts.thrown_text[0])
        text.text(type[0] == '.' && type[1] == 'P' ? ", text \"" : ", what() \"")
            .name(facts.thrown_text, sizeof facts.thrown_text)
            .character('"');
}

void describe_invalid_parameter(TextBuilder& text, const FaultFacts& facts) {
    const char* const names[] = {", expression ", ", function ", ", file "};
    for (unsigned i = 0; i < 3; ++i)
        if (facts.invalid[i][0])
            text.text(names[i]).name(facts.invalid[i], sizeof facts.invalid[i]);
    if (facts.invalid[2][0])
        text.text(" line ").decimal(static_cast<uint32_t>(facts.parameters[3]));
}

void describe_exception(TextBuilder& text, const FaultFacts& facts) {
    if (!facts.has_record) {
        text.text("exception unknown: its record can't be read");
        return;
    }
    const ExceptionName* entry = find_exception_name(facts.code);
    text.text(entry ? entry->name : "exception").text(" (").hex(facts.code).text(")");
    if (has_access(facts)) {
        describe_access(text.text(": "), facts);
        return;
    }
    if (entry && entry->words[0])
        text.text(": ").text(entry->words);
    describe_thrown(text, facts);
    describe_invalid_parameter(text, facts);
    if (!entry && facts.parameter_count)
        text.text(", parameters");
    // What a code means that nobody knows here may be in its parameters.
    for (uint32_t i = 0; !entry && i < facts.parameter_count && i < 4; ++i)
        text.character(' ').address(facts.parameters[i]);
}

void write_float_state(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules) {
    const FloatState& state = facts.floating;
    if (state.has_x87) {
        text.text("\nx87 control ").hex(state.x87_control, 4).text(", status ").hex(state.x87_status, 4);
        if (state.x87_instruction) {
            text.text(", instruction ");
            write_place(text, modules, state.x87_instruction, SourcePlace(), {true, false, false, true});
        }
    }
    if (state.has_sse)
        text.text("\nMXCSR ").hex(state.mxcsr);
}

// Whether two file names differ in nothing but extension and case.
bool same_stem(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const bool a_ends = !*a || *a == '.', b_ends = !*b || *b == '.';
        if (a_ends || b_ends)
            return a_ends && b_ends;
        if ((*a | 0x20) != (*b | 0x20))
            return false;
    }
}

void write_module(TextBuilder& text, const Module& module) {
    const Image& image = module.image;
    text.character('\n').address(image.base).character(' ').hex(image.size).character(' ').hex(image.time_stamp);
    text.character(' ');
    if (image.has_version)
        text.decimal(image.version[0]).character('.').decimal(image.version[1]).character('.');
    if (image.has_version)
        text.decimal(image.version[2]).character('.').decimal(image.version[3]);
    else
        text.character('-');
    text.character(' ').text(image.pdb.key[0] ? image.pdb.key : "-").character(' ');
    text.name(module.name, sizeof module.name);
    if (image.pdb.file[0] && !same_stem(image.pdb.file, module.name))
        text.text(" | ").name(image.pdb.file, sizeof image.pdb.file);
}

void write_unloaded(TextBuilder& text, const UnloadedModule& module) {
    text.character('\n').address(module.base).character(' ').hex(module.size).character(' ').hex(module.time_stamp);
    text.text(" - - ").name(module.name, sizeof module.name).text(" [unloaded]");
}

const char kModulesHeading[] = "\nModules (base, size, time stamp, version, PDB identity, name):";

// The groups of the list, in their order.
enum Group { kExecutable, kFaulting, kOfHost, kOfSystem, kGroupCount };

Group group_of(const Module& module, const FaultFacts& facts) {
    if (module.image.base == facts.executable)
        return kExecutable;
    if (facts.address - module.image.base < module.image.size)
        return kFaulting;
    return module.of_system ? kOfSystem : kOfHost;
}

} // namespace

void write_kind(TextBuilder& text, const FaultFacts& facts) {
    const ExceptionName* const entry = find_exception_name(facts.code);
    if (entry)
        text.text(entry->name);
    else
        text.text("exception ").hex(facts.code);
    if (has_access(facts))
        text.text(", ").text(access_words(facts));
    if (facts.thrown_type[0])
        text.character(' ').name(bare_type(facts.thrown_type), sizeof facts.thrown_type);
}

void describe_fault(TextBuilder& text, const FaultFacts& facts, const SourcePlace& place, const ModuleTable& modules) {
    describe_exception(text, facts);
    text.text("\nInstruction: ");
    write_place(text, modules, facts.address, place, {true, true, true, true});
    if (facts.code_byte_count) {
        text.text("\nCode:");
        for (uint32_t i = 0; i < facts.code_byte_count; ++i)
            text.character(' ').hex(facts.code_bytes[i], 2);
    }
    text.text("\nThread: ").hex(facts.thread);
    if (facts.has_registers) {
        write_registers(text, facts.registers);
        if (is_float_exception(facts.code))
            write_float_state(text, facts, modules);
    }
}

// Written and taken back: a line's length depends on names, versions and identities.
unsigned length_of_own_modules(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules) {
    const unsigned mark = text.length();
    text.text(kModulesHeading);
    for (unsigned i = 0; i < modules.count(); ++i)
        if (group_of(modules[i], facts) != kOfSystem)
            write_module(text, modules[i]);
    const unsigned length = text.length() - mark;
    text.cut_to(mark);
    return length;
}

void list_modules(TextBuilder& text, const FaultFacts& facts, const ModuleTable& modules, unsigned reserve) {
    constexpr unsigned kLastLine = 40;
    unsigned left_out = modules.left_out();
    text.text(kModulesHeading);
    // A line that goes into the reserve is taken back and counted.
    const auto keep_or_count = [&](unsigned mark) {
        if (!text.overflowed() && text.space() >= reserve + kLastLine)
            return;
        text.cut_to(mark);
        ++left_out;
    };
    for (int group = 0; group < kGroupCount; ++group) {
        for (unsigned i = 0; group == kOfSystem && i < modules.unloaded_count(); ++i) {
            const unsigned mark = text.length();
            write_unloaded(text, modules.unloaded(i));
            keep_or_count(mark);
        }
        for (unsigned i = 0; i < modules.count(); ++i) {
            if (group_of(modules[i], facts) != group)
                continue;
            const unsigned mark = text.length();
            write_module(text, modules[i]);
            keep_or_count(mark);
        }
    }
    if (left_out)
        text.text("\n... ").decimal(left_out).text(" more modules");
}

} // namespace faultkit
