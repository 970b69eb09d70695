// The upload report: sends up to six files to a web form.
#pragma once

#include <new>
#include <afxwin.h>
#include <afxtempl.h>

#include "base/std_string.h"

class CSeException;

// Hosts may make one themselves or derive from it; the order of members and virtual operations is part of the
// interface. One report is made at a time in a process, on one thread. Exhausted memory leaves as gen::genlib_error.
class CCrashReport2 {
public:
    class CCrushDialog;

    // Becomes the process's newest instance. The exception is not owned.
    explicit CCrashReport2(CSeException* exception);
    CCrashReport2(const CCrashReport2&) = delete;
    CCrashReport2& operator=(const CCrashReport2&) = delete;

    // Takes the paths of four of the files; sends nothing. A null or empty text means no file.
    virtual void PostRequest(const char* config, const char* script, const char* log, const char* file);

    virtual ~CCrashReport2();

    // Appends a copy of the path to the report's list. The list is not part of the upload.
    void AddAttachment(const char* path);

    // Asks the user and uploads. 1: uploaded, 2: closed without, 0: no dialog could be shown or the program was told to
    // quit meanwhile.
    unsigned int OpenDlg();

    // Sends the files as they are now in one POST and waits for the answer; true only when the server confirmed.
    bool Upload();

    // Writes screen_copy.jpg into the temporary folder and makes it part of the upload.
    void CreateScreenCopy();
    // Writes system_info.txt into the temporary folder and makes it part of the upload.
    void CreateSystemInfo();

    // The newest instance, on which the dialog's button calls Upload; null when it is gone.
    static CCrashReport2* m_pThis;

    // A report lies in the library's memory, also one that a host or a derived class makes. The plain form throws
    // gen::genlib_out_of_memory. What was made by other means goes back to the heap that knows it.
    static void* operator new(size_t size);
    static void* operator new(size_t size, const std::nothrow_t&) noexcept;
    static void* operator new(size_t size, void* place) noexcept;
    static void operator delete(void* block) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    static void operator delete(void* block, void* place) noexcept;

private:
    CStdString m_config_path;
    CStdString m_script_path;
    CStdString m_file_path;
    CStdString m_log_path;
    CStdString m_screen_path;
    CStdString m_system_path;
    HINSTANCE m_saved_resources = nullptr; // the current resource module at OpenDlg's entry
    CArray<CStdString, CStdString&> m_attachments;
    CSeException* m_exception;
};

#ifdef _MSC_VER
static_assert(sizeof(CCrashReport2) == 176, "hosts know this layout");
#endif
