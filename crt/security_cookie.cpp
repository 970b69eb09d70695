// Stack cookies, without the C runtime's library: the cookie, how it is made, and what becomes of a smashed one.
#include "crt/startup.h"

#include <windows.h>
#include <x86intrin.h>

namespace {

// The upper 16 bits of 64 stay zero, as the loader leaves them: no string that runs over the cookie can write it.
constexpr uintptr_t kBits = sizeof(uintptr_t) == 8 ? static_cast<uintptr_t>(0x0000FFFFFFFFFFFF) : UINTPTR_MAX;

// The steps of splitmix64: each bit that goes in changes half of those that come out. Stands in every image, once.
__attribute__((noinline)) uint64_t mixed(uint64_t value) {
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
    value = (value ^ value >> 27) * 0x94D049BB133111EB;
    return value ^ value >> 31;
}

} // namespace

uintptr_t __security_cookie = crt::kUnmadeCookie;

void crt::make_security_cookie() {
    if (__security_cookie != kUnmadeCookie)
        return;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    uint64_t value = mixed(__rdtsc() ^ static_cast<uint64_t>(now.dwLowDateTime) << 32 ^ now.dwHighDateTime);
    value = mixed(value ^ static_cast<uint64_t>(GetCurrentProcessId()) << 32 ^ GetCurrentThreadId());
    value = mixed(value ^ reinterpret_cast<uintptr_t>(&now) ^ reinterpret_cast<uintptr_t>(&__security_cookie) << 8);
    __security_cookie = static_cast<uintptr_t>(value) & kBits;
    if (__security_cookie == kUnmadeCookie)
        ++__security_cookie;
}

// The compiler calls this before a guarded function returns. Nothing of the stack can be trusted when the cookie has
// changed: the process ends, without handlers, as those may have been written by whoever wrote the stack.
extern "C" void __fastcall __security_check_cookie(uintptr_t cookie) {
    if (cookie == __security_cookie) [[likely]]
        return;
    if (IsProcessorFeaturePresent(PF_FASTFAIL_AVAILABLE))
        __fastfail(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE);
    TerminateProcess(GetCurrentProcess(), static_cast<DWORD>(STATUS_STACK_BUFFER_OVERRUN));
}
