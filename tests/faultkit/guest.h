// A DLL that a test host loads, and unloads at the wrong moment.
#pragma once

extern "C" {

// Faults.
int __cdecl guest_fault();

// Calls the function from a frame of its own.
int __cdecl guest_call(void(__cdecl* function)());
}
