// Doing what needs stack when the faulting thread has hardly any left.
#pragma once

#include <stdint.h>

namespace faultkit {

enum class Outcome {
    kDone,
    kNoThread,  // the stack is short and no thread could be started
    kAbandoned, // the thread did not end in time; it may still use its data, now and later
};

// Runs work(data) on the calling thread if its stack has space for the debugging library, otherwise on a thread of its
// own, for which it waits `timeout` milliseconds at most. `data` must be static. After an abandoned thread the library
// stays in memory for good.
Outcome run_on_large_stack(void (*work)(void*), void* data, unsigned timeout);

// Whether a thread was abandoned before: what it uses can't be used any more.
bool was_abandoned();

// Makes the file `path`, replacing what is there, and has fill(file, context) write it. Returns what that does, 0 or
// the system's error code, with no file left behind after an error; ERROR_BUSY after an abandoned thread, and
// ERROR_TIMEOUT where fill() has left one behind.
uint32_t write_file(const char* path, uint32_t (*fill)(void* file, void* context), void* context);

template <class Fill>
uint32_t write_file(const char* path, Fill fill) {
    return write_file(path, [](void* file, void* context) { return (*static_cast<Fill*>(context))(file); }, &fill);
}

} // namespace faultkit
