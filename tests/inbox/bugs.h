// Thirty bugs of a made-up drawing program, each in code of its own, as different as bugs of one program are.
#pragma once

#define BUGS_NOINLINE __attribute__((noinline))

constexpr int kHostBugs = 24; // 0 to 23
constexpr int kBugs = 30;     // the others are the plugin's

// Commits the bug. seed: what differs between two users who meet it.
void commit_host_bug(int number, unsigned seed);

extern "C" void __cdecl plugin_bug(int number, unsigned seed);

// Code that other versions don't have, so that everything behind it lies elsewhere.
template <int N>
struct Padding {
    BUGS_NOINLINE static int stretch(int value) {
        volatile int values[N * 3 + 1] = {};
        for (int i = 0; i < N * 3; ++i)
            values[i] = value * i + N;
        return values[N] + Padding<N - 1>::stretch(value + N);
    }
};

template <>
struct Padding<0> {
    static int stretch(int value) { return value; }
};
