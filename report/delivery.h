// What hosts ask for by include/wendax_delivery.h, for the upload report.
#pragma once

struct UploadWatcher;

namespace report {

// The folder of reports that couldn't be sent, as a full path; "" for none.
const wchar_t* unsent_folder();

// Whether the dialog shows how far an upload is.
bool progress_is_shown();

// Whether the dialog lets the user see what is sent.
bool contents_are_shown();

// Who sees the upload that the dialog has begun; null for an upload of the host's own.
extern UploadWatcher* upload_watcher;
// What the user was shown of it; null where nothing was.
class SentContents;
extern const SentContents* sent_contents;

} // namespace report
