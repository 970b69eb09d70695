// Takes the input for a fault's kind, what was thrown, the frames of its stack, and for the host's values and notes.
// However they are damaged, the texts stay within their space, and each line holds something and no control characters.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "companions/faultkit/capture/fault_facts.h"
#include "companions/faultkit/describe/fault_text.h"
#include "companions/faultkit/describe/process_text.h"
#include "companions/faultkit/describe/signature_text.h"
#include "testing/cxx/fake_process.h"

namespace {

// Pieces of the input, one after the other; zeros when it is used up.
struct Input {
    const std::uint8_t* data;
    std::size_t size;

    void fill(void* to, std::size_t count) {
        std::memset(to, 0, count);
        const std::size_t there = count < size ? count : size;
        if (there)
            std::memcpy(to, data, there);
        data += there;
        size -= there;
    }
    template <std::size_t Size>
    void fill_text(char (&to)[Size]) {
        fill(to, Size);
        to[Size - 1] = '\0';
    }
};

void check(const faultkit::TextBuilder& text, unsigned size) {
    if (text.length() >= size || std::strlen(text.c_str()) != text.length())
        std::abort();
    for (const char* at = text.c_str(); *at; ++at)
        if ((static_cast<unsigned char>(*at) < 0x20 && *at != '\n') || (at[0] == '\n' && (at[1] == '\n' || !at[1])))
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input = {data, size};
    faultkit::FakeProcess process;
    const auto facts = std::make_unique<faultkit::FaultFacts>();
    const std::uint32_t codes[] = {0xC0000005, 0xE06D7363, 0xE0575801, 0xE0575803, 0xE0001234, 0xC0000094};
    std::uint8_t choice[4];
    input.fill(choice, sizeof choice);
    facts->has_record = choice[0] & 1;
    facts->code = codes[choice[1] % 6];
    facts->parameter_count = choice[2] % 5;
    input.fill(facts->parameters, sizeof facts->parameters);
    // A thrown object and its description, with offsets as the input has them.
    faultkit::FakeMemory::Bytes thrown(0x200);
    input.fill(thrown.data(), thrown.size());
    process.memory.put(0x500000, thrown);
    const faultkit::Address parameters[] = {0x19930520, 0x500000, 0x500040, 0x500000};
    faultkit::read_thrown_type(process.memory, parameters, 4, facts->thrown_type);
    faultkit::read_thrown_text(process.memory, parameters, 4, facts->thrown_text, sizeof facts->thrown_text);
    for (auto& text : facts->invalid)
        input.fill_text(text);

    faultkit::TraceLine lines[4] = {};
    for (auto& line : lines) {
        std::uint32_t place = 0;
        input.fill(&place, sizeof place);
        line.pc = faultkit::FakeProcess::kModule + place % 0x20000;
        line.place.inlined = place >> 30 == 1;
        input.fill_text(line.place.function);
    }
    const auto process_facts = std::make_unique<faultkit::ProcessFacts>();
    input.fill(process_facts.get(), offsetof(faultkit::ProcessFacts, path));
    process_facts->elevated = process_facts->windows_64 = false;
    process_facts->zone %= 24 * 60;
    process_facts->language[sizeof process_facts->language - 1] = '\0';
    input.fill_text(process_facts->path);
    faultkit::FaultValue values[2] = {{"build", ""}, {"skin", ""}};
    faultkit::FaultNote notes[2] = {};
    for (unsigned i = 0; i < 2; ++i) {
        input.fill_text(values[i].text);
        input.fill(&notes[i].time, sizeof notes[i].time);
        input.fill_text(notes[i].text);
    }

    char head_storage[4096];
    faultkit::TextBuilder head(head_storage);
    faultkit::describe_fault(head, *facts, lines[0].place, process.modules);
    check(head, sizeof head_storage);
    const unsigned space = 64 + choice[3] * 16;
    const std::unique_ptr<char[]> storage(new char[space]);
    faultkit::TextBuilder text(storage.get(), space);
    text.text("head");
    faultkit::write_signature(text, *facts, process.modules, lines, 4);
    faultkit::write_time(text, *process_facts);
    faultkit::write_process(text, *process_facts, &process.modules[0]);
    faultkit::write_values(text, values, 2);
    faultkit::write_notes(text, notes, 2, choice[0], process_facts->time, 300);
    text.cut_to_lines(4, choice[1] * 8u);
    check(text, space);
    if (text.length() > 4 + choice[1] * 8u)
        std::abort();
    return 0;
}
