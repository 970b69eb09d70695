// bench_resample [ROUNDS]: shrinks screens to 512 x 512, in 24 and 32 bits, the contestants round robin. Lines of rows
// that end in "error" tell how close each comes to the ideal: the root mean square and the greatest error, in levels.
// In the end the two vector loops are compared over pictures of many widths.
#include <stdio.h>
#include <stdlib.h>

#include "bench/measure.h"
#include "bench/resample/contestants.h"
#include "bench/resample/picture.h"
#include "bench/resample/sse_afterwards.h"
#include "testing/cxx/reference_scale.h"

namespace {

constexpr unsigned kSide = 512;
constexpr unsigned kMostContestants = 8;

bench::Task task;
bool done = true;

// The contestants of compare() take no argument.
template <unsigned I>
void run_contestant() {
    done = bench::kScalers[I].run(task) && done;
}

bool ideal_of(double* ideal) {
    const unsigned channels = task.bpp / 8;
    const size_t count = static_cast<size_t>(task.width) * task.height * channels;
    double* exact = static_cast<double*>(malloc(count * sizeof(double)));
    if (!exact)
        return false;
    for (size_t i = 0; i < count; ++i)
        exact[i] = task.source[i];
    const bool scaled =
        kobrtl::reference_scale(kobrtl::ReferenceFilter::cubic, exact, static_cast<int>(task.width),
                                static_cast<int>(task.height), static_cast<int>(channels), ideal, kSide, kSide);
    free(exact);
    return scaled;
}

void measure(const char* row, unsigned rounds, const double* ideal) {
    const size_t values = static_cast<size_t>(kSide) * kSide * (task.bpp / 8);
    const double work = static_cast<double>(task.width) * task.height;
    char other_row[64];
    snprintf(other_row, sizeof other_row, "%s, error", row);
    constexpr void (*kRuns[])() = {run_contestant<0>, run_contestant<1>, run_contestant<2>,
                                   run_contestant<3>, run_contestant<4>, run_contestant<5>};
    bench::Contestant contestants[kMostContestants];
    for (unsigned i = 0; i < bench::kScalerCount; ++i) {
        contestants[i] = {bench::kScalers[i].name, kRuns[i]};
        kRuns[i]();
        if (ideal && bench::kScalers[i].scales) {
            const bench::Closeness closeness = bench::compare(task.result, ideal, values);
            bench::print_line(other_row, work, contestants[i].name, closeness.rms, closeness.greatest);
        }
    }
    bench::compare(row, work, contestants, bench::kScalerCount, rounds, 1);
    snprintf(other_row, sizeof other_row, "%s, SSE code afterwards", row);
    bench::measure_sse_afterwards(other_row, work, kRuns[0], rounds);
}

// The two vector loops alone: the wider one may be slower nowhere.
void compare_loops(unsigned width, unsigned rounds) {
    const unsigned height = width * 9 / 16;
    uint8_t* source = static_cast<uint8_t*>(malloc(static_cast<size_t>(width) * height * 3));
    uint8_t* result = static_cast<uint8_t*>(malloc(kSide * kSide * 3));
    done = done && source && result;
    if (done) {
        bench::draw_screen(source, width, height, 24);
        task = {source, width, height, 24, result, kSide, kSide};
        const bench::Contestant loops[] = {{bench::kScalers[0].name, run_contestant<0>},
                                           {bench::kScalers[1].name, run_contestant<1>}};
        char row[64];
        snprintf(row, sizeof row, "resample from a width of %u", width);
        bench::compare(row, static_cast<double>(width) * height, loops, 2, rounds, 1);
    }
    free(result);
    free(source);
}

// The ideal of a large picture would not fit into a 32-bit process.
void run(unsigned width, unsigned height, unsigned bpp, unsigned rounds, bool with_ideal) {
    const size_t length = static_cast<size_t>(width) * height * (bpp / 8);
    uint8_t* source = static_cast<uint8_t*>(malloc(length));
    uint8_t* result = static_cast<uint8_t*>(malloc(kSide * kSide * 4));
    double* ideal = with_ideal ? static_cast<double*>(malloc(kSide * kSide * 4 * sizeof(double))) : nullptr;
    char row[64];
    snprintf(row, sizeof row, "resample %u x %u, %u bits", width, height, bpp);
    done = done && source && result && (ideal || !with_ideal);
    if (done) {
        bench::draw_screen(source, width, height, bpp);
        task = {source, width, height, bpp, result, kSide, kSide};
        done = !ideal || ideal_of(ideal);
    }
    if (done)
        measure(row, rounds, ideal);
    free(ideal);
    free(result);
    free(source);
}

} // namespace

int main(int argc, char** argv) {
    const unsigned rounds = bench::rounds_of(argc, argv);
    if (!bench::start_gdiplus()) {
        printf("can't start GDI+\n");
        return 1;
    }
    for (unsigned bpp = 24; bpp <= 32; bpp += 8) {
        run(1920, 1080, bpp, rounds, true);
        run(3840, 2160, bpp, rounds, true);
    }
    // A tenth and ten times of the first.
    run(640, 324, 24, rounds, false);
    run(6400, 3240, 24, rounds < 5 ? rounds : 5, false);
    const unsigned widths[] = {640, 1024, 1280, 1920, 2048, 2560, 3072, 3840, 4096, 5120, 6144, 6400, 7680, 8192};
    for (const unsigned width : widths)
        compare_loops(width, rounds);
    bench::stop_gdiplus();
    return done ? 0 : 1;
}
