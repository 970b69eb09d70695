// Times come from the clock with the finest steps; medians and least times are taken from all rounds.
#include "bench/measure.h"

#include <stdio.h>
#include <stdlib.h>
#ifdef _WIN32
#include <windows.h>
#else
#include <time.h>
#endif

namespace bench {

namespace {

int by_size(const void* a, const void* b) {
    const double x = *static_cast<const double*>(a), y = *static_cast<const double*>(b);
    return x < y ? -1 : x > y;
}

double mean_time(const Contestant& contestant, unsigned repeats) {
    const double start = now();
    for (unsigned i = 0; i < repeats; ++i)
        contestant.run();
    return (now() - start) / repeats;
}

} // namespace

unsigned rounds_of(int argc, char** argv) {
    const int wanted = argc > 1 ? atoi(argv[1]) : 31;
    return wanted < 1 ? 1 : static_cast<unsigned>(wanted) > kMostRounds ? kMostRounds : static_cast<unsigned>(wanted);
}

double now() {
#ifdef _WIN32
    LARGE_INTEGER frequency, count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    return 1000.0 * static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
#else
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return 1000.0 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e6;
#endif
}

double median(double* values, unsigned count) {
    qsort(values, count, sizeof *values, by_size);
    return count % 2 ? values[count / 2] : (values[count / 2 - 1] + values[count / 2]) / 2;
}

void print_line(const char* row, double work, const char* contestant, double median, double least) {
    printf("%s\t%.0f\t%s\t%.6f\t%.6f\n", row, work, contestant, median, least);
    fflush(stdout);
}

void compare(const char* row, double work, const Contestant* contestants, unsigned count, unsigned rounds,
             unsigned repeats) {
    static double times[8][kMostRounds];
    for (unsigned i = 0; i < count; ++i)
        mean_time(contestants[i], repeats);
    for (unsigned round = 0; round < rounds; ++round)
        for (unsigned i = 0; i < count; ++i)
            times[i][round] = mean_time(contestants[i], repeats);
    for (unsigned i = 0; i < count; ++i) {
        const double middle = median(times[i], rounds);
        print_line(row, work, contestants[i].name, middle, times[i][0]);
    }
}

} // namespace bench
