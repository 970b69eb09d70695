// What hosts ask for by include/wendax_delivery.h, for the upload report.
#pragma once

struct UploadWatcher;

namespace report {

// The folder of reports that couldn't be sent, as a full path; "" for none.
const wchar_t* unsent_folder();

// Whether the dialog shows how far an upload is.
bool progress_is_shown();

// Who sees the upload that the dialog has begun; null for an upload of the host's own.
extern UploadWatcher* upload_watcher;

} // namespace report
