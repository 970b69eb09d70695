// The lines about the process, its machine, and what the host itself says. Each line begins with "\n".
#pragma once

#include "companions/faultkit/capture/process_facts.h"
#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/notes/note_ring.h"
#include "companions/faultkit/notes/value_store.h"
#include "companions/faultkit/text_builder.h"

namespace faultkit {

// "Time: 2026-11-22 10:24:11.123 +01:00 (2026-11-22 09:24:11.123 UTC)".
void write_time(TextBuilder& text, const ProcessFacts& facts);

// What is known of uptimes, program, system, memory and objects. program: of the executable; null when not known.
void write_process(TextBuilder& text, const ProcessFacts& facts, const Module* program);

// "Value build = nightly-412", for each but the settings of this library (FAULTKIT_PRIVATE).
void write_values(TextBuilder& text, const FaultValue* values, unsigned count);

// "Note 09:24:10.001 000000E0: opening a.bmp", oldest first. Of more than `most` characters the oldest are left out
// and counted, with the `before` ones that are gone already. now: a note of another day has its date.
void write_notes(TextBuilder& text, const FaultNote* notes, unsigned count, uint32_t before, uint64_t now,
                 unsigned most);

} // namespace faultkit
