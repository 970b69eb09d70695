/** @file wendax.h
 * Wendax: crash reports for Windows desktop programs, of 32 and of 64 bits.
 *
 * The functions work from C and C++ and with any compiler for Windows. The two classes and WendaxCoverThread() are
 * for C++ hosts that follow the Microsoft ABI (Visual C++, clang in its Microsoft mode); with GCC there are the
 * functions only. Neither windows.h nor anything else is needed before this header.
 *
 * One call of WendaxCover() (wendax_cover.h) at the start has every end of the program reported. A host that wants to
 * catch a fault, and to go on after the report, covers its threads (compile it with /EHa):
 *
 * @code
 *     WendaxCoverThread();
 *     try {
 *         work();
 *     } catch (char* marker) {
 *         OpenCrushReport(marker); // inside the catch block: the fault's record is good until it ends
 *     }
 * @endcode
 *
 * No function reports an error. Settings and dialog are the process's: make one report at a time.
 */
#ifndef WENDAX_H
#define WENDAX_H

#ifndef _WIN32
#error "Wendax is for Windows programs"
#endif

/** What a translated fault throws, as a char*: the text that makes OpenCrushReport() describe the last fault. */
#define WENDAX_MARKER "SEHWendaxExceptionGenerated"

#ifdef WENDAX_LIBRARY /* Wendax.dll itself, which knows its private parts by their true types */
#include <afxtempl.h>
#include "base/std_string.h"
typedef CArray<CStdString, CStdString&> CStdStringArray;
#define WENDAX_IMPORT
#define WENDAX_PRIVATE(type, name, bytes) type name
#else
#define WENDAX_IMPORT __declspec(dllimport)
#define WENDAX_PRIVATE(type, name, bytes) void* name[2 + (bytes) / sizeof(void*)]
#endif

#if defined(__cplusplus) && (__cplusplus >= 201103L || (defined(_MSC_VER) && !defined(__clang__) && _MSC_VER >= 1900))
#define WENDAX_NOEXCEPT noexcept
#else
#define WENDAX_NOEXCEPT throw()
#endif

struct _EXCEPTION_POINTERS;

#ifdef __cplusplus
extern "C" {
#endif

/** Turns a structured exception into a C++ exception. */
typedef void(__cdecl* WendaxTranslator)(unsigned int code, struct _EXCEPTION_POINTERS* pointers);

/** Covers the calling thread: a structured exception on it becomes a C++ exception, #WENDAX_MARKER as a char*.
 *
 * Only for hosts whose C runtime is msvcrt.dll; WendaxCoverThread() covers hosts with any.
 * @return the thread's translator before, null if there was none. */
WENDAX_IMPORT WendaxTranslator __cdecl InitCrushReport(void);

/** The translator itself. Keeps the fault for OpenCrushReport() and throws the marker; never returns.
 *
 * The C runtime calls it; a translator of the host's own may end in it.
 * @param code      the structured exception's code
 * @param pointers  its record and context; not copied, so the report must be made before the catch block ends */
WENDAX_IMPORT void __cdecl APISeTranslator(unsigned int code, struct _EXCEPTION_POINTERS* pointers);

/** Makes the e-mail report: asks the user, composes the message, opens it in the mail program.
 *
 * Called inside the catch block. Blocks until the user has answered and the message was handed over; tells nothing
 * about the answer. Leaves the thread at its highest priority.
 * @param marker  what was caught. With #WENDAX_MARKER the report describes the last fault of the process, with any
 *                other text and with null it has no fault details. */
WENDAX_IMPORT void __cdecl OpenCrushReport(const char* marker);

/** Names the one file of the host's that goes with every later report, in the place of the one named before. A file
 * that is missing by then is left out.
 *
 * @param path  a full path, at most 1023 bytes, in the ANSI code page; null or "" for none. What follows its last
 *              backslash names the attachment
 * @return the library's copy of the path */
WENDAX_IMPORT char* __cdecl SetAttachment(const char* path);

/** Says whether every later report has a picture of the screen, 512 x 512 pixels. Needs fall.dll beside the program.
 *
 * @param flag  0: no, as it is at first; any other: yes
 * @return the flag */
WENDAX_IMPORT int __cdecl SetCreateScreenCopy(int flag);

#ifdef __cplusplus
} /* extern "C" */
#endif

