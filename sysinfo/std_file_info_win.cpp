// The system's readers may fault on a damaged resource, so each look-up runs under a fault guard. What was found points
// into one block, which the next Open frees.
#include "sysinfo/std_file_info.h"

#include <new>
#include <string.h>

#include "win/paths.h"
#include "win/guard.h"

CStdFileInfo::~CStdFileInfo() {
    Reset();
}

void CStdFileInfo::Reset() {
    m_fixed = nullptr;
    m_translations = nullptr;
    m_translation_count = 0;
    delete[] m_block;
    m_block = nullptr;
    m_block_size = 0;
    m_language = kNoLanguage;
    m_code_page = kWesternCodePage;
}

int CStdFileInfo::Open(const char* path) {
    Reset();
    bool read = false;
    win::run_guarded([&] { read = Read(path); });
    if (!read)
        Reset();
    return read;
}

bool CStdFileInfo::Read(const char* path) {
    DWORD handle = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &handle);
    if (size == 0)
        return false;
    m_block = new (std::nothrow) BYTE[size]();
    if (!m_block || !GetFileVersionInfoA(path, handle, size, m_block))
        return false;
    m_block_size = size;

    void* value = nullptr;
    UINT length = 0;
    if (!Query("\\", &value, &length))
        return true;                        // strings may be there all the same, in no language
    if (length >= sizeof(VS_FIXEDFILEINFO)) // a resource without them answers, too
        m_fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    if (Query("\\VarFileInfo\\Translation", &value, &length) && length >= sizeof(Translation)) {
        m_translations = static_cast<const Translation*>(value);
        m_translation_count = length / sizeof(Translation);
        m_language = m_translations->language;
        m_code_page = m_translations->code_page;
    }
    return true;
}

int CStdFileInfo::OpenModule(HMODULE module) {
    constexpr DWORD kSize = 1024;
    *m_work_area = '\0';
    win::run_guarded([&] { win::module_path(module, m_work_area, kSize); });
    return Open(m_work_area);
}

CStdString CStdFileInfo::GetStringValue(const char* key) {
    if (m_block && win::run_guarded([&] { ReadString(key); }))
        return m_work_area;
    return "Unknown";
}

void CStdFileInfo::ReadString(const char* key) {
    CStdString query;
    query.format("\\StringFileInfo\\%04x%04x\\%s", m_language, m_code_page, key);

    constexpr size_t kLimit = 1024;
    memset(m_work_area, 0, kLimit + 1);
    void* value = nullptr;
    UINT length = 0;
    if (Query(query.c_str(), &value, &length) && length != 0) {
        // The length counts characters of the resource, which may be more bytes here, so the terminator decides.
        const size_t rest = m_block_size - static_cast<size_t>(static_cast<BYTE*>(value) - m_block);
        strncpy(m_work_area, static_cast<const char*>(value), rest < kLimit ? rest : kLimit);
    }
}

bool CStdFileInfo::Query(const char* path, void** value, UINT* length) {
    return VerQueryValueA(m_block, path, value, length) && *value;
}

CStdString CStdFileInfo::GetCompanyName() {
    return GetStringValue("CompanyName");
}

// Kept: the key's small "n"; the look-up doesn't regard case.
CStdString CStdFileInfo::GetProductName() {
    return GetStringValue("Productname");
}

CStdString CStdFileInfo::GetProductVersionPart(int index) {
    return sysinfo::product_version_part(GetStringValue("ProductVersion").c_str(), index);
}

sysinfo::FileVersion CStdFileInfo::GetVersion() {
    return {GetCompanyName(),
            GetProductName(),
            {GetProductVersionPart(0), GetProductVersionPart(1), GetProductVersionPart(2), GetProductVersionPart(3)}};
}
