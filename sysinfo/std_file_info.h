// CStdFileInfo: a reader of a file's version resource.
#pragma once

#include <windows.h>

#include "base/std_string.h"
#include "sysinfo/version_texts.h"

// Reads one file at a time; strings come from the resource's first language. The object holds a work area of 64 KiB and
// is no object for the stack. Not synchronised.
class CStdFileInfo {
public:
    CStdFileInfo() = default;
    virtual ~CStdFileInfo();

    CStdFileInfo(const CStdFileInfo&) = delete;
    CStdFileInfo& operator=(const CStdFileInfo&) = delete;

    // Forgets the file before and loads the version resource of this one. 1, or 0 if there is none to be had; null and
    // an empty path have none.
    int Open(const char* path);
    // The same for the file of a loaded module; null is the executable of the process.
    int OpenModule(HMODULE module);

    // A string of the resource, at most 1024 characters of it; the key is looked up without regard to case. Empty if
    // the resource lacks it, "Unknown" if there is no resource or reading it meets a fault.
    CStdString GetStringValue(const char* key);
    CStdString GetCompanyName();
    CStdString GetProductName();
    // Part 0 to 3 of the product version, see sysinfo::product_version_part.
    CStdString GetProductVersionPart(int index);

    // The numbers of the resource, null if it has none; good until the next Open.
    const VS_FIXEDFILEINFO* GetFixedInfo() const { return m_fixed; }
    // How many languages the resource says that it has.
    DWORD GetTranslationCount() const { return m_translation_count; }

    // Company, product and version parts together.
    sysinfo::FileVersion GetVersion();

private:
    struct Translation {
        WORD language;
        WORD code_page;
    };
    static_assert(sizeof(Translation) == 4);

    void Reset();
    bool Read(const char* path);
    void ReadString(const char* key); // into the work area
    bool Query(const char* path, void** value, UINT* length);

    static constexpr WORD kNoLanguage = 0;
    static constexpr WORD kWesternCodePage = 1252;

    char m_work_area[65536]; // scratch space; holds nothing from one call to the next
    WORD m_language = kNoLanguage;
    WORD m_code_page = kWesternCodePage;
    BYTE* m_block = nullptr; // owned: the whole resource, where the pointers below point to
    DWORD m_block_size = 0;
    const Translation* m_translations = nullptr;
    DWORD m_translation_count = 0;
    const VS_FIXEDFILEINFO* m_fixed = nullptr;
};
