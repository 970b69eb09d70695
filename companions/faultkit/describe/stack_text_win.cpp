// What is large is static, as the stack may be short.
#include "companions/faultkit/describe/stack_text.h"

#include "companions/faultkit/describe/place_text.h"
#include "companions/faultkit/describe/signature_text.h"
#include "companions/faultkit/walk/stopped_thread.h"

namespace faultkit {
namespace {

constexpr unsigned kMostThreads = 64, kMostFrames = 2000;
constexpr unsigned kMostBrief = 24;    // frames among which one of the program's own is looked for
constexpr unsigned kFramesOfOther = 3; // that are shown where there is none
constexpr DWORD kMostTime = 5000;      // milliseconds for all threads

SourcePlace places[Trace::kMostInlined + 1];
Frame brief_frames[kMostBrief];

void write_frame(const StackScene& scene, const Frame& frame, const char* before, const char* behind) {
    const unsigned count = name_frame(frame, scene.session, places, Trace::kMostInlined + 1);
    for (unsigned i = 0; i < count; ++i) {
        scene.out.text.text(before);
        write_place(scene.out.text, scene.snapshot.modules(), frame.pc, places[i], {true, true, true, true});
        if (frame.origin == FrameOrigin::kGuessed)
            scene.out.text.text(" [guessed]");
        scene.out.text.text(behind);
        scene.out.line_ends();
    }
}

// Every frame at once.
class WholeStack : public FrameSink {
public:
    WholeStack(const StackScene& scene, const char* before, const char* behind)
        : m_scene(scene), m_before(before), m_behind(behind) {}

    bool add(const Frame& frame) override {
        write_frame(m_scene, frame, m_before, m_behind);
        return ++m_count < kMostFrames;
    }
    void pass_over(unsigned count, bool unfinished) override {
        if (count)
            m_scene.out.text.text(m_before)
                .text(unfinished ? "... more than " : "... ")
                .decimal(count)
                .text(" more frames")
                .text(m_behind);
    }

private:
    const StackScene& m_scene;
    const char *m_before, *m_behind;
    unsigned m_count = 0;
};

// Down to the first frame of the program's own, and no further.
class BriefStack : public FrameSink {
public:
    explicit BriefStack(const ModuleTable& modules) : m_modules(modules) {}

    bool add(const Frame& frame) override {
        brief_frames[m_count++] = frame;
        const Module* const module = m_modules.find(frame.instruction());
        // The system's frames on top only tell what the thread waits in: whose wait that is, is what helps.
        m_found = module && is_own(*module);
        return !m_found && m_count < kMostBrief;
    }
    void pass_over(unsigned, bool) override {}

    unsigned wanted() const { return m_found || m_count < kFramesOfOther ? m_count : kFramesOfOther; }

private:
    const ModuleTable& m_modules;
    unsigned m_count = 0;
    bool m_found = false;
};

// session is not asked for callers: it reads the process's memory, not the copy.
void write_thread(const StackScene& scene, StoppedThread& thread, bool brief) {
    FrameWalker walker(thread, scene.snapshot.modules(), thread.stack_end);
    Frame frame = frame_of(thread.context);
    if (!brief) {
        WholeStack sink(scene, "\n", "");
        walk_frames(walker, frame, nullptr, sink);
        return;
    }
    BriefStack sink(scene.snapshot.modules());
    walk_top(walker, &frame, nullptr, sink);
    for (unsigned i = 0; i < sink.wanted(); ++i)
        write_frame(scene, brief_frames[i], "\n", "");
}

const char* words_of(StopOutcome outcome) {
    return outcome == StopOutcome::kRefused ? " could not be stopped" : " could not be stopped in time";
}

} // namespace

void write_fault_stack(const StackScene& scene) {
    const CONTEXT* const context = scene.snapshot.context();
    if (!context)
        return;
    const Frame frame = frame_of(*context);
    FrameWalker walker(scene.memory, scene.snapshot.modules(), stack_end_for(frame.sp));
    WholeStack sink(scene, "", "\n");
    walk_frames(walker, frame, scene.session, sink);
}

unsigned count_other_threads(ProcessMemory& memory, const Snapshot& snapshot) {
    OtherThreads threads(memory, snapshot.facts().thread, snapshot.facts().describer);
    unsigned count = 0;
    while (threads.next_id())
        ++count;
    threads.end();
    return count;
}

void write_other_threads(const StackScene& scene, unsigned count, bool brief, unsigned most) {
    constexpr unsigned kLastLine = 40; // characters
    TextBuilder& text = scene.out.text;
    if (!count)
        return;
    const unsigned start = text.length();
    unsigned shown = 0;
    text.text("\nOther threads: ").decimal(count);
    OtherThreads threads(scene.memory, scene.snapshot.facts().thread, scene.snapshot.facts().describer);
    StopOutcome outcome;
    const DWORD begin = GetTickCount();
    for (bool fits = true;
         fits && shown < kMostThreads && GetTickCount() - begin < kMostTime && threads.next(&outcome);) {
        const unsigned mark = text.length();
        text.text("\nThread ").hex(threads.thread().id).character(':');
        if (outcome == StopOutcome::kCopied)
            win::run_guarded(win::kSwallowAll, [&] { write_thread(scene, threads.thread(), brief); });
        else
            text.text(words_of(outcome));
        scene.out.line_ends();
        // In brief a thread that doesn't fit is taken back and counted; a file takes all.
        fits = !brief || (!text.overflowed() && text.length() - start + kLastLine <= most);
        if (fits)
            ++shown;
        else
            text.cut_to(mark);
    }
    threads.end();
    if (count > shown)
        text.text("\n... ").decimal(count - shown).text(" more threads");
}

} // namespace faultkit
