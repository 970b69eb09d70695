// What the upload dialog says while it works.
#pragma once

namespace report {

// Windows-1251 bytes, given to the control as they stand: they must never be converted.
extern const char kUploadWaitText[];
extern const char kUploadFailureText[];

// English, unlike the other two; kept.
extern const char kUploadSuccessText[];

} // namespace report
