// The second try is a transport of its own: a session keeps its access type for life.
#include "net/upload.h"

#include "net/http_transport.h"
#include "net/upload_form.h"

namespace {

// Whether the user's settings name a proxy, or a way to find one.
bool has_proxy() {
    INTERNET_PER_CONN_OPTIONA option = {};
    option.dwOption = INTERNET_PER_CONN_FLAGS;
    INTERNET_PER_CONN_OPTION_LISTA list = {};
    list.dwSize = sizeof list;
    list.dwOptionCount = 1;
    list.pOptions = &option;
    DWORD size = sizeof list;
    return InternetQueryOptionA(nullptr, INTERNET_OPTION_PER_CONNECTION_OPTION, &list, &size) &&
           (option.Value.dwValue & ~static_cast<DWORD>(PROXY_TYPE_DIRECT)) != 0;
}

} // namespace

bool upload(const Destination& to, const char* agent, const void* body, unsigned length, UploadWatcher* watcher) {
    for (DWORD access = INTERNET_OPEN_TYPE_DIRECT;; access = INTERNET_OPEN_TYPE_PRECONFIG) {
        CHttpTransport transport(agent, access);
        transport.SetHeaders(upload_form::kRequestHeaders);
        const char* const answer = transport.Upload(to, body, length, watcher);
        if (answer || access != INTERNET_OPEN_TYPE_DIRECT || !to.proxy_allowed || !transport.IsUnreached() ||
            !has_proxy())
            return upload_form::confirms(answer);
    }
}
