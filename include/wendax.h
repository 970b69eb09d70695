/* Wendax: crash reports for Windows desktop programs.
 *
 * The five functions work from C and C++ and with any compiler. The two classes and the inline helper are for C++ hosts
 * that follow the Microsoft ABI (Visual C++, clang in its Microsoft mode); other compilers see the functions only.
 *
 * A covered thread looks like this (compile the host with /EHa):
 *
 *     InitCrushReport();
 *     try {
 *         work();
 *     } catch (char* marker) {
 *         OpenCrushReport(marker);   // inside the catch block: the fault's record is good until it ends
 *     }
 */
#ifndef WENDAX_H
#define WENDAX_H

struct _EXCEPTION_POINTERS;

#if defined(_MSC_VER)
#define WENDAX_IMPORT __declspec(dllimport)
#else
#define WENDAX_IMPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef void(__cdecl* WendaxTranslator)(unsigned int code, struct _EXCEPTION_POINTERS* pointers);

/* Covers the calling thread: a structured exception on it becomes a C++ exception, the marker text as a char*. Returns
 * the thread's translator before. Good for hosts whose C runtime is msvcrt.dll; others call WendaxCoverThread. */
WENDAX_IMPORT WendaxTranslator __cdecl InitCrushReport(void);

/* The translator itself, for a host's own _set_se_translator. Keeps the exception for the report and throws the marker.
 */
WENDAX_IMPORT void __cdecl APISeTranslator(unsigned int code, struct _EXCEPTION_POINTERS* pointers);

/* Makes the e-mail report: of the last fault when the text is the marker, without fault details for any other text and
 * for null. Call it inside the catch block. Blocks until the user has answered; says nothing about the answer. */
WENDAX_IMPORT void __cdecl OpenCrushReport(const char* marker);

/* A further file for every later report; at most 1023 bytes, null or "" for none. Returns the library's copy. */
WENDAX_IMPORT char* __cdecl SetAttachment(const char* path);

/* Nonzero: every later report has a picture of the screen. Returns the flag. */
WENDAX_IMPORT int __cdecl SetCreateScreenCopy(int flag);

#ifdef __cplusplus
} /* extern "C" */
#endif

#if defined(__cplusplus) && defined(_MSC_VER)

struct HBITMAP__;
struct tagRECT;
class CSeException;

/* The e-mail report, for hosts that drive it themselves. 32 bytes. The exception is null or the fault's; it is not
 * owned. */
class WENDAX_IMPORT CCrashReport {
public:
    explicit CCrashReport(CSeException* exception);

    /* Asks the user. 1: open the report, 2: don't, 0: no dialog could be shown. */
    unsigned int OpenDlg();
    /* A further file for the message; copied, need not exist. */
    void AddAttachment(const char* path);
    /* Composes the message and opens it. Contexts: 0 main, 1 progress, 2 info window, 3 info run, 4 user, 5 image list,
     * 6 watch, any other unknown. Null texts take their defaults. */
    virtual void GenerateEmail(int context, const char* product, const char* subject, const char* recipient);
    virtual ~CCrashReport();
    /* Takes a picture of the screen and attaches it. */
    void AttachScreenCopy();
    /* A part of the screen as a bitmap that the caller deletes; null for an empty rectangle. */
    static HBITMAP__* __cdecl CopyScreenToBitmap(tagRECT* rect);

private:
    CCrashReport(const CCrashReport&);
    CCrashReport& operator=(const CCrashReport&);

    void* m_saved_resources;
    unsigned int m_attachments[5];
    CSeException* m_exception;
};

/* The upload report. 176 bytes. */
class WENDAX_IMPORT CCrashReport2 {
public:
    explicit CCrashReport2(CSeException* exception);

    /* The paths of four files to send; null or "" for none. Sends nothing yet. */
    virtual void PostRequest(const char* config, const char* script, const char* log, const char* file);
    virtual ~CCrashReport2();
    /* Kept with the report; not sent. */
    void AddAttachment(const char* path);
    /* Asks the user and uploads. 1: uploaded, 2: closed without, 0: no dialog could be shown. */
    unsigned int OpenDlg();
    /* Sends the files as they are now; true when the server confirmed. */
    bool Upload();
    /* A picture of the screen, and a text about the machine, for the upload. */
    void CreateScreenCopy();
    void CreateSystemInfo();

    /* The newest instance. */
    static CCrashReport2* m_pThis;

private:
    CCrashReport2(const CCrashReport2&);
    CCrashReport2& operator=(const CCrashReport2&);

    unsigned int m_paths[36];
    void* m_saved_resources;
    unsigned int m_attachments[5];
    CSeException* m_exception;
};

#endif /* C++ in the Microsoft ABI */

#endif /* WENDAX_H */
