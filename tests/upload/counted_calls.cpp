#include "tests/upload/counted_calls.h"

#include <windows.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <wininet.h>

#include "testing/cxx/import_slot.h"

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

decltype(InternetOpenA)* real_open;
decltype(InternetConnectA)* real_connect;
decltype(HttpOpenRequestA)* real_request;
decltype(InternetOpenUrlA)* real_url;
decltype(InternetCloseHandle)* real_close;

HINTERNET counted(HINTERNET handle) {
    held.handles += handle ? 1 : 0;
    return handle;
}

HINTERNET WINAPI open_session(LPCSTR agent, DWORD type, LPCSTR proxy, LPCSTR bypass, DWORD flags) {
    note("session %s %lu %s %s %lX; ", agent, type, shown(proxy), shown(bypass), flags);
    return counted(real_open(agent, type, proxy, bypass, flags));
}

HINTERNET WINAPI open_connection(HINTERNET session, LPCSTR host, INTERNET_PORT port, LPCSTR user, LPCSTR password,
                                 DWORD service, DWORD flags, DWORD_PTR context) {
    note("connect %s %u %s %s %lu %lX %lX; ", host, port, shown(user), shown(password), service, flags, context);
    return counted(real_connect(session, host, port, user, password, service, flags, context));
}

HINTERNET WINAPI open_request(HINTERNET connection, LPCSTR verb, LPCSTR path, LPCSTR version, LPCSTR referrer,
                              LPCSTR* accept, DWORD flags, DWORD_PTR context) {
    note("request %s %s %s %s %s%s %lX %lX; ", verb, path, shown(version), shown(referrer), accept[0],
         accept[1] ? " and more" : "", flags, context);
    return counted(real_request(connection, verb, path, version, referrer, accept, flags, context));
}

HINTERNET WINAPI open_url(HINTERNET session, LPCSTR url, LPCSTR headers, DWORD length, DWORD flags, DWORD_PTR context) {
    note("url %s %s %lu %lX %lX; ", url, shown(headers), length, flags, context);
    return counted(real_url(session, url, headers, length, flags, context));
}

// Counted even where the handle is gone: a connection takes its requests along.
BOOL WINAPI close_handle(HINTERNET handle) {
    --held.handles;
    return real_close(handle);
}

} // namespace

bool watch_wininet() {
    HMODULE const host = GetModuleHandleA(nullptr);
    real_open = replace_import(host, "wininet.dll", "InternetOpenA", open_session);
    real_connect = replace_import(host, "wininet.dll", "InternetConnectA", open_connection);
    real_request = replace_import(host, "wininet.dll", "HttpOpenRequestA", open_request);
    real_url = replace_import(host, "wininet.dll", "InternetOpenUrlA", open_url);
    real_close = replace_import(host, "wininet.dll", "InternetCloseHandle", close_handle);
    return real_open && real_connect && real_request && real_url && real_close;
}

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
}
