// For tests: makes one allocation fail. A test program that links failing_allocator.cpp has its global allocator
// replaced.
#pragma once

// While it lives, the nth non-throwing allocation from here on (1 is the next one) answers null; with 0 none does, and
// they are only counted. The throwing forms, which the test's own code uses, are neither counted nor failed.
class FailingAllocator {
public:
    explicit FailingAllocator(unsigned nth);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    unsigned calls() const; // since construction, the failed one included
    bool failed() const;    // whether the nth call came
};