#include "wendax_cover.h"
#include "wendax_delivery.h"

#if defined(__cplusplus) && defined(_MSC_VER)

#include <stddef.h>
#include <eh.h>

typedef ptrdiff_t(__stdcall* WendaxProcedure)();
#ifndef _WINDOWS_ /* the parts of windows.h that WendaxCoverThread needs, as it declares them itself */
#if defined(NO_STRICT) && !defined(STRICT)
typedef void* WendaxModule;
#else
struct HINSTANCE__;
typedef struct HINSTANCE__* WendaxModule;
#endif
extern "C" __declspec(dllimport) WendaxModule __stdcall GetModuleHandleA(const char* name);
extern "C" __declspec(dllimport) WendaxProcedure __stdcall GetProcAddress(WendaxModule module, const char* name);
#endif

/** Stack in bytes that WendaxCoverThread() keeps back for the report of a stack overflow. */
#ifndef WENDAX_REPORT_STACK
#define WENDAX_REPORT_STACK 131072
#endif
/** The least that it asks for where a thread's stack is too small for that: what whole reports need. */
#if defined(_WIN64)
#define WENDAX_LEAST_REPORT_STACK 49152
#else
#define WENDAX_LEAST_REPORT_STACK 32768
#endif

/** Covers the calling thread, whichever C runtime the host is built with. Called once, first thing on each thread.
 *
 * The translator belongs to a C runtime as well as to a thread, so this function is compiled into the host, where it
 * finds the host's own. It also reserves #WENDAX_REPORT_STACK bytes for the report of a stack overflow. Where the
 * thread's stack is too small for that it asks for half, down to #WENDAX_LEAST_REPORT_STACK; where that is refused as
 * well, or the system can't do it (before Vista), the thread is covered without. After WendaxCover() it also has the
 * thread's std::terminate() reported.
 * @param translator  one of the host's own may do something first, and then calls APISeTranslator()
 * @return the thread's translator before, null if there was none */
inline WendaxTranslator WendaxCoverThread(WendaxTranslator translator = APISeTranslator) {
    typedef int(__stdcall * Guarantee)(unsigned long* bytes);
    const WendaxProcedure found = GetProcAddress(GetModuleHandleA("kernel32.dll"), "SetThreadStackGuarantee");
    const Guarantee guarantee = reinterpret_cast<Guarantee>(reinterpret_cast<size_t>(found));
    unsigned long reserved = 0; /* asks for what is reserved already */
    if (guarantee && guarantee(&reserved)) {
        unsigned long wanted = WENDAX_REPORT_STACK;
        while (reserved < wanted) {
            unsigned long bytes = wanted;
            if (guarantee(&bytes) || wanted <= WENDAX_LEAST_REPORT_STACK)
                break;
            wanted = wanted / 2 > WENDAX_LEAST_REPORT_STACK ? wanted / 2 : WENDAX_LEAST_REPORT_STACK;
        }
    }
#ifndef WENDAX_LIBRARY
    if (wendax_covers_runtime())
        set_terminate(wendax_on_terminate);
#endif
    return _set_se_translator(translator);
}

#elif defined(__cplusplus) && defined(__GNUC__)

/* Says why a host of GCC can't call it. */
WendaxTranslator WendaxCoverThread(WendaxTranslator translator = APISeTranslator) __attribute__((
    error("GCC's exceptions aren't those that Wendax throws; examples/c-host shows what works with GCC")));

#endif

#if defined(__cplusplus) && (defined(_MSC_VER) || defined(WENDAX_LIBRARY))

