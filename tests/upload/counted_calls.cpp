#include "tests/upload/counted_calls.h"

#include <windows.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <wininet.h>

namespace {

HeldCounts held;
size_t largest_block = ~size_t{0};
int refused_block;
char calls[4096];
bool calls_told;

void note(const char* format, ...) {
    if (calls_told)
        calls[0] = 0;
    calls_told = false;
    const size_t length = strlen(calls);
    va_list arguments;
    va_start(arguments, format);
    _vsnprintf(calls + length, sizeof calls - 1 - length, format, arguments);
    va_end(arguments);
}

const char* shown(const char* text) {
    return !text ? "-" : !*text ? "\"\"" : text;
}

bool refused(size_t size) {
    return size > largest_block || (refused_block > 0 && --refused_block == 0);
}

HANDLE heap() {
    static const HANDLE kOwn = HeapCreate(0, 0, 0);
    return kOwn;
}

// The functions of the same names that are defined below take the place of the imported ones, so these ask for them.
template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("wininet.dll"), name)));
}

HINTERNET counted(HINTERNET handle) {
    held.handles += handle ? 1 : 0;
    return handle;
}

HINTERNET WINAPI open_session(LPCSTR agent, DWORD type, LPCSTR proxy, LPCSTR bypass, DWORD flags) {
    note("session %s %lu %s %s %lX; ", agent, type, shown(proxy), shown(bypass), flags);
    return counted(real<decltype(InternetOpenA)>("InternetOpenA")(agent, type, proxy, bypass, flags));
}

HINTERNET WINAPI open_connection(HINTERNET session, LPCSTR host, INTERNET_PORT port, LPCSTR user, LPCSTR password,
                                 DWORD service, DWORD flags, DWORD_PTR context) {
    note("connect %s %u %s %s %lu %lX %lX; ", host, port, shown(user), shown(password), service, flags, context);
    return counted(real<decltype(InternetConnectA)>("InternetConnectA")(session, host, port, user, password, service,
                                                                        flags, context));
}

HINTERNET WINAPI open_request(HINTERNET connection, LPCSTR verb, LPCSTR path, LPCSTR version, LPCSTR referrer,
                              LPCSTR* accept, DWORD flags, DWORD_PTR context) {
    note("request %s %s %s %s %s%s %lX %lX; ", verb, path, shown(version), shown(referrer), accept[0],
         accept[1] ? " and more" : "", flags, context);
    return counted(real<decltype(HttpOpenRequestA)>("HttpOpenRequestA")(connection, verb, path, version, referrer,
                                                                        accept, flags, context));
}

HINTERNET WINAPI open_url(HINTERNET session, LPCSTR url, LPCSTR headers, DWORD length, DWORD flags, DWORD_PTR context) {
    note("url %s %s %lu %lX %lX; ", url, shown(headers), length, flags, context);
    return counted(real<decltype(InternetOpenUrlA)>("InternetOpenUrlA")(session, url, headers, length, flags, context));
}

// Counted even where the handle is gone: a connection takes its requests along.
BOOL WINAPI close_handle(HINTERNET handle) {
    --held.handles;
    return real<decltype(InternetCloseHandle)>("InternetCloseHandle")(handle);
}

} // namespace

HeldCounts held_counts() {
    return held;
}

void refuse_blocks(size_t larger_than, int nth) {
    largest_block = larger_than;
    refused_block = nth;
}

const char* opening_calls() {
    if (calls_told)
        calls[0] = 0;
    calls_told = true;
    return calls;
}

extern "C" {

void* malloc(size_t size) {
    void* const block = refused(size) ? nullptr : HeapAlloc(heap(), 0, size);
    held.blocks += block ? 1 : 0;
    return block;
}

void* calloc(size_t count, size_t size) {
    void* const block = refused(count * size) ? nullptr : HeapAlloc(heap(), HEAP_ZERO_MEMORY, count * size);
    held.blocks += block ? 1 : 0;
    return block;
}

void* realloc(void* block, size_t size) {
    if (!block)
        return malloc(size);
    return refused(size) ? nullptr : HeapReAlloc(heap(), 0, block, size);
}

void free(void* block) {
    if (!block)
        return;
    HeapFree(heap(), 0, block);
    --held.blocks;
}

// What the linker finds where a call goes through the import table; with 32 bits the names count the arguments' bytes.
#ifdef _WIN64
#define IMPORTED(name, bytes) "__imp_" name
#else
#define IMPORTED(name, bytes) "__imp__" name "@" bytes
#endif
extern const void* const kImportedOpen __asm__(IMPORTED("InternetOpenA", "20"));
const void* const kImportedOpen = reinterpret_cast<const void*>(open_session);
extern const void* const kImportedConnect __asm__(IMPORTED("InternetConnectA", "32"));
const void* const kImportedConnect = reinterpret_cast<const void*>(open_connection);
extern const void* const kImportedRequest __asm__(IMPORTED("HttpOpenRequestA", "32"));
const void* const kImportedRequest = reinterpret_cast<const void*>(open_request);
extern const void* const kImportedUrl __asm__(IMPORTED("InternetOpenUrlA", "24"));
const void* const kImportedUrl = reinterpret_cast<const void*>(open_url);
extern const void* const kImportedClose __asm__(IMPORTED("InternetCloseHandle", "4"));
const void* const kImportedClose = reinterpret_cast<const void*>(close_handle);
}
