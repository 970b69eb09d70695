// The system's time as one number: UTC, in units of 100 ns since 1601.
#pragma once

#include <stdint.h>
#include <windows.h>

namespace win {

constexpr uint64_t kTicksASecond = 10'000'000;

constexpr uint64_t ticks_of(const FILETIME& time) {
    return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

constexpr FILETIME file_time(uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Now. Asks no runtime and takes no lock.
inline uint64_t system_time() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return ticks_of(now);
}

} // namespace win
