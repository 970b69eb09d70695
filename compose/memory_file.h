// CMemoryFile: the contents of a file, or a window of them, as one block of memory.
#pragma once

#include <afx.h>

#include "win/handle.h"

// Maps the file into the address space: nothing is copied, and the size is that at the time of opening. One view at a
// time; the object closes it when it ends. Failures are results, also for want of memory. No object is shared between
// threads. The order of the virtual functions and of the fields is fixed.
class CMemoryFile {
public:
    CMemoryFile();
    CMemoryFile(const CMemoryFile&) = delete;
    CMemoryFile& operator=(const CMemoryFile&) = delete;

    // Makes the attributes that mappings opened from now on get: access for everyone, handle inheritance on. On failure
    // there are none.
    virtual void CreateSecurity();
    virtual void FreeSecurity();

    virtual ~CMemoryFile();

    virtual void Close();
    // Writes what was changed in the view to the file.
    virtual bool Flush();
    // The path given to Open; empty when closed.
    virtual void GetFileName(CString& name);

    // 1, or 0 if the file can't be opened or mapped, or there is no memory; a file that was open is closed first in any
    // case. The path may lie in its view, and is copied. Flags are
    // CFile::OpenFlags. Kept: 0 opens for reading, with sharing of everything, and any other flags ask for a writable
    // view, even if they don't say that the file shall be opened for writing (which then fails). Offset and length are
    // in bytes; length 0 is up to the end of the file, at most 4 GiB - 1. A length beyond the end, or an empty file,
    // can't be mapped. The view goes to the preferred address, or fails; null leaves the choice to the system.
    virtual int Open(const char* path, unsigned flags, unsigned long long offset, unsigned length, void* base);

    // The first byte asked for; null when closed.
    unsigned char* GetData() const { return m_data; }
    unsigned GetDataLength() const { return m_data_length; } // bytes
    // Bytes mapped: the data and those before it up to a multiple of the allocation granularity.
    unsigned GetViewLength() const { return m_view_length; }

private:
    SECURITY_ATTRIBUTES* m_attributes = nullptr; // owned
    SECURITY_DESCRIPTOR* m_descriptor = nullptr; // owned
    win::FileHandle m_mapping;
    win::MappedView m_view;
    unsigned char* m_data = nullptr;
    CString m_file_name;
    unsigned m_granularity; // what the start of a view is a multiple of
    unsigned m_data_length = 0;
    unsigned m_view_length = 0;
    unsigned long long m_file_size = 0;
    unsigned m_mapped_length = 0;
};

#ifdef _MSC_VER
static_assert(sizeof(void*) == 8 || sizeof(CMemoryFile) == 64,
              "the file's size is 8-aligned at 48, the mapped length at 56");
static_assert(sizeof(void*) != 8 || sizeof(CMemoryFile) == 88,
              "the file's size is 8-aligned at 72, the mapped length at 80");
#endif
