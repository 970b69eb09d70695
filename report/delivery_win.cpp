// The functions of include/wendax_delivery.h.
#include "report/delivery.h"

#include "include/wendax.h"

#include "base/floating_point_scope.h"
#include "net/unsent_folder.h"

namespace {

wchar_t folder_of_unsent[unsent::kMostFolder];
int progress_flag;

} // namespace

namespace report {

UploadWatcher* upload_watcher;

const wchar_t* unsent_folder() {
    return folder_of_unsent;
}

bool progress_is_shown() {
    return progress_flag != 0;
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
    const gen::FloatingPointScope floating_point;
    unsent::Counts counts = {};
    bool begun = false;
    if (*folder_of_unsent) {
        try {
            begun = unsent::send_all(folder_of_unsent, "Lumivale", counts);
        } catch (const gen::genlib_error&) {
        }
    }
    if (result)
        *result = {counts.sent, counts.remaining, counts.damaged};
    return begun;
}

extern "C" int __cdecl WendaxShowProgress(int flag) {
    progress_flag = flag;
    return flag;
}
