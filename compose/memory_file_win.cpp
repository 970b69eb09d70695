// A view has to begin at a multiple of the system's allocation granularity, so the mapping starts at the last one
// before the offset, and the data some bytes into the view.
#include "compose/memory_file.h"

#include <new>

#include "base/genlib_error.h"
#include "win/files.h"

CMemoryFile::CMemoryFile() {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    m_granularity = system.dwAllocationGranularity;
}

CMemoryFile::~CMemoryFile() {
    CMemoryFile::Close();
    CMemoryFile::FreeSecurity();
}

void CMemoryFile::CreateSecurity() {
    FreeSecurity();
    m_descriptor = new (std::nothrow) SECURITY_DESCRIPTOR;
    m_attributes = new (std::nothrow) SECURITY_ATTRIBUTES;
    if (!m_descriptor || !m_attributes || !InitializeSecurityDescriptor(m_descriptor, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(m_descriptor, TRUE, nullptr, FALSE)) {
        FreeSecurity();
        return;
    }
    *m_attributes = {sizeof(*m_attributes), m_descriptor, TRUE};
}

void CMemoryFile::FreeSecurity() {
    delete m_attributes;
    m_attributes = nullptr;
    delete m_descriptor;
    m_descriptor = nullptr;
}

void CMemoryFile::Close() {
    m_view.reset();
    m_mapping.reset();
    m_data = nullptr;
    m_file_name.Empty();
    m_data_length = m_view_length = m_mapped_length = 0;
    m_file_size = 0;
}

bool CMemoryFile::Flush() {
    return m_view && FlushViewOfFile(m_view.get(), m_view_length);
}

void CMemoryFile::GetFileName(CString& name) {
    name = m_file_name;
}

int CMemoryFile::Open(const char* path, unsigned flags, unsigned long long offset, unsigned length, void* base) {
    CString name; // made before anything is closed: the path may lie in the view
    try {
        name = path;
    } catch (const gen::genlib_out_of_memory&) {
        path = nullptr;
    }
    if (m_view)
        Close();
    if (!path)
        return 0;
    CFile file; // closes itself; the mapping keeps the file open
    if (!file.Open(name, flags ? flags : static_cast<unsigned>(CFile::shareDenyNone | CFile::modeRead)))
        return 0;
    const DWORD protection = flags ? PAGE_READWRITE : PAGE_READONLY;
    const DWORD access = flags ? FILE_MAP_WRITE : FILE_MAP_READ;
    const int64_t size = win::file_size(file.m_hFile);
    if (size < 0)
        return 0;
    m_file_size = static_cast<unsigned long long>(size);
    if (offset > m_file_size)
        return 0;
    if (length == 0) {
        const unsigned long long rest = m_file_size - offset;
        length = rest > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<unsigned>(rest);
    }

    const HANDLE mapping = CreateFileMappingA(file.m_hFile, m_attributes, protection, 0, 0, nullptr);
    if (!mapping) {
        Close();
        return 0;
    }
    m_mapping.reset(mapping);
    const unsigned slack = static_cast<unsigned>(offset % m_granularity);
    const unsigned long long start = offset - slack;
    const unsigned view_length = length + slack;
    if (view_length >= length) // the sum has not wrapped
        m_view.reset(MapViewOfFileEx(mapping, access, static_cast<DWORD>(start >> 32), static_cast<DWORD>(start),
                                     view_length, base));
    if (!m_view) {
        Close();
        return 0;
    }
    m_file_name = name;
    m_data_length = m_mapped_length = length;
    m_view_length = view_length;
    m_data = static_cast<unsigned char*>(m_view.get()) + slack;
    return 1;
}
