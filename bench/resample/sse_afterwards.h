// What a piece of work leaves to the SSE code that runs next on the same thread. Use of wider registers can slow that
// down.
#pragma once

namespace bench {

// Prints the time that some SSE code takes right after `work` ("afterwards") and without it ("undisturbed").
void measure_sse_afterwards(const char* row, double amount, void (*work)(), unsigned rounds);

} // namespace bench