#include <stddef.h>
#include <new>

#include "wendax_error.h"

struct HBITMAP__;
struct HINSTANCE__;
struct tagRECT;

/** The fault that a report describes; the library's own. Nobody outside can get one: a host that drives the classes
 * itself gives null, and its reports have no fault details. OpenCrushReport() gives its own. */
class CSeException;

/* The library's memory for both reports. new throws gen::genlib_out_of_memory, its nothrow form answers null. What a
 * host without these operators made goes back to the heap that knows it. The templates are for the forms of new that
 * debugging libraries put in place of the plain one: they note file and line in memory of the runtime's, which this is
 * none of. */
#define WENDAX_MEMORY                                                                                                  \
    static void* __cdecl operator new(size_t size);                                                                    \
    static void* __cdecl operator new(size_t size, const std::nothrow_t&) WENDAX_NOEXCEPT;                             \
    static void* __cdecl operator new(size_t size, void* place) WENDAX_NOEXCEPT;                                       \
    static void __cdecl operator delete(void* block) WENDAX_NOEXCEPT;                                                  \
    static void __cdecl operator delete(void* block, const std::nothrow_t&) WENDAX_NOEXCEPT;                           \
    static void __cdecl operator delete(void* block, void* place) WENDAX_NOEXCEPT;                                     \
    template <class Line>                                                                                              \
    static void* operator new(size_t size, const char*, Line) {                                                        \
        return operator new(size);                                                                                     \
    }                                                                                                                  \
    template <class Line>                                                                                              \
    static void* operator new(size_t size, int, const char*, Line) {                                                   \
        return operator new(size);                                                                                     \
    }                                                                                                                  \
    template <class Line>                                                                                              \
    static void operator delete(void* block, const char*, Line) {                                                      \
        operator delete(block);                                                                                        \
    }                                                                                                                  \
    template <class Line>                                                                                              \
    static void operator delete(void* block, int, const char*, Line) {                                                 \
        operator delete(block);                                                                                        \
    }

/** The e-mail report, for hosts that drive it themselves or derive from it.
 *
 * What OpenCrushReport() makes. One exists at a time, on one thread. No member reports an error but that memory is
 * gone. Made on the stack or with `new`, whichever the host's C runtime, in derived classes too: the memory is the
 * library's, and gen::genlib_out_of_memory says that there is none (null from the nothrow form). A class that also
 * derives from another one with operators new and delete of its own says by using-declarations which it takes. */
class WENDAX_IMPORT CCrashReport {
public:
    /** @param exception  not owned; null for a report without fault details */
    explicit CCrashReport(CSeException* exception);

    /** Shows the dialog and waits for the answer. Throws nothing of its own.
     * @return 1: open the report, 2: don't, 0: no dialog could be shown, or the program was told to quit meanwhile */
    unsigned int OpenDlg();

    /** Adds a file to those that GenerateEmail() attaches.
     * @param path  copied; the file may be missing, null is ""
     * @throws gen::genlib_error  the list is as it was */
    void AddAttachment(const char* path);

    /** Composes the message, attaches the files and opens it. Leaves the thread at its highest priority.
     *
     * Null texts take their defaults, empty ones don't.
     * @param context    0 main, 1 progress, 2 info window, 3 info run, 4 user, 5 image list, 6 watch, any other unknown
     * @param product    the program's name, in context 0 and in every context's remark about the screenshot
     * @param subject    what follows the name in the subject, in context 0
     * @param recipient  put between quotes, where only some mail programs take a bare mailbox for an address. All that
     *                   were tried take one that ends quotes and line itself:
     * @code
     * "Crash Desk\" <crashes@example.com>\r\nX-Report-To: \""
     * @endcode
     * @throws gen::genlib_error  no message was opened */
    virtual void GenerateEmail(int context, const char* product, const char* subject, const char* recipient);

    virtual ~CCrashReport();

