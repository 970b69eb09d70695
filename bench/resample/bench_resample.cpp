// bench_resample.exe [ROUNDS [FILE]]: shrinks screens of two sizes and two depths to 512 x 512 and prints a table; FILE
// receives the same figures as lines of comma-separated values. The contestants take turns, so that what disturbs the
// machine disturbs all; the time is the median, and beside it stands the least. The ratios are those of the medians.
#include <stdio.h>
#include <stdlib.h>

#include "bench/resample/contestants.h"
#include "bench/resample/measure.h"
#include "companions/kobrtl/reference_scale.h"

namespace {

constexpr unsigned kSide = 512;
constexpr unsigned kMostRounds = 1001;
constexpr unsigned kMostContestants = 8;

double times[kMostContestants][kMostRounds];

bool ideal_of(const bench::Task& task, double* ideal) {
    const unsigned channels = task.bpp / 8;
    const size_t count = static_cast<size_t>(task.width) * task.height * channels;
    double* exact = static_cast<double*>(malloc(count * sizeof(double)));
    if (!exact)
        return false;
    for (size_t i = 0; i < count; ++i)
        exact[i] = task.source[i];
    const bool done =
        kobrtl::reference_scale(kobrtl::ReferenceFilter::cubic, exact, static_cast<int>(task.width),
                                static_cast<int>(task.height), static_cast<int>(channels), ideal, kSide, kSide);
    free(exact);
    return done;
}

bool measure(const bench::Task& task, unsigned rounds, const double* ideal, FILE* file) {
    const size_t values = static_cast<size_t>(kSide) * kSide * (task.bpp / 8);
    const unsigned last = bench::kContestantCount - 1;
    bench::Closeness closeness[kMostContestants] = {};
    for (unsigned i = 0; i <= last; ++i) {
        if (!bench::kContestants[i].run(task)) {
            printf("%s can't do it\n", bench::kContestants[i].name);
            return false;
        }
        if (bench::kContestants[i].scales)
            closeness[i] = bench::compare(task.result, ideal, values);
    }
    for (unsigned round = 0; round < rounds; ++round)
        for (unsigned i = 0; i <= last; ++i) {
            const double start = bench::now();
            bench::kContestants[i].run(task);
            times[i][round] = bench::now() - start;
        }
    double medians[kMostContestants];
    for (unsigned i = 0; i <= last; ++i)
        medians[i] = bench::median(times[i], rounds); // sorts: the least comes first

    printf("\n%u x %u, %u bits, to %u x %u\n", task.width, task.height, task.bpp, kSide, kSide);
    printf("%-17s | %9s %9s %9s %9s | %8s %9s %9s %10s\n", "", "median ms", "least ms", "of ours", "of read",
           "greatest", "mean err", "rms err", "misrounded");
    for (unsigned i = 0; i <= last; ++i) {
        const bench::Contestant& contestant = bench::kContestants[i];
        printf("%-17s | %9.3f %9.3f %8.2fx %8.2fx |", contestant.name, medians[i], times[i][0], medians[i] / medians[0],
               medians[i] / medians[last]);
        if (contestant.scales)
            printf(" %8.4f %9.6f %9.6f %9.4f%%", closeness[i].greatest, closeness[i].mean, closeness[i].rms,
                   100 * closeness[i].misrounded);
        printf("\n");
        if (file)
            fprintf(file, "%ux%ux%u,%s,%.4f,%.4f,%.4f,%.6f,%.6f,%.6f\n", task.width, task.height, task.bpp,
                    contestant.name, medians[i], times[i][0], closeness[i].greatest, closeness[i].mean,
                    closeness[i].rms, closeness[i].misrounded);
    }
    return true;
}

bool run(unsigned width, unsigned height, unsigned bpp, unsigned rounds, FILE* file) {
    const size_t length = static_cast<size_t>(width) * height * (bpp / 8);
    uint8_t* source = static_cast<uint8_t*>(malloc(length));
    uint8_t* result = static_cast<uint8_t*>(malloc(kSide * kSide * 4));
    double* ideal = static_cast<double*>(malloc(kSide * kSide * 4 * sizeof(double)));
    bool done = false;
    if (source && result && ideal) {
        bench::draw_screen(source, width, height, bpp);
        const bench::Task task = {source, width, height, bpp, result, kSide, kSide};
        done = ideal_of(task, ideal) && measure(task, rounds, ideal, file);
    }
    free(ideal);
    free(result);
    free(source);
    return done;
}

} // namespace

int main(int argc, char** argv) {
    const int wanted = argc > 1 ? atoi(argv[1]) : 31;
    const unsigned rounds = wanted < 1 ? 1 : wanted > static_cast<int>(kMostRounds) ? kMostRounds : wanted;
    FILE* file = argc > 2 ? fopen(argv[2], "w") : nullptr;
    if ((argc > 2 && !file) || !bench::start_gdiplus()) {
        printf("can't start\n");
        return 1;
    }
    if (file)
        fprintf(file, "task,contestant,median_ms,least_ms,greatest_error,"
                      "mean_error,rms_error,misrounded\n");
    bool done = true;
    for (unsigned bpp = 24; bpp <= 32; bpp += 8)
        done = run(1920, 1080, bpp, rounds, file) && run(3840, 2160, bpp, rounds, file) && done;
    bench::stop_gdiplus();
    if (file)
        fclose(file);
    return done ? 0 : 1;
}
