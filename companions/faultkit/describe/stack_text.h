// Stacks in words, one line for each frame, written as they are walked.
#pragma once

#include "companions/faultkit/capture/snapshot.h"
#include "companions/faultkit/text_builder.h"
#include "companions/faultkit/walk/stack_walk.h"

namespace faultkit {

// A text that may be taken away piece by piece while it grows.
class TextSink {
public:
    explicit TextSink(TextBuilder& to) : text(to) {}

    // Called between lines.
    virtual void line_ends() {}

    TextBuilder& text;
};

// Where and how stacks are written.
struct StackScene {
    ProcessMemory& memory;
    const Snapshot& snapshot;
    SymbolSession* session; // null: no names
    TextSink& out;
};

// The fault's whole stack; of an endless one the first 2,000 frames and the last ones. Each line ends in "\n".
void write_fault_stack(const StackScene& scene);

// How many threads there are besides the fault's and its describer.
unsigned count_other_threads(ProcessMemory& memory, const Snapshot& snapshot);

// The `count` threads but for these, 64 at most: a line with the number of all of them, then each with its
// frames: in full, or down to the first one of the program's own. Each line begins with "\n". In brief a thread whose
// lines don't fit into `most` characters is counted instead.
void write_other_threads(const StackScene& scene, unsigned count, bool brief, unsigned most);

} // namespace faultkit
