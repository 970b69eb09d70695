#pragma once

#include <windows.h>

namespace faultkit {

// Writes a minidump of the process to the file `path`; null pointers write one without a fault. Returns 0 or the
// system's error code. No file is left behind after an error. The caller holds the lock (lock.h).
DWORD write_dump(const char* path, EXCEPTION_POINTERS* pointers);

} // namespace faultkit
