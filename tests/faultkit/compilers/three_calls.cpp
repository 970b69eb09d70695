// What is hard here are small functions: without locals they take no stack, so that nothing in their code tells where
// they begin, and one that calls nothing has its return address on top.
#include "tests/faultkit/compilers/three_calls.h"

#include <stdio.h>
#include <string.h>

namespace {

volatile int zero, sink;
bool faults;
void* truth[16];
int depth;

#define NOTE_RETURN_ADDRESS() truth[depth++] = __builtin_return_address(0)
#define PLAIN __attribute__((noinline))

using Step = int(int);

// Takes much stack and leaves what it read there.
PLAIN int large_neighbour(int value) {
    volatile char buffer[600];
    buffer[value & 255] = static_cast<char>(value);
    return buffer[value & 127];
}

// Directly behind a function with a large frame; called through a pointer alone.
PLAIN int leaf(int value) {
    NOTE_RETURN_ADDRESS();
    if (faults)
        return *reinterpret_cast<volatile int*>(zero);
    --depth;
    return value + 1;
}
Step* volatile leaf_pointer = leaf;

// The same with a loop, whose head compilers align.
PLAIN int looping_leaf(int value) {
    NOTE_RETURN_ADDRESS();
    if (value == -1)
        return 7;
    int sum = 0;
    for (int i = 0; i < value; ++i)
        sum += faults && i == 2 ? *reinterpret_cast<volatile int*>(zero) : sink;
    --depth;
    return sum;
}
Step* volatile looping_pointer = looping_leaf;

PLAIN int direct_third(int value) {
    NOTE_RETURN_ADDRESS();
    if (faults)
        return *reinterpret_cast<volatile int*>(zero);
    --depth;
    return value + 1;
}

PLAIN int direct_second(int value) {
    NOTE_RETURN_ADDRESS();
    const int below = direct_third(value + 1);
    --depth;
    return below + value;
}

PLAIN int direct_first(int value) {
    NOTE_RETURN_ADDRESS();
    const int below = direct_second(value + 1);
    --depth;
    return below + value;
}

// Functions without arguments or locals, each called through a pointer.
Step* volatile innermost = leaf;

PLAIN int pointer_second(int value) {
    NOTE_RETURN_ADDRESS();
    sink = innermost(9) + 1;
    --depth;
    return value;
}
Step* volatile second_pointer = pointer_second;

PLAIN int pointer_first(int value) {
    NOTE_RETURN_ADDRESS();
    sink = second_pointer(5) + 1;
    --depth;
    return value;
}
Step* volatile first_pointer = pointer_first;

struct Node {
    virtual int visit(int value) = 0;
    Node* next = nullptr;
};

struct Inner : Node {
    PLAIN int visit(int value) override {
        NOTE_RETURN_ADDRESS();
        sink = leaf_pointer(value) + 1;
        --depth;
        return sink;
    }
};

struct Outer : Node {
    PLAIN int visit(int value) override {
        NOTE_RETURN_ADDRESS();
        sink = next->visit(value) + 1;
        --depth;
        return sink;
    }
};

Inner inner;
Outer outer;
Node* volatile root = &outer;

PLAIN int by_direct_calls() {
    NOTE_RETURN_ADDRESS();
    const int below = direct_first(sink);
    --depth;
    return below + 1;
}

PLAIN int by_pointers() {
    NOTE_RETURN_ADDRESS();
    innermost = leaf;
    const int below = first_pointer(sink);
    --depth;
    return below + 1;
}

PLAIN int by_pointers_to_a_loop() {
    NOTE_RETURN_ADDRESS();
    innermost = looping_pointer;
    const int below = first_pointer(sink);
    --depth;
    return below + 1;
}

PLAIN int by_virtual_functions() {
    NOTE_RETURN_ADDRESS();
    outer.next = &inner;
    const int below = root->visit(sink);
    --depth;
    return below + 1;
}

struct Way {
    const char* name;
    int (*go)();
};

const Way kWays[] = {
    {"direct", by_direct_calls},
    {"pointers", by_pointers},
    {"loop", by_pointers_to_a_loop},
    {"virtual", by_virtual_functions},
};

// Calls everything, so that the stack is full of return addresses of all these functions.
PLAIN void litter(int rounds) {
    volatile char pad[64];
    pad[0] = 0;
    for (const Way& way : kWays) {
        int (*volatile go)() = way.go;
        sink = go() + large_neighbour(rounds);
    }
    if (rounds)
        litter(rounds - 1);
    sink = pad[0];
}

} // namespace

bool commit_three_calls(const char* name) {
    for (const Way& way : kWays) {
        if (strcmp(way.name, name) != 0)
            continue;
        faults = false;
        sink = 4;
        litter(6);
        depth = 0;
        int (*volatile go)() = way.go;
        faults = true;
        sink = 4;
        sink = go();
        return true;
    }
    return false;
}

void print_noted_return_addresses() {
    printf("--- truth");
    while (depth > 0)
        printf(" %0*llX", static_cast<int>(2 * sizeof(void*)), 0ull + reinterpret_cast<size_t>(truth[--depth]));
    printf("\n");
}
