// For tests: makes one allocation fail. A test program that depends on failing_allocator has its allocators replaced.
#pragma once

// While it lives, the nth allocation from here on (1 is the next one) of those that may answer null does so; with 0
// none does, and they are only counted. They are the non-throwing new and, in programs for this machine, malloc, calloc
// and realloc: in those for Windows, throwing an exception calls malloc. The throwing forms, which the test's own code
// uses, are neither counted nor failed.
class FailingAllocator {
public:
    explicit FailingAllocator(unsigned nth);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    unsigned calls() const; // since construction, the failed one included
    bool failed() const;    // whether the nth call came
};
