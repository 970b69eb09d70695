// 64-bit multiplication and division, which the compiler calls by these names: both operands on the stack, removed by
// the callee, result in edx:eax. Division works in 32-bit steps: the processor divides 64 by 32 bits as long as the
// quotient fits; a divisor above 32 bits is scaled down first, which makes the quotient at most one too large.

typedef unsigned int u32;
typedef unsigned long long u64;
typedef long long s64;

namespace {

struct Halves {
    u32 low, high;
};

inline u64 join(u32 high, u32 low) {
    const Halves halves = {low, high};
    return __builtin_bit_cast(u64, halves);
}

inline u32 low_of(u64 value) {
    return __builtin_bit_cast(Halves, value).low;
}

inline u32 high_of(u64 value) {
    return __builtin_bit_cast(Halves, value).high;
}

// high must be below divisor, or the quotient would not fit.
inline u32 divide_step(u32 high, u32 low, u32 divisor, u32* rest) {
    u32 quotient;
    __asm__("divl %4" : "=a"(quotient), "=d"(*rest) : "0"(low), "1"(high), "r"(divisor) : "cc");
    return quotient;
}

inline u64 multiply_32(u32 a, u32 b) {
    u32 low, high;
    __asm__("mull %3" : "=a"(low), "=d"(high) : "0"(a), "r"(b) : "cc");
    return join(high, low);
}

u64 multiply(u64 a, u64 b) {
    const u64 low = multiply_32(low_of(a), low_of(b));
    return join(high_of(low) + low_of(a) * high_of(b) + high_of(a) * low_of(b), low_of(low));
}

u64 divide(u64 dividend, u64 divisor) {
    u32 rest = 0;
    if (high_of(divisor) == 0) {
        const u32 high = divide_step(0, high_of(dividend), low_of(divisor), &rest);
        return join(high, divide_step(rest, low_of(dividend), low_of(divisor), &rest));
    }
    const int shift = 32 - __builtin_clz(high_of(divisor));
    const u64 scaled = dividend >> shift;
    u32 quotient = divide_step(high_of(scaled), low_of(scaled), low_of(divisor >> shift), &rest);
    // The estimate is the true quotient or one above it; a product that wraps is above it too.
    const u64 low_product = multiply_32(quotient, low_of(divisor));
    const u64 high_product = multiply_32(quotient, high_of(divisor));
    const u64 middle = static_cast<u64>(high_of(low_product)) + low_of(high_product);
    const bool wraps = high_of(high_product) != 0 || high_of(middle) != 0;
    if (wraps || join(low_of(middle), low_of(low_product)) > dividend)
        --quotient;
    return quotient;
}

inline u64 magnitude(s64 value) {
    return value < 0 ? 0 - static_cast<u64>(value) : static_cast<u64>(value);
}

inline s64 with_sign(u64 value, bool negative) {
    return static_cast<s64>(negative ? 0 - value : value);
}

} // namespace

extern "C" {

u64 __stdcall aulldiv(u64 a, u64 b) __asm__("__aulldiv");
u64 __stdcall aullrem(u64 a, u64 b) __asm__("__aullrem");
s64 __stdcall alldiv(s64 a, s64 b) __asm__("__alldiv");
s64 __stdcall allrem(s64 a, s64 b) __asm__("__allrem");
s64 __stdcall allmul(s64 a, s64 b) __asm__("__allmul");

u64 __stdcall aulldiv(u64 a, u64 b) {
    return divide(a, b);
}

u64 __stdcall aullrem(u64 a, u64 b) {
    return a - multiply(divide(a, b), b);
}

s64 __stdcall alldiv(s64 a, s64 b) {
    return with_sign(divide(magnitude(a), magnitude(b)), (a < 0) != (b < 0));
}

// The remainder has the sign of the dividend.
s64 __stdcall allrem(s64 a, s64 b) {
    return with_sign(aullrem(magnitude(a), magnitude(b)), a < 0);
}

s64 __stdcall allmul(s64 a, s64 b) {
    return static_cast<s64>(multiply(static_cast<u64>(a), static_cast<u64>(b)));
}
}
