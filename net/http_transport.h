// CHttpTransport: one HTTP exchange after another over WinINet, on the calling thread.
//
// Once the answer's headers are there, it may take kAnswerTime and have kAnswerSize bytes. Until then WinINet's own
// time-outs apply; its receive time-out for a POST, which ends a silence only, is kAnswerTime and a millisecond for
// each 8 bytes of the body.
//
// It shows no message: a failure is a null answer and LastError(). The HTTP status is not looked at; a redirect is
// followed as WinINet does it. Handles are closed when the next request or the end of the object makes them useless.
// Headers for which there is no memory throw gen::genlib_out_of_memory.
#pragma once

#include "net/upload.h"
#include "win/handle.h"

#include <wininet.h>

// Sees an upload go out, block by block.
struct UploadWatcher {
    // Told after each block how many bytes of how many were handed to the system. False ends the upload.
    bool (*goes_on)(UploadWatcher& watcher, DWORD sent, DWORD total);
    bool stopped = false; // whether that is what the user wants
};

class CHttpTransport {
public:
    // For Request's length: the body is a text and goes out up to its NUL.
    static constexpr DWORD kTextLength = 0xFFFFFFFF;
    // LastError() after a request without a URL.
    static constexpr DWORD kNoUrl = 0xFFFFFFFF;
    static constexpr DWORD kAnswerTime = 60 * 1000; // in milliseconds
    static constexpr DWORD kAnswerSize = 16 << 20;

    // Opens the session under that name; access: INTERNET_OPEN_TYPE_DIRECT, not through a proxy, or another of these.
    // Where that fails, every request does.
    explicit CHttpTransport(const char* agent = "Lumivale", DWORD access = INTERNET_OPEN_TYPE_DIRECT);
    ~CHttpTransport();

    CHttpTransport(const CHttpTransport&) = delete;
    CHttpTransport& operator=(const CHttpTransport&) = delete;

    // Replaces the headers of a POST, at first "Content-Type: application/x-www-form-urlencoded". Without a line end.
    // A GET sends none.
    void SetHeaders(const char* headers);

    // Sends a POST with the body (null is an empty one), or a GET that ignores it, and reads the whole answer.
    // The answer is a text, empty rather than null where the server sent nothing: it is joined from chunks of 8191
    // bytes, and a zero byte hides the rest of its own chunk. What is beyond the bounds above is left away. It stays
    // valid until the next answer arrives or the object ends; a failed request leaves it alone. Null when there is no
    // answer. A POST to port 80 goes out in the clear, to any other port over TLS: the port decides, not the scheme.
    const char* Request(const char* url, bool post, const void* body, DWORD length = kTextLength);

    // As Request sends a POST, but to a secure destination over TLS at any port, with a certificate that the system
    // finds in order, and never otherwise. A redirect of such a server is followed by a GET, so that the body goes
    // nowhere else, and to another https URL only. Null for an empty destination. With a watcher the body goes out in
    // blocks of 16 KiB, and is the only copy of it in memory; the bytes on the wire are the same.
    const char* Upload(const Destination& to, const void* body, DWORD length, UploadWatcher* watcher = nullptr);

    // After a failure: there was no connection to the server, so that nothing was sent.
    bool IsUnreached() const {
        return m_last_error == ERROR_INTERNET_NAME_NOT_RESOLVED || m_last_error == ERROR_INTERNET_CANNOT_CONNECT;
    }

    // GetLastError() of the last call that failed, kNoUrl, or 0.
    DWORD LastError() const { return m_last_error; }

private:
    struct InternetTraits {
        using Value = HINTERNET;
        static Value invalid() noexcept { return nullptr; }
        static void close(Value handle) noexcept { win::nothrow(InternetCloseHandle)(handle); }
    };
    using InternetHandle = win::UniqueHandle<InternetTraits>;

    bool Get(const char* url, DWORD flags);
    bool Post(const char* url, DWORD flags, const void* body, DWORD length, UploadWatcher* watcher = nullptr);
    bool SendInBlocks(const char* body, DWORD length, UploadWatcher& watcher);
    bool FollowRedirects(CStdString url);
    void SetReceiveTimeout(DWORD milliseconds);
    const char* ReadAnswer();
    DWORD ReadChunk(char* chunk, DWORD size, DWORD start);
    bool Fail(DWORD error);

    CStdString m_headers;
    InternetHandle m_session;
    InternetHandle m_request;
    InternetHandle m_connection;
    char* m_answer = nullptr;      // from calloc
    char* m_second_text = nullptr; // kept for the layout; nothing sets it
    DWORD m_last_error = 0;
};

static_assert(sizeof(CHttpTransport) == (sizeof(void*) == 8 ? 80 : 48),
              "a string, three handles, two texts and the error");
