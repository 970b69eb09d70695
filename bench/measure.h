// Times, and the lines in which every benchmark prints them: row, amount of work, contestant, median and least in
// milliseconds, separated by tabs. scripts/bench puts the lines together.
#pragma once

namespace bench {

constexpr unsigned kMostRounds = 1001;

// How many rounds the command line asks for by its first argument: 1 to kMostRounds, or 31 when there is none.
unsigned rounds_of(int argc, char** argv);

double now(); // milliseconds from some fixed moment

// The middle one; sorts the values.
double median(double* values, unsigned count);

void print_line(const char* row, double work, const char* contestant, double median, double least);

struct Contestant {
    const char* name;
    void (*run)();
};

// Runs the contestants round robin, so that what disturbs the machine disturbs all, and prints a line for each. In a
// round each has `repeats` runs, of which the mean counts; the first round doesn't count. At most 8 contestants.
void compare(const char* row, double work, const Contestant* contestants, unsigned count, unsigned rounds,
             unsigned repeats);

} // namespace bench
