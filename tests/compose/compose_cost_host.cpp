// Composes a message with the attachments given and writes it: compose_cost_host MESSAGE FILE... Prints the peaks of
// the process's memory before and after, in bytes.
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

} // namespace

int main(int count, char** arguments) {
    if (count < 2)
        return 2;
    print_peaks("before");
    CEmailTool mail;
    mail.Compose("Subject", "Body", "who@example.com", nullptr);
    for (int i = 2; i < count; ++i)
        mail.AddAttachment(arguments[i]);
    mail.WriteToFile(arguments[1]);
    print_peaks("after");
    return 0;
}
