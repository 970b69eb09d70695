/** @file wendax_runtime.h
 * WendaxCover(): the ends that the host's own C runtime makes. Part of wendax.h; compiled into the host, whose runtime
 * is the one to be told.
 */
#ifndef WENDAX_RUNTIME_H
#define WENDAX_RUNTIME_H

#ifndef WENDAX_COVER_H
#error "include wendax.h, which includes this header"
#endif

#include <signal.h>
#include <stddef.h>
#include <stdlib.h>
#ifdef __cplusplus
#if defined(_MSC_VER)
#include <eh.h>
#else
#include <cxxabi.h>
#include <exception>
#include <typeinfo>
#endif
#endif

/** @cond */
#ifdef __cplusplus
#define WENDAX_INLINE inline
#else
#define WENDAX_INLINE static __inline
#endif

#ifdef _WIN64
typedef size_t WendaxWord; /* ULONG_PTR */
#else
typedef unsigned long WendaxWord;
#endif
#ifndef _WINDOWS_ /* as windows.h declares it itself */
#ifdef __cplusplus
extern "C"
#endif
    __declspec(dllimport) void __stdcall RaiseException(unsigned long code, unsigned long flags, unsigned long count,
                                                        const WendaxWord* parameters);
#endif

WENDAX_INLINE void wendax_raise(unsigned long code, unsigned long count, const WendaxWord* parameters) {
    RaiseException(code, 1 /* EXCEPTION_NONCONTINUABLE */, count, parameters);
}

WENDAX_INLINE void __cdecl wendax_on_abort(int number) {
    signal(number, wendax_on_abort); /* the runtime has taken it back; a host may catch this fault and go on */
    wendax_raise(WENDAX_FAULT_ABORT, 0, 0);
}

WENDAX_INLINE void __cdecl wendax_on_pure_call(void) {
    wendax_raise(WENDAX_FAULT_PURE_CALL, 0, 0);
}

WENDAX_INLINE void __cdecl wendax_on_invalid_parameter(const wchar_t* expression, const wchar_t* function,
                                                       const wchar_t* file, unsigned int line, uintptr_t reserved) {
    WendaxWord words[4];
    words[0] = (WendaxWord)expression;
    words[1] = (WendaxWord)function;
    words[2] = (WendaxWord)file;
    words[3] = line;
    (void)reserved;
    wendax_raise(WENDAX_FAULT_INVALID_PARAMETER, 4, words);
}

/* The handlers that runtimes have since Visual C++ 2005; msvcrt.dll has none of them. A host that has them where this
 * can't tell defines it. */
#if !defined(WENDAX_HAS_HANDLERS) &&                                                                                   \
    (defined(_UCRT) || (defined(_MSC_VER) && _MSC_VER >= 1400 && !defined(__MINGW64_VERSION_MAJOR)))
#define WENDAX_HAS_HANDLERS
#endif

#ifdef __cplusplus
#if defined(_MSC_VER)

/* WendaxCoverProcess() has seen the throw, and tells what was thrown. */
inline void __cdecl wendax_on_terminate() {
    const WendaxWord words[3] = {0, 0, 0};
    wendax_raise(WENDAX_FAULT_TERMINATE, 3, words);
}

/* The handler is each thread's own: WendaxCoverThread() sets it on further ones. */
inline bool& wendax_covers_runtime() {
    static bool covered = false;
    return covered;
}

inline void wendax_cover_terminate() {
    wendax_covers_runtime() = true;
    set_terminate(wendax_on_terminate);
}

#elif defined(__GNUC__)

inline void wendax_on_terminate() {
    WendaxWord words[3] = {0, 0, 0};
#if defined(__GXX_RTTI) && defined(__EXCEPTIONS)
    const std::type_info* const type = abi::__cxa_current_exception_type();
    if (type) {
        int status;
        const char* const name = abi::__cxa_demangle(type->name(), 0, 0, &status);
        words[0] = reinterpret_cast<WendaxWord>(name ? name : type->name());
        try {
            throw;
        } catch (const std::exception& exception) {
            words[1] = reinterpret_cast<WendaxWord>(exception.what());
            wendax_raise(WENDAX_FAULT_TERMINATE, 3, words);
        } catch (...) {
        }
    }
#endif
    wendax_raise(WENDAX_FAULT_TERMINATE, 3, words);
}

inline void wendax_cover_terminate() {
    std::set_terminate(wendax_on_terminate);
}

#endif
#endif /* __cplusplus */
/** @endcond */

/** Covers the process as WendaxCoverProcess(0, 0) does, and the ends that the host's C runtime makes: abort() and
 * failed assertions, std::terminate(), calls of pure virtual functions, invalid parameters, the last two where the
 * runtime has a handler for them (msvcrt.dll has none). Each becomes a fault with a code of its own
 * (#WENDAX_FAULT_ABORT and the others).
 *
 * To be called once, first thing in the main thread; in a host that has C++, from C++. Visual C++ keeps the handler of
 * std::terminate() for each thread: call WendaxCoverThread() on those whose terminate() is to be reported. For a
 * reporter of your own call WendaxCoverProcess() afterwards.
 * @return the filter that was there before, or null */
WENDAX_INLINE WendaxFilter WendaxCover(void) {
    const WendaxFilter before = WendaxCoverProcess(0, 0);
    signal(SIGABRT, wendax_on_abort);
#ifdef WENDAX_HAS_HANDLERS
    _set_abort_behavior(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT); /* no words and no box before the handler */
    _set_purecall_handler(wendax_on_pure_call);
    _set_invalid_parameter_handler(wendax_on_invalid_parameter);
#endif
#ifdef __cplusplus
    wendax_cover_terminate();
#endif
    return before;
}

#endif
