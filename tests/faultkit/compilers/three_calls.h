// Faults three calls deep, over a stack that earlier calls have littered.
#pragma once

// Returns false for an unknown name.
bool commit_three_calls(const char* name);

// Prints the return addresses that were noted on the way to the fault, innermost first, after "--- truth".
void print_noted_return_addresses();
