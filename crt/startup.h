// What an image does before DllMain or main runs and after it is done: its stack cookie, its static objects.
#pragma once

#include <stdint.h>

// The value that guarded functions put between their buffers and their return address, and compare before they return.
extern "C" uintptr_t __security_cookie;

namespace crt {

// What the cookie is when the image is linked. The loader of Windows 8 and later looks for it, to put a random number
// in its place.
inline constexpr uintptr_t kUnmadeCookie =
    sizeof(uintptr_t) == 8 ? static_cast<uintptr_t>(0x00002B992DDFA232) : 0xBB40E64E;

// Gives the cookie a value of this process's own, unless the loader has done so. For an image's entry point, before any
// guarded function runs: one that is on the stack meanwhile would find its cookie changed.
void make_security_cookie();

// Runs the image's static initialisers in link order. Called once, before DllMain or main.
void run_initializers();

// Runs what the initialisers registered with atexit, last first. Called once, when the image goes.
void run_exit_functions();

} // namespace crt
