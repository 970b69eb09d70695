// What the upload dialog says while it works.
#pragma once

namespace report {

// Windows-1251 bytes, given to the control as they stand: they must never be converted.
extern const char upload_wait_text[];
extern const char upload_failure_text[];

// English, unlike the other two; kept.
extern const char upload_success_text[];

} // namespace report
