// Times, and the lines in which every benchmark prints them: row, amount of work, contestant, median and least in
// milliseconds, separated by tabs. scripts/bench puts the lines together.
#pragma once

namespace bench {

constexpr unsigned kMostRounds = 1001;

double now(); // milliseconds from some fixed moment

// The middle one; sorts the values.
double median(double* values, unsigned count);

void print_line(const char* row, double work, const char* contestant, double median, double least);

struct Contestant {
    const char* name;
    void (*run)();
};

// Lets the contestants take turns, so that what disturbs the machine disturbs all, and prints a line for each. A turn
// is `repeats` runs, of which the mean counts; each has one turn before, which doesn't count. At most 8 contestants.
void take_turns(const char* row, double work, const Contestant* contestants, unsigned count, unsigned rounds,
                unsigned repeats);

} // namespace bench
