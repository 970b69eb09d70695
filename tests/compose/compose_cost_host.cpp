// Composes a message with the attachments given and writes it: compose_cost_host MESSAGE FILE... Prints the peaks of
// the process's memory before and after, in bytes, and the milliseconds of each step.
#include <windows.h>
#include <psapi.h>
#include <stdio.h>

#include "compose/email_tool.h"

namespace {

void print_peaks(const char* when) {
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof(memory);
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    printf("%s working set: %llu\n", when, static_cast<unsigned long long>(memory.PeakWorkingSetSize));
    printf("%s private: %llu\n", when, static_cast<unsigned long long>(memory.PeakPagefileUsage));
}

class Clock {
public:
    Clock() { QueryPerformanceCounter(&m_start); }
    void print(const char* step) const {
        LARGE_INTEGER now, frequency;
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&frequency);
        printf("%s ms: %.1f\n", step, 1000.0 * (now.QuadPart - m_start.QuadPart) / frequency.QuadPart);
    }

private:
    LARGE_INTEGER m_start;
};

} // namespace

int main(int count, char** arguments) {
    if (count < 2)
        return 2;
    print_peaks("before");
    CEmailTool mail;
    {
        const Clock clock;
        mail.Compose("Subject", "Body", "who@example.com", nullptr);
        for (int i = 2; i < count; ++i)
            mail.AddAttachment(arguments[i]);
        clock.print("compose");
    }
    print_peaks("composed");
    const Clock clock;
    mail.WriteToFile(arguments[1]);
    clock.print("write");
    print_peaks("written");
    return 0;
}
