// What several layers do with files, straight through the system: nothing here takes memory, of the runtime's heap in
// particular.
#pragma once

#include <windows.h>
#include <stddef.h>
#include <stdint.h>

namespace win {

// Makes the file hold these bytes and no others; whether it does. A file of which not all could be written keeps what
// there was space for. Others may read and write it meanwhile.
bool write_whole_file(const char* path, const void* data, size_t size);

// Writes all these bytes where the file stands; whether it has.
bool write_all(HANDLE file, const void* data, size_t size);

// The last error, or the other where the system has told none.
inline DWORD last_error_or(DWORD otherwise) {
    const DWORD error = GetLastError();
    return error ? error : otherwise;
}

enum class Claim { kMade, kTaken, kFailed };

// Makes an empty file where there is none of that name. kTaken: there is one already; kFailed: there can be none.
Claim claim_file(const char* path);

// The bytes of an open file; -1 where the system can't tell (a pipe).
int64_t file_size(HANDLE file);

} // namespace win