    /** Writes screen_copy.jpg, a picture of the primary screen, into the temporary folder and attaches it.
     * @throws gen::genlib_error  nothing was attached */
    void AttachScreenCopy();

    /** Takes a picture of a part of the primary screen. Throws nothing of its own.
     * @param rect  in pixels
     * @return a 24-bit top-down section that the caller deletes; null for an empty rectangle */
    static HBITMAP__* __cdecl CopyScreenToBitmap(tagRECT* rect);

    /** @cond */
    WENDAX_MEMORY
    /** @endcond */

private:
    CCrashReport(const CCrashReport&);
    CCrashReport& operator=(const CCrashReport&);

    class CCrushDialog;

    /* The library's; for hosts two pointers and so many bytes of numbers, which is their size. */
    HINSTANCE__* m_saved_resources; /* the module that was current when OpenDlg() began */
    WENDAX_PRIVATE(CStdStringArray, m_attachments, 3 * sizeof(void*));
    CSeException* m_exception;
};

/** The upload report: sends up to six files to a web form.
 *
 * One exists at a time, on one thread. Made as CCrashReport is. */
class WENDAX_IMPORT CCrashReport2 {
public:
    /** @param exception  not owned, and no part of the upload; null is fine */
    explicit CCrashReport2(CSeException* exception);

    /** Names four of the files. Sends nothing yet.
     * @param config  the program's configuration; like the others copied, null or "" for none
     * @param script  the script that it followed
     * @param log     its log
     * @param file    the file that it worked on
     * @throws gen::genlib_error  some of them are named */
    virtual void PostRequest(const char* config, const char* script, const char* log, const char* file);

    virtual ~CCrashReport2();

    /** Adds a path to the report's list. The list is no part of the upload.
     * @param path  copied
     * @throws gen::genlib_error  the list is as it was */
    void AddAttachment(const char* path);

    /** Shows the dialog, whose button uploads. Throws nothing of its own: to the user it is a failed upload.
     * @return 1: uploaded, 2: closed without, 0: no dialog could be shown, or the program was told to quit meanwhile */
    unsigned int OpenDlg();

    /** Sends the files as they are now, and waits for the answer.
     * @return true only when the server confirmed
     * @throws gen::genlib_error  nothing was sent, or the answer could not be read */
    bool Upload();

    /** Writes screen_copy.jpg into the temporary folder and makes it part of the upload.
     * @throws gen::genlib_error  the upload goes without it */
    void CreateScreenCopy();

    /** Writes system_info.txt into the temporary folder and makes it part of the upload.
     * @throws gen::genlib_error  the upload goes without it */
    void CreateSystemInfo();

    /** The newest instance, the one that the dialog's button uploads; null when it is gone. */
    static CCrashReport2* m_pThis;

    /** @cond */
    WENDAX_MEMORY
    /** @endcond */

private:
    CCrashReport2(const CCrashReport2&);
    CCrashReport2& operator=(const CCrashReport2&);

    class CCrushDialog;

    /* The library's; for hosts two pointers and so many bytes of numbers, which is their size. */
    WENDAX_PRIVATE(CStdString, m_config_path, 4 * sizeof(int));
    WENDAX_PRIVATE(CStdString, m_script_path, 4 * sizeof(int));
    WENDAX_PRIVATE(CStdString, m_file_path, 4 * sizeof(int));
    WENDAX_PRIVATE(CStdString, m_log_path, 4 * sizeof(int));
    WENDAX_PRIVATE(CStdString, m_screen_path, 4 * sizeof(int));
    WENDAX_PRIVATE(CStdString, m_system_path, 4 * sizeof(int));
    HINSTANCE__* m_saved_resources; /* the module that was current when OpenDlg() began */
    WENDAX_PRIVATE(CStdStringArray, m_attachments, 3 * sizeof(void*));
    CSeException* m_exception;
};

#endif /* C++ in the Microsoft ABI */

#undef WENDAX_MEMORY
#undef WENDAX_PRIVATE

#endif /* WENDAX_H */
