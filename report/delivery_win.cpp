// The functions of include/wendax_delivery.h.
#include "report/delivery.h"

#include "include/wendax.h"

#include "net/unsent_folder.h"
#include "net/upload.h"
#include "report/destinations.h"

namespace {

wchar_t folder_of_unsent[unsent::kMostFolder];
int progress_flag;
int contents_flag;

unsent::Outcome send(const char* url, bool proxy_allowed, const char* body, unsigned length) {
    try {
        const Destination to = destination_of(url, proxy_allowed);
        if (to.url.empty())
            return unsent::kDamaged;
        if (upload(to, record_application(kDestinations).name, body, length))
            return unsent::kSent;
    } catch (const gen::genlib_error&) {
    }
    return unsent::kRemains;
}

} // namespace

namespace report {

UploadWatcher* upload_watcher;
const SentContents* sent_contents;

const wchar_t* unsent_folder() {
    return folder_of_unsent;
}

bool progress_is_shown() {
    return progress_flag != 0;
}

bool contents_are_shown() {
    return contents_flag != 0;
}

} // namespace report

extern "C" int __cdecl WendaxKeepUnsent(const wchar_t* folder) {
    *folder_of_unsent = L'\0';
    if (!folder || !*folder)
        return 1;
    const DWORD length = GetFullPathNameW(folder, unsent::kMostFolder, folder_of_unsent, nullptr);
    if (length > 0 && length < unsent::kMostFolder)
        return 1;
    *folder_of_unsent = L'\0';
    return 0;
}

extern "C" int __cdecl WendaxSendUnsent(WendaxUnsent* result) {
    int counts[unsent::kOutcomes] = {};
    const bool begun = *folder_of_unsent && unsent::send_all(folder_of_unsent, send, counts);
    if (result)
        *result = {counts[unsent::kSent], counts[unsent::kRemains], counts[unsent::kDamaged]};
    return begun;
}

extern "C" int __cdecl WendaxShowProgress(int flag) {
    progress_flag = flag;
    return flag;
}

extern "C" int __cdecl WendaxShowContents(int flag) {
    contents_flag = flag;
    return flag;
}
