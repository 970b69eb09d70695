// Threads that are there while another one fails.
#pragma once

#include <windows.h>

// Starts one that does what its kind says, and returns when it is at it: wait (for ever), spin, heap (allocates and
// frees all the time), loader (loads and frees a library all the time), hold-heap (holds the heap's lock for two
// seconds), suspended (before its first instruction), refusing (suspended so often that it can't be once more), deep
// (waits 3,000 calls deep), alternate (goes down and up two ways in turn), free (spins, and never loses its registers).
void start_companion(const char* kind);

// Makes the registers of threads that start_companion started out of reach: a library that asks for them waits for
// ever.
void keep_registers_back(HMODULE library);
