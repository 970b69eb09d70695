// The owner of an object that is too large, or too polymorphic, for the stack.
#pragma once

namespace report {

// Deletes the object once. Volatile and cleared first: a fault in the destructor (on a heap that was damaged before)
// becomes an exception inside this one, which the way out of the frame then runs again.
template <class T>
struct HeapOwner {
    T* volatile object;

    ~HeapOwner() {
        T* const gone = object;
        object = nullptr;
        delete gone;
    }
};

} // namespace report
