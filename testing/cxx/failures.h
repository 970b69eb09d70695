// For tests of what fails: errors of the containers, and memory that ends at any place.
#pragma once

#include <gtest/gtest.h>

#include "base/genlib_error.h"
#include "testing/cxx/failing_allocator.h"

template <typename Call>
void expect_out_of_range(unsigned index, unsigned size, Call call) {
    try {
        call();
        ADD_FAILURE() << "nothing is out of range";
    } catch (const gen::genlib_out_of_range& error) {
        EXPECT_EQ(error.index, index);
        EXPECT_EQ(error.size, size);
    }
}

// Runs an operation again and again: with its first allocation failing, with its second, and so on, until none fails.
//
//     for (EachAllocation each; each.next();) {
//         Text text;
//         each.run([&] { return text.Append("..."); });
//         EXPECT_EQ(text.length(), each.failed() ? 0 : 3);
//     }
class EachAllocation {
public:
    // It makes so many allocations for sure.
    explicit EachAllocation(unsigned least = 1) : m_least(least) {}

    bool next() {
        if (m_nth && !m_failed) {
            EXPECT_GT(m_nth, m_least) << "it allocates";
            return false;
        }
        ++m_nth;
        return true;
    }
    // The operation says whether it has succeeded, which it has to exactly if no allocation failed.
    template <typename Operation>
    void run(Operation operation) {
        bool succeeded = false;
        {
            FailingAllocator allocator(m_nth);
            try {
                succeeded = operation();
            } catch (const gen::genlib_out_of_memory&) {
            }
            m_failed = allocator.failed();
        }
        EXPECT_NE(succeeded, m_failed) << "allocation " << m_nth;
    }
    bool failed() const { return m_failed; } // whether an allocation did in the last run

private:
    const unsigned m_least;
    unsigned m_nth = 0;
    bool m_failed = false;
};
