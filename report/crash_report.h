// The e-mail report: composes a message about a fault and opens it in the user's mail program.
#pragma once

#include <new>
#include <afxwin.h>
#include <afxtempl.h>

#include "base/std_string.h"

class CSeException;

// Hosts may make one themselves or derive from it; the order of members and virtual operations is part of the
// interface. One report is made at a time in a process, on one thread, usually inside the catch block of the fault. No
// member reports an error; exhausted memory leaves as gen::genlib_error.
class CCrashReport {
public:
    class CCrushDialog;

    // The exception is not owned and must outlive the report; null for a report without fault details.
    explicit CCrashReport(CSeException* exception);
    CCrashReport(const CCrashReport&) = delete;
    CCrashReport& operator=(const CCrashReport&) = delete;

    // Asks the user. 1: open the report, 2: don't, 0: no dialog could be shown or the program was told to quit
    // meanwhile.
    unsigned int OpenDlg();

    // Appends a copy of the path to the files that GenerateEmail attaches. The file may be missing. Null is "".
    void AddAttachment(const char* path);

    // Composes the message of one of eight contexts (0 main, 1 progress, 2 info window, 3 info run, 4 user, 5 image
    // list, 6 watch, any other unknown), attaches the files and opens the message through the shell. Null texts take
    // their defaults, empty ones don't. The subject belongs to context 0, the product to context 0 and to every
    // context's remark about the screenshot. Raises the thread's priority for good.
    virtual void GenerateEmail(int context, const char* product, const char* subject, const char* recipient);

    virtual ~CCrashReport();

    // Writes screen_copy.jpg, a picture of the primary screen, into the temporary folder and attaches its path, whether
    // or not the picture could be made.
    void AttachScreenCopy();

    // The part of the primary screen inside the rectangle as a 24-bit top-down section that the caller deletes; null
    // for an empty rectangle.
    static HBITMAP CopyScreenToBitmap(RECT* rect);

    // A report lies in the library's memory, also one that a host or a derived class makes. The plain form throws
    // gen::genlib_out_of_memory. What was made by other means goes back to the heap that knows it.
    static void* operator new(size_t size);
    static void* operator new(size_t size, const std::nothrow_t&) noexcept;
    static void* operator new(size_t size, void* place) noexcept;
    static void operator delete(void* block) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    static void operator delete(void* block, void* place) noexcept;

private:
    HINSTANCE m_saved_resources = nullptr; // the current resource module at OpenDlg's entry
    CArray<CStdString, CStdString&> m_attachments;
    CSeException* m_exception;
};

#ifdef _MSC_VER
static_assert(sizeof(CCrashReport) == 32, "hosts know this layout");
#endif
