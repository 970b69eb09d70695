// The functions differ in what a stack walker has to cope with: size of the frame, saved registers, arguments on the
// stack and in registers, who clears them, whether a frame pointer is kept, and how the next one is called. Each notes
// its return address; earlier descents that end well litter the stack with stale ones.
#include "testing/cxx/random_descent.h"

#include <windows.h>
#include <malloc.h>
#include <stdint.h>
#include <stdio.h>

namespace {

constexpr int kShapes = 48, kDeepest = 40;

struct Descent {
    unsigned random;
    int depth, end;
    bool faults;
    void* truth[kDeepest + 1];

    unsigned next() {
        random = random * 1664525 + 1013904223;
        return random >> 16;
    }
};

volatile int sink;
volatile int zero;

int step(Descent* descent);

#define NOTE_RETURN_ADDRESS(descent) (descent)->truth[(descent)->depth++] = __builtin_return_address(0)

template <int N>
struct Plain {
    __attribute__((noinline)) static int __cdecl go(Descent* descent, int a, int b) {
        NOTE_RETURN_ADDRESS(descent);
        volatile char buffer[N * 24 + 1]; // not initialised: it keeps what earlier descents left
        buffer[N] = static_cast<char>(a);
        const int below = step(descent);
        --descent->depth;
        return below + a * b + buffer[N];
    }
};

template <int N>
struct Standard {
    __attribute__((noinline)) static int __stdcall go(Descent* descent, int a, int b, int c) {
        NOTE_RETURN_ADDRESS(descent);
        volatile int values[N + 1];
        values[N / 2] = b;
        const int below = step(descent) + step(descent);
        --descent->depth;
        return below + a + c * values[N / 2];
    }
};

template <int N>
struct Fast {
    __attribute__((noinline)) static int __fastcall go(Descent* descent, int a) {
        NOTE_RETURN_ADDRESS(descent);
        const int below = step(descent) * N + a;
        --descent->depth;
        return below;
    }
};

template <int N>
struct Framed {
    // A size that is known at run time needs a frame pointer.
    __attribute__((noinline)) static int go(Descent* descent, int a) {
        NOTE_RETURN_ADDRESS(descent);
        volatile char* buffer = static_cast<volatile char*>(_alloca(static_cast<unsigned>(N * 8 + (a & 63) + 1)));
        buffer[a & 7] = 1;
        const int below = step(descent) + buffer[a & 7];
        --descent->depth;
        return below;
    }
};

struct Witness {
    explicit Witness(int value) : value(value) {}
    ~Witness() { sink = value; }
    int value;
};

template <int N>
struct Handled {
    __attribute__((noinline)) static int go(Descent* descent) {
        NOTE_RETURN_ADDRESS(descent);
        Witness witness(N);
        const int below = step(descent) + witness.value;
        --descent->depth;
        return below;
    }
};

struct Base {
    virtual int go(Descent* descent, int a) = 0;
};

template <int N>
struct Virtual : Base {
    __attribute__((noinline)) int go(Descent* descent, int a) override {
        NOTE_RETURN_ADDRESS(descent);
        volatile int values[N * 5 + 1];
        values[N] = a;
        const int below = step(descent) + values[N] + extra;
        --descent->depth;
        return below;
    }
    int extra = N;
};

template <int N>
__attribute__((always_inline)) inline int call_shape(Descent* descent, unsigned choice) {
    static Virtual<N> object;
    static Base* volatile base = &object;
    static int (*volatile pointer)(Descent*, int) = Framed<N>::go;
    static int(__stdcall* volatile standard)(Descent*, int, int, int) = Standard<N>::go;
    const int a = static_cast<int>(choice);
    switch (choice % 8) {
    case 0:
        return Plain<N>::go(descent, a, 2) + 1;
    case 1:
        return Standard<N>::go(descent, a, 2, 3) + 1;
    case 2:
        return Fast<N>::go(descent, a) + 1;
    case 3:
        return Framed<N>::go(descent, a) + 1;
    case 4:
        return Handled<N>::go(descent) + 1;
    case 5:
        return base->go(descent, a) + 1;
    case 6:
        return pointer(descent, a) + 1;
    default:
        return standard(descent, a, 2, 3) + 1;
    }
}

typedef int (*Dispatch)(Descent*, unsigned);

template <int N>
struct Table {
    static int dispatch(Descent* descent, unsigned choice) {
        NOTE_RETURN_ADDRESS(descent);
        const int result = call_shape<N>(descent, choice);
        --descent->depth;
        return result + 1;
    }
    static void fill(Dispatch* table) {
        table[N] = dispatch;
        Table<N - 1>::fill(table);
    }
};

template <>
struct Table<-1> {
    static void fill(Dispatch*) {}
};

Dispatch table[kShapes];

void print_truth(const Descent* descent) {
    printf("--- truth");
    for (int i = descent->depth; i-- > 0;)
        printf(" %0*llX", static_cast<int>(2 * sizeof(void*)), 0ull + reinterpret_cast<uintptr_t>(descent->truth[i]));
    printf("\n");
}

__attribute__((noinline)) int step(Descent* descent) {
    if (descent->depth >= descent->end || descent->depth + 3 > kDeepest) {
        if (!descent->faults)
            return 1;
        NOTE_RETURN_ADDRESS(descent);
        print_truth(descent);
        *reinterpret_cast<volatile int*>(zero) = 1;
        return 1;
    }
    NOTE_RETURN_ADDRESS(descent);
    const unsigned shape = descent->next() % kShapes;
    const int result = table[shape](descent, descent->next());
    --descent->depth;
    return result + 1;
}

} // namespace

void commit_random_descent(unsigned seed) {
    Table<kShapes - 1>::fill(table);
    Descent descent = {};
    descent.random = seed;
    for (int i = 0; i < 4; ++i) {
        descent.end = 6 + static_cast<int>(descent.next() % 10);
        descent.depth = 0;
        sink = step(&descent);
    }
    descent.faults = true;
    descent.depth = 0;
    descent.end = 12 + static_cast<int>(descent.next() % (kDeepest - 15));
    sink = step(&descent);
}
