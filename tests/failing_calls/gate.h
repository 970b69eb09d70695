// A gate before every call that a DLL makes outside itself. It counts the calls, makes the n-th of a function fail, and
// knows what they hold. One thread at a time, but for those that wait for each other.
#pragma once

#include <windows.h>

// A line of calls.txt. The assembly of the gate knows the first three members.
struct Call {
    const void* original;
    unsigned words; // arguments to hand on
    unsigned pops;  // bytes of them that the function removes
    char library[24];
    char name[112];
    bool never;              // fails: not gated
    bool is_made;            // also when it is to fail
    int answer;              // when it fails
    DWORD error;             // the last error then
    char opens[16];          // kind of what it answers, empty for nothing
    unsigned out;            // the argument, counted from 1, that says where that is put; 0: it is the answer
    char closes[16];         // kind of what it closes
    unsigned closed;         // the argument that names it
    unsigned count;          // of calls while armed
    const void* replacement; // called in place of the original, where the host has one
    void* stub;
};

// Reads calls.txt; false when it can't.
bool read_calls(const char* path);

// The line of that function; null when there is none.
Call* find_call(const char* library, const char* name);

// Called with every line.
void for_each_call(void (*visit)(Call& call));

// Puts gates before everything that the module imports; what it loads from the named libraries gets them as well, and
// so does every function that it looks up. Ends the program when a function is not listed.
void gate_module(HMODULE module);

// From here on calls count, and the n-th of the function fails; null or 0: none.
void arm(const Call* call, unsigned n);
// Counts no more. Whether a call failed.
bool disarm();

// What the window of a dialog gets, once it is there.
extern void (*dialog_made)(HWND dialog);
