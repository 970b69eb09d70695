// One of each kind of fault, to press a button for.
#pragma once

struct Fault {
    const wchar_t* name;
    void (*commit)();
};

extern const Fault kFaults[];
extern const int kFaultCount;
