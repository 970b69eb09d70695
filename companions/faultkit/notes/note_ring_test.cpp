#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>
#ifndef _WIN32
#include <thread>
#endif

#include <gtest/gtest.h>

#include "companions/faultkit/notes/note_ring.h"

namespace {

using faultkit::FaultNote;
using faultkit::NoteRing;

std::uint64_t ticks;

std::uint64_t now() {
    return ++ticks;
}
void give_way(unsigned) {
#ifndef _WIN32
    std::this_thread::yield();
#endif
}
std::vector<unsigned> waits;
void count_waits(unsigned milliseconds) {
    waits.push_back(milliseconds);
}

class NoteRingTest : public testing::Test {
protected:
    bool add(const std::string& text, faultkit::GiveWay way = give_way) {
        return m_ring->add(text.c_str(), static_cast<unsigned>(text.size()), 7, now, way);
    }
    std::vector<std::string> texts() {
        m_notes.resize(m_ring->copy(m_storage, &m_before, give_way));
        for (unsigned i = 0; i < m_notes.size(); ++i)
            m_notes[i] = m_storage[i].text;
        return m_notes;
    }

    // As in static storage.
    std::unique_ptr<NoteRing> m_ring{new NoteRing()};
    FaultNote m_storage[NoteRing::kMostNotes];
    std::uint32_t m_before = 0;
    std::vector<std::string> m_notes;
};

TEST_F(NoteRingTest, Notes_come_back_in_order_with_time_and_thread) {
    EXPECT_TRUE(texts().empty());
    EXPECT_EQ(m_before, 0u);
    ticks = 100;
    add("first");
    add("second");
    EXPECT_EQ(texts(), (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(m_storage[0].time, 101u);
    EXPECT_EQ(m_storage[1].time, 102u);
    EXPECT_EQ(m_storage[1].thread, 7u);
}

TEST_F(NoteRingTest, The_last_64_are_kept_and_the_others_counted) {
    for (int i = 0; i < 64; ++i)
        add(std::to_string(i));
    EXPECT_EQ(texts().size(), 64u);
    EXPECT_EQ(m_before, 0u);
    for (int i = 64; i < 150; ++i)
        add(std::to_string(i));
    EXPECT_EQ(texts().size(), 64u);
    EXPECT_EQ(m_notes.front(), "86");
    EXPECT_EQ(m_notes.back(), "149");
    EXPECT_EQ(m_before, 86u);
}

TEST_F(NoteRingTest, Text_is_kept_up_to_200_bytes) {
    add(std::string(200, 'a'));
    add(std::string(201, 'b'));
    EXPECT_EQ(texts(), (std::vector<std::string>{std::string(200, 'a'), std::string(200, 'b')}));
}

TEST_F(NoteRingTest, Note_that_is_too_long_leaves_the_others_as_they_are) {
    ticks = 100;
    for (int i = 0; i < 64; ++i)
        add(std::to_string(i));
    add(std::string(230, 'x'));
    ASSERT_EQ(texts().size(), 64u);
    EXPECT_EQ(m_notes.back(), std::string(200, 'x'));
    for (unsigned i = 0; i < 63; ++i) {
        EXPECT_EQ(m_notes[i], std::to_string(i + 1));
        EXPECT_EQ(m_storage[i].time, 102u + i);
        EXPECT_EQ(m_storage[i].thread, 7u);
    }
}

#ifndef _WIN32 // there a host with threads of the system's own does the same (tests/faultkit/telling_test.py)
TEST_F(NoteRingTest, Notes_of_eight_threads_at_full_speed_are_whole_and_in_order) {
    constexpr unsigned kThreads = 8, kEach = 5000;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            for (unsigned i = 0; i < kEach; ++i) {
                const std::string text =
                    std::to_string(thread) + " " + std::to_string(i) + std::string(100, '.') + "end";
                while (!m_ring->add(text.c_str(), static_cast<unsigned>(text.size()), thread, now, give_way)) {
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_EQ(texts().size(), 64u);
    EXPECT_EQ(m_before, kThreads * kEach - 64);
    std::vector<int> last(kThreads, -1);
    for (unsigned i = 0; i < 64; ++i) {
        unsigned thread = 0;
        int number = 0;
        ASSERT_EQ(std::sscanf(m_notes[i].c_str(), "%u %d.", &thread, &number), 2) << m_notes[i];
        EXPECT_EQ(m_notes[i].substr(m_notes[i].find('.')), std::string(100, '.') + "end");
        EXPECT_EQ(thread, m_storage[i].thread);
        // None of a thread's is missing between two of its own, and its last one is there.
        if (last[thread] >= 0) {
            EXPECT_EQ(number, last[thread] + 1);
        }
        last[thread] = number;
        if (i) {
            EXPECT_GT(m_storage[i].time, m_storage[i - 1].time);
        }
    }
    for (int number : last)
        EXPECT_TRUE(number == -1 || number == static_cast<int>(kEach) - 1);
}
#endif

// The first member is the lock: as a thread leaves it that was stopped while it held it.
void hold_lock(NoteRing& ring) {
    const std::uint32_t held = 1;
    std::memcpy(static_cast<void*>(&ring), &held, sizeof held);
}

TEST_F(NoteRingTest, A_lock_that_is_never_released_refuses_notes_after_a_while_and_is_read_past) {
    add("before");
    hold_lock(*m_ring);
    waits.clear();
    EXPECT_FALSE(add("after", count_waits));
    // Some tries in the rest of the time slice, then a thousand of a millisecond each.
    EXPECT_EQ(std::set<unsigned>(waits.begin(), waits.end()), (std::set<unsigned>{0, 1}));
    EXPECT_EQ(std::count(waits.begin(), waits.end(), 1u), 1000);
    EXPECT_EQ(texts(), std::vector<std::string>{"before"});
}

} // namespace
