// The faults that a test host can commit, by name.
#pragma once

#include <string.h>

struct Fault {
    const char* name;
    void (*commit)();
};

// The one of a list that has the name; null when there is none.
template <unsigned Count>
auto find_fault(const Fault (&faults)[Count], const char* name) -> decltype(Fault::commit) {
    for (const Fault& fault : faults)
        if (strcmp(fault.name, name) == 0)
            return fault.commit;
    return nullptr;
}

// Commits a fault that every program knows; false when there is none of that name. Returns true when the fault, against
// expectation, had no consequence.
bool commit_fault(const char* name);
