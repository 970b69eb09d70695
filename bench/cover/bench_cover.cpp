// bench_cover: covers its process once and prints the milliseconds that the call took, and how many more threads there
// are then; then the microseconds of a C++ exception that is thrown and caught, before the cover and after.
#include <windows.h>
#include <stdio.h>

#include "bench/measure.h"
#include "include/wendax.h"
#include "testing/cxx/usage.h"

namespace {

void throw_number() {
    throw 1;
}
void (*volatile fail)() = throw_number;

double microseconds_of_a_throw() {
    constexpr int kThrows = 2000;
    const double start = bench::now();
    for (int i = 0; i < kThrows; ++i)
        try {
            fail();
        } catch (int) {
        }
    return (bench::now() - start) * 1000 / kThrows;
}

} // namespace

int main() {
    microseconds_of_a_throw(); // to warm up
    const double throw_before = microseconds_of_a_throw();
    const int threads_before = process_threads();
    const double start = bench::now();
    WendaxCover();
    const double covered = bench::now() - start;
    printf("%f\n%d\n%f\n%f\n", covered, process_threads() - threads_before, throw_before, microseconds_of_a_throw());
    return 0;
}
