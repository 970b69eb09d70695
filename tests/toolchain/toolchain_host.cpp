// Checks what the toolchain's glue promises; prints a line for each failure and "checked N" at the end.
#include "crt/startup.h"

#include <windows.h>
#include <eh.h>
#include <new>
#include <stdio.h>
#include <string.h>

extern "C" void throw_marker(unsigned code, EXCEPTION_POINTERS* pointers);
extern "C" int initializer_runs();
extern "C" int overrun(const char* letters, int count);

namespace {

int checked;

void check(bool holds, const char* what) {
    ++checked;
    if (!holds)
        printf("FAILED: %s\n", what);
}

typedef unsigned long long u64;
typedef long long s64;

// Schoolbook division, one bit at a time.
u64 slow_divide(u64 a, u64 b, u64* rest) {
    u64 quotient = 0, remainder = 0;
    for (int bit = 63; bit >= 0; --bit) {
        const bool carry = remainder >> 63;
        remainder = remainder << 1 | (a >> bit & 1);
        quotient <<= 1;
        if (carry || remainder >= b) {
            remainder -= b;
            quotient |= 1;
        }
    }
    *rest = remainder;
    return quotient;
}

u64 slow_multiply(u64 a, u64 b) {
    u64 product = 0;
    for (int bit = 0; bit < 64; ++bit)
        if (b >> bit & 1)
            product += a << bit;
    return product;
}

void check_pair(u64 a, u64 b) {
    volatile u64 va = a, vb = b;
    check(va * vb == slow_multiply(a, b), "multiplication");
    if (b == 0)
        return;
    u64 rest;
    const u64 quotient = slow_divide(a, b, &rest);
    check(va / vb == quotient, "unsigned division");
    check(va % vb == rest, "unsigned remainder");
    const s64 sa = static_cast<s64>(a), sb = static_cast<s64>(b);
    if (sa == static_cast<s64>(1ull << 63) && sb == -1)
        return;
    volatile s64 vsa = sa, vsb = sb;
    const u64 size_a = sa < 0 ? 0 - a : a, size_b = sb < 0 ? 0 - b : b;
    const u64 size = slow_divide(size_a, size_b, &rest);
    check(vsa / vsb == static_cast<s64>((sa < 0) != (sb < 0) ? 0 - size : size), "signed division");
    check(vsa % vsb == static_cast<s64>(sa < 0 ? 0 - rest : rest), "signed remainder");
}

void check_arithmetic() {
    const u64 edges[] = {0,
                         1,
                         2,
                         3,
                         10,
                         0x7FFFFFFF,
                         0x80000000,
                         0xFFFFFFFF,
                         0x100000000,
                         0x100000001,
                         0x1FFFFFFFF,
                         0x7FFFFFFFFFFFFFFF,
                         0x8000000000000000,
                         0xFFFFFFFF00000000,
                         0xFFFFFFFF00000001,
                         0xFFFFFFFFFFFFFFFE,
                         0xFFFFFFFFFFFFFFFF};
    for (u64 a : edges)
        for (u64 b : edges)
            check_pair(a, b);
    u64 seed = 88172645463325252ull; // xorshift
    for (int i = 0; i < 20000; ++i) {
        u64 pair[2];
        for (u64& value : pair) {
            seed ^= seed << 13;
            seed ^= seed >> 7;
            seed ^= seed << 17;
            value = seed >> (seed & 63);
        }
        check_pair(pair[0], pair[1]);
    }
}

// More than a page of locals in one step: the guard page must have moved for every page.
__attribute__((noinline)) int big_frame(int depth) {
    volatile char block[200 * 1024];
    block[0] = static_cast<char>(depth);
    block[sizeof(block) - 1] = 1;
    return block[0] + block[sizeof(block) - 1];
}

int destroyed;

struct Witness {
    ~Witness() { ++destroyed; }
};

void fault() {
    volatile int* null = nullptr;
    *null = 1;
}
void (*volatile faulting)() = fault;

void check_exceptions() {
    _set_se_translator(throw_marker);
    bool caught = false;
    try {
        Witness witness;
        faulting();
    } catch (char* text) {
        caught = strcmp(text, "marker") == 0;
    }
    check(caught, "a fault becomes the thrown text");
    check(destroyed == 1, "destructors run on the way");

    caught = false;
    try {
        throw 42;
    } catch (char*) {
    } catch (int number) {
        caught = number == 42;
    }
    check(caught, "the handler of the thrown type is chosen");
}

// Apart from the C++ handlers: one function can't hold both kinds.
void check_structured_exceptions() {
    volatile int seen = 0;
    __try {
        faulting();
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        seen = 1;
    }
    check(seen == 1, "a structured handler takes a fault");
}

// As on systems whose loader doesn't do it. Nothing that is on the stack meanwhile has a cookie.
void check_security_cookie() {
    const uintptr_t of_loader = __security_cookie;
    check(of_loader != crt::kUnmadeCookie, "the cookie is another than the linked one");
    crt::make_security_cookie();
    check(__security_cookie == of_loader, "a cookie that is made stays");
    constexpr int kDraws = 1000;
    constexpr uintptr_t kBits = sizeof(uintptr_t) == 8 ? ~static_cast<uintptr_t>(0) >> 16 : UINTPTR_MAX;
    static uintptr_t draws[kDraws];
    uintptr_t ever_set = 0, always_set = UINTPTR_MAX;
    int alike = 0;
    for (int i = 0; i < kDraws; ++i) {
        __security_cookie = crt::kUnmadeCookie;
        crt::make_security_cookie();
        draws[i] = __security_cookie;
        check(draws[i] != crt::kUnmadeCookie, "a cookie is made where the loader makes none");
        for (int before = 0; before < i; ++before)
            alike += draws[before] == draws[i];
        ever_set |= draws[i];
        always_set &= draws[i];
    }
    __security_cookie = of_loader;
    check(alike == 0, "each making gives another one");
    check(ever_set == kBits && always_set == 0, "each bit varies but the upper 16 of 64, which are zero");
}

int initializer_order[2];
int initializers;
struct Global {
    Global() {
        initializer_order[initializers] = initializers + 1;
        ++initializers;
    }
    ~Global() {
        puts("host global destroyed");
        fflush(stdout);
    }
};
Global first, second;

} // namespace

int main(int argc, char** argv) {
    if (argc == 2) {
        const int first = overrun(argv[1], static_cast<int>(strlen(argv[1])));
        printf("came back with %d\n", first);
        return 0;
    }
    check(argc == 3 && strcmp(argv[1], "one") == 0 && strcmp(argv[2], "two words") == 0, "arguments");
    check(initializers == 2 && initializer_order[0] == 1 && initializer_order[1] == 2,
          "static initialisers of the program");
    check(initializer_runs() == 1, "static initialisers of the library");
    check_arithmetic();
    check(big_frame(3) == 4, "a large stack frame");
    check_exceptions();
    check_structured_exceptions();
    check_security_cookie();
    size_t volatile const impossible = SIZE_MAX / 8;
    int* volatile const many = new (std::nothrow) int[impossible]; // volatile, so that the allocation takes place
    check(many == nullptr, "impossible memory is null");
    int* volatile const plain = new int[impossible];
    check(plain == nullptr, "impossible memory is null for plain new too");
    delete[] new int[3];
    printf("checked %d\n", checked);
    return 7;
}
