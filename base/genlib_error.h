// The exceptions of the containers. All are thrown by value and caught by reference; none owns memory, so that
// throwing one works when the heap is exhausted.
#pragma once

namespace gen {

// Catches both failures below; never thrown itself.
class genlib_error {
protected:
    genlib_error() {}
};

// The allocator returned null, or the wanted size is beyond what one block can hold.
class genlib_out_of_memory : public genlib_error {
public:
    genlib_out_of_memory() {}
};

// A checked access named an element that is not there.
class genlib_out_of_range : public genlib_error {
public:
    genlib_out_of_range(unsigned index, unsigned size) : index(index), size(size) {}

    unsigned index; // the element asked for
    unsigned size;  // elements there were; for a string its length, the NUL not counted
};

static_assert(sizeof(genlib_out_of_range) == 8, "hosts read the two fields at 0 and 4");

// Out of line, so that each inlined check costs its caller a compare and a call.
[[noreturn]] void throw_out_of_memory();
[[noreturn]] void throw_out_of_range(unsigned index, unsigned size);

} // namespace gen
