// A GET is one call of WinINet's; a POST opens connection and request itself. To any port but 80 a plain POST goes by
// TLS, with the certificate's name and dates unchecked; to a secure destination each of its flaws is an error. Answers
// are in malloc's memory: running out is a result.
#include "net/http_transport.h"

#include <stdlib.h>
#include <string.h>

namespace {

constexpr DWORD kClearFlags = INTERNET_FLAG_NO_CACHE_WRITE;
constexpr DWORD kSecureFlags = INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_SECURE |
                               INTERNET_FLAG_IGNORE_CERT_CN_INVALID | INTERNET_FLAG_IGNORE_CERT_DATE_INVALID;
static_assert(kClearFlags == 0x04000000 && kSecureFlags == 0x04803000);
// Flags that are chosen by the port.
constexpr DWORD kByPort = 0;
constexpr DWORD kStrictFlags = INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_SECURE | INTERNET_FLAG_NO_AUTO_REDIRECT;

constexpr DWORD kChunk = 8191;
constexpr DWORD kBlock = 16 << 10;

void copy_text(char* to, const char* text, DWORD length) {
    memcpy(to, text, length);
    to[length] = 0;
}

} // namespace

CHttpTransport::CHttpTransport(const char* agent, DWORD access)
    : m_headers("Content-Type: application/x-www-form-urlencoded") {
    m_session = InternetHandle(InternetOpenA(agent, access, nullptr, nullptr, 0));
    if (!m_session)
        Fail(GetLastError());
}

CHttpTransport::~CHttpTransport() {
    free(m_answer);
    free(m_second_text);
    // Closing a connection would close its requests as well, so they go first.
    m_request.reset();
    m_connection.reset();
}

void CHttpTransport::SetHeaders(const char* headers) {
    m_headers = headers ? headers : "";
}

const char* CHttpTransport::Request(const char* url, bool post, const void* body, DWORD length) {
    if (!url) {
        Fail(kNoUrl);
        return nullptr;
    }
    if (!(post ? Post(url, kByPort, body, length) : Get(url, 0)))
        return nullptr;
    return ReadAnswer();
}

const char* CHttpTransport::Upload(const Destination& to, const void* body, DWORD length, UploadWatcher* watcher) {
    if (to.url.empty()) {
        Fail(kNoUrl);
        return nullptr;
    }
    if (!Post(to.url.c_str(), to.secure ? kStrictFlags : kByPort, body, length, watcher) ||
        (to.secure && !FollowRedirects(to.url))) {
        return nullptr;
    }
    return ReadAnswer();
}

bool CHttpTransport::Get(const char* url, DWORD flags) {
    m_request.reset();
    m_request = InternetHandle(InternetOpenUrlA(m_session.get(), url, nullptr, 0, flags, 0));
    return m_request || Fail(GetLastError());
}

// By hand, with a GET for each: WinINet is told to follow none (kStrictFlags), so that every URL is looked at first.
bool CHttpTransport::FollowRedirects(CStdString url) {
    for (int left = 5;; --left) {
        DWORD status = 0;
        DWORD size = sizeof status;
        HttpQueryInfoA(m_request.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size, nullptr);
        if (status / 100 != 3)
            return true;
        CStdString location, next;
        size = INTERNET_MAX_URL_LENGTH;
        char* const place = location.get_buffer(size);
        DWORD next_size = size;
        const bool told = HttpQueryInfoA(m_request.get(), HTTP_QUERY_LOCATION, place, &size, nullptr) &&
                          InternetCombineUrlA(url.c_str(), place, next.get_buffer(next_size), &next_size, 0);
        next.release_buffer();
        if (!told || left == 0 || !destination_of(next.c_str(), false).secure)
            return Fail(ERROR_HTTP_REDIRECT_FAILED);
        url = next;
        if (!Get(url.c_str(), kStrictFlags))
            return false;
    }
}

