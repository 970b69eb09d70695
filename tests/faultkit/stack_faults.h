// Faults whose stack is the interesting part.
#pragma once

// Commits the fault; false when there is none of that name.
bool commit_stack_fault(const char* name);
