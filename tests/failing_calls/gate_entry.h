// What stands between a caller and the gate: code of each machine's own.
#pragma once

#include "tests/failing_calls/gate.h"

constexpr unsigned kStubSize = 32;

// Writes the code that a caller is led to: it enters the gate with its call.
void write_stub(unsigned char* code, const Call& call);

// What the gate does, for the code of gate_entry.cpp. arguments: in units of an address; of a member function with 64
// bits the object comes first.
extern "C" {

// What to call; null when the call fails instead.
const void* __cdecl gate_before(Call* call, const uintptr_t* arguments);
intptr_t __cdecl gate_failed(const Call* call);
intptr_t __cdecl gate_after(const Call* call, const uintptr_t* arguments, intptr_t answer, const void* caller);
}
