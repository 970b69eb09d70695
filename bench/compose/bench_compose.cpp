// bench_compose FILE MESSAGE: composes a message with the file and writes it. Prints the milliseconds and, as a line
// of its own, by how many bytes the peak of the process's memory rose, the pages of the mapped file included.
#include <windows.h>
#include <psapi.h>
#include <stdio.h>

#include "bench/measure.h"
#include "compose/email_tool.h"

namespace {

double peak() {
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof(memory);
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    return static_cast<double>(memory.PeakWorkingSetSize);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    const double before = peak();
    const double start = bench::now();
    {
        CEmailTool mail;
        mail.Compose("Subject", "Body", "who@example.com", arguments[1]);
        mail.WriteToFile(arguments[2]);
    }
    printf("%f\n%.0f\n", bench::now() - start, peak() - before);
    return 0;
}