bool CHttpTransport::Post(const char* url, DWORD flags, const void* body, DWORD length, UploadWatcher* watcher) {
    // A part with a length is wanted, by its place in the URL. Extra information is not, so the path keeps the query.
    URL_COMPONENTSA parts = {};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = 1;
    parts.dwUrlPathLength = 1;
    if (!InternetCrackUrlA(url, 0, 0, &parts))
        return Fail(GetLastError());
    m_connection.reset(); // Kept: before its request, which goes with it; that one's own closing then finds nothing.
    const size_t host_size = parts.dwHostNameLength + size_t{1};
    const win::Block host_and_path(malloc(host_size + parts.dwUrlPathLength + 1));
    if (!host_and_path)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    char* const host = static_cast<char*>(host_and_path.get());
    char* const path = host + host_size;
    copy_text(host, parts.lpszHostName, parts.dwHostNameLength);
    copy_text(path, parts.lpszUrlPath, parts.dwUrlPathLength);
    m_request.reset();

    m_connection = InternetHandle(InternetConnectA(m_session.get(), host, parts.nPort, "", "", INTERNET_SERVICE_HTTP,
                                                   INTERNET_FLAG_NO_CACHE_WRITE, 0));
    if (!m_connection)
        return Fail(GetLastError());
    const char* accept[] = {"*/*", nullptr};
    if (flags == kByPort)
        flags = parts.nPort == INTERNET_DEFAULT_HTTP_PORT ? kClearFlags : kSecureFlags;
    m_request = InternetHandle(HttpOpenRequestA(m_connection.get(), "POST", path, nullptr, nullptr, accept, flags, 0));
    if (!m_request)
        return Fail(GetLastError());
    if (length == kTextLength)
        length = body ? static_cast<DWORD>(strlen(static_cast<const char*>(body))) : 0;
    // Much of the body may still be on its way when it counts as sent: so much longer the server has time at 8 KB/s.
    SetReceiveTimeout(kAnswerTime + length / 8);
    if (watcher)
        return SendInBlocks(static_cast<const char*>(body), length, *watcher) || Fail(GetLastError());
    if (!HttpSendRequestA(m_request.get(), m_headers.c_str(), m_headers.length(), const_cast<void*>(body), length))
        return Fail(GetLastError());
    return true;
}

bool CHttpTransport::SendInBlocks(const char* body, DWORD length, UploadWatcher& watcher) {
    INTERNET_BUFFERSA start = {};
    start.dwStructSize = sizeof start;
    start.lpcszHeader = m_headers.c_str();
    start.dwHeadersLength = m_headers.length();
    start.dwBufferTotal = length;
    if (!HttpSendRequestExA(m_request.get(), &start, nullptr, 0, 0))
        return false;
    for (DWORD sent = 0, written; sent < length; sent += written) {
        written = 0;
        if (!InternetWriteFile(m_request.get(), body + sent, length - sent < kBlock ? length - sent : kBlock,
                               &written) ||
            written == 0) {
            return false;
        }
        if (!watcher.goes_on(watcher, sent + written, length))
            return false;
    }
    return HttpEndRequestA(m_request.get(), nullptr, 0, 0);
}

void CHttpTransport::SetReceiveTimeout(DWORD milliseconds) {
    InternetSetOptionA(m_request.get(), INTERNET_OPTION_RECEIVE_TIMEOUT, &milliseconds, sizeof milliseconds);
}

// The chunks are read straight to the end of the answer, where the buffer always has space for one more and its
// terminator.
const char* CHttpTransport::ReadAnswer() {
    free(m_answer);
    size_t capacity = kChunk + 2;
    m_answer = static_cast<char*>(calloc(capacity, 1));
    if (!m_answer) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const DWORD start = GetTickCount();
    size_t length = 0;
    DWORD total = 0;
    for (;;) {
        const DWORD size = kAnswerSize - total < kChunk ? kAnswerSize - total : kChunk;
        const DWORD got = ReadChunk(m_answer + length, size, start);
        m_answer[length + got] = 0;
        length += strlen(m_answer + length); // the next chunk goes where this one ends as a text
        total += got;
        if (got < kChunk)
            return m_answer;
        if (capacity < total + kChunk + 1) {
            // Doubled, so that an answer of many chunks is not moved for each of them; else by what one chunk needs.
            capacity *= 2;
            char* grown = static_cast<char*>(realloc(m_answer, capacity));
            if (!grown) {
                capacity = total + kChunk + 1;
                grown = static_cast<char*>(realloc(m_answer, capacity));
            }
            if (!grown)
                return m_answer;
            m_answer = grown;
        }
    }
}

// The bytes that were read; fewer than `size` are the last of the answer. Only what is there is asked for: a read may
// wait until all that it was asked for has come, for as long as single bytes go on coming.
DWORD CHttpTransport::ReadChunk(char* chunk, DWORD size, DWORD start) {
    DWORD filled = 0;
    while (filled < size) {
        const DWORD passed = GetTickCount() - start;
        if (passed >= kAnswerTime)
            break;
        SetReceiveTimeout(kAnswerTime - passed);
        DWORD available = 0;
        if (!InternetQueryDataAvailable(m_request.get(), &available, 0, 0))
            break;
        DWORD got = 0;
        if (available > size - filled)
            available = size - filled;
        if (!InternetReadFile(m_request.get(), chunk + filled, available, &got) || got == 0)
            break;
        filled += got;
    }
    return filled;
}

bool CHttpTransport::Fail(DWORD error) {
    m_last_error = error;
    return false;
}
