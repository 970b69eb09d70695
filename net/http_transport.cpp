#include "net/http_transport.h"

#include <stdlib.h>
#include <string.h>

namespace {

constexpr DWORD kClearFlags = INTERNET_FLAG_NO_CACHE_WRITE;
constexpr DWORD kSecureFlags = INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_SECURE |
                               INTERNET_FLAG_IGNORE_CERT_CN_INVALID | INTERNET_FLAG_IGNORE_CERT_DATE_INVALID;
static_assert(kClearFlags == 0x04000000 && kSecureFlags == 0x04803000);

constexpr DWORD kChunk = 8191;

} // namespace

CHttpTransport::CHttpTransport() : m_headers("Content-Type: application/x-www-form-urlencoded") {
    m_session = InternetHandle(InternetOpenA("Lumivale", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0));
    if (!m_session) {
        Fail(GetLastError());
    }
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
    if (!(post ? Post(url, body, length) : Get(url))) {
        return nullptr;
    }
    return ReadAnswer();
}

bool CHttpTransport::Get(const char* url) {
    m_request.reset();
    m_request = InternetHandle(InternetOpenUrlA(m_session.get(), url, nullptr, 0, 0, 0));
    return m_request || Fail(GetLastError());
}

bool CHttpTransport::Post(const char* url, const void* body, DWORD length) {
    // A part with a length is wanted, by its place in the URL. Extra information is not, so the path keeps the query.
    URL_COMPONENTSA parts = {};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = 1;
    parts.dwUrlPathLength = 1;
    if (!InternetCrackUrlA(url, 0, 0, &parts)) {
        return Fail(GetLastError());
    }
    m_connection.reset(); // Kept: before its request, which goes with it; that one's own closing then finds nothing.
    CStdString host;
    host.assign(parts.lpszHostName, parts.dwHostNameLength);
    CStdString path;
    path.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
    m_request.reset();

    m_connection = InternetHandle(InternetConnectA(m_session.get(), host.c_str(), parts.nPort, "", "",
                                                   INTERNET_SERVICE_HTTP, INTERNET_FLAG_NO_CACHE_WRITE, 0));
    if (!m_connection) {
        return Fail(GetLastError());
    }
    const char* accept[] = {"*/*", nullptr};
    const DWORD flags = parts.nPort == INTERNET_DEFAULT_HTTP_PORT ? kClearFlags : kSecureFlags;
    m_request =
        InternetHandle(HttpOpenRequestA(m_connection.get(), "POST", path.c_str(), nullptr, nullptr, accept, flags, 0));
    if (!m_request) {
        return Fail(GetLastError());
    }
    if (length == kTextLength) {
        length = body ? static_cast<DWORD>(strlen(static_cast<const char*>(body))) : 0;
    }
    if (!HttpSendRequestA(m_request.get(), m_headers.c_str(), m_headers.length(), const_cast<void*>(body), length)) {
        return Fail(GetLastError());
    }
    return true;
}

// The chunks are read straight to the end of the answer, which always has room for one more and its terminator.
const char* CHttpTransport::ReadAnswer() {
    free(m_answer);
    size_t capacity = kChunk + 2;
    m_answer = static_cast<char*>(calloc(capacity, 1));
    if (!m_answer) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    size_t length = 0;
    size_t total = 0;
    DWORD got = 0;
    while (InternetReadFile(m_request.get(), m_answer + length, kChunk, &got) && got > 0) {
        m_answer[length + got] = 0;
        length += strlen(m_answer + length); // the next chunk goes where this one ends as a text
        total += got;
        if (capacity < total + kChunk + 1) {
            // At least doubled, so that an answer of many chunks is not moved for each of them.
            const size_t wanted = capacity * 2 > total + kChunk + 1 ? capacity * 2 : total + kChunk + 1;
            char* const grown = static_cast<char*>(realloc(m_answer, wanted));
            if (!grown) {
                break;
            }
            m_answer = grown;
            capacity = wanted;
        }
    }
    m_answer[length] = 0; // a read that failed may have left bytes behind
    return m_answer;
}

bool CHttpTransport::Fail(DWORD error) {
    m_last_error = error;
    return false;
}
