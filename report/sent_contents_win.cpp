// Copies have the names of their files; where two files have the same, the second gets the number of its part in front.
#include "report/sent_contents.h"

#include <windows.h>
#include <shellapi.h>

#include "win/handle.h"
#include "win/paths.h"

namespace report {

namespace {

const char* name_in(const char* path) {
    const char* name = path;
    for (; *path; ++path) {
        if (*path == '\\' || *path == '/' || *path == ':')
            name = path + 1;
    }
    return name;
}

} // namespace

SentContents::SentContents(const char* const (&paths)[upload_form::part_count]) : m_copies{} {
    const unsigned long length = win::temporary_folder(m_folder, kMostPath / 2);
    char* const name = m_folder + (length < kMostPath / 2 ? length : 0);
    // A folder of that name may be another program's, or one that somebody has open.
    for (int number = 1;; ++number) {
        wsprintfA(name, "What is sent %d", number);
        if (CreateDirectoryA(m_folder, nullptr))
            break;
        if (GetLastError() != ERROR_ALREADY_EXISTS) {
            *m_folder = 0;
            return;
        }
    }
    for (int i = 0; i < upload_form::part_count; ++i) {
        char* const copy = m_copies[i];
        wsprintfA(copy, "%s\\%s", m_folder, name_in(paths[i]));
        if (!CopyFileA(paths[i], copy, TRUE)) {
            wsprintfA(copy, "%s\\%d %s", m_folder, i + 1, name_in(paths[i]));
            if (!CopyFileA(paths[i], copy, TRUE))
                *copy = 0;
        }
        SetFileAttributesA(copy, FILE_ATTRIBUTE_NORMAL); // of a file that can be deleted
    }
}

SentContents::~SentContents() {
    for (const char* const copy : m_copies)
        win::nothrow(DeleteFileA)(copy);
    win::nothrow(RemoveDirectoryA)(m_folder);
}

bool SentContents::Open() const {
    return reinterpret_cast<INT_PTR>(ShellExecuteA(nullptr, "open", m_folder, nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

void SentContents::Replace(const char* (&names)[upload_form::part_count],
                           const char* (&paths)[upload_form::part_count]) const {
    for (int i = 0; i < upload_form::part_count; ++i) {
        paths[i] = m_copies[i];
        if (GetFileAttributesA(m_copies[i]) == INVALID_FILE_ATTRIBUTES)
            names[i] = paths[i] = "";
    }
}

} // namespace report
