// The faults that a test host can commit, by name.
#pragma once

// Commits the fault; false when there is none of that name. Returns true when the fault, against expectation, had no
// consequence.
bool commit_fault(const char* name);
