// Fetches what the message is made of (clock, files, folder) and leaves its text to message_template.h. The message
// then goes as a new .eml file into the temporary folder, and the system opens it.
#include "compose/email_tool.h"

#include <limits.h>
#include <string.h>
#include <shellapi.h>

#include "base/split_path.h"
#include "compose/base64_coding.h"
#include "compose/memory_file.h"
#include "compose/message_template.h"
#include "win/files.h"
#include "win/paths.h"

namespace {

// A file to attach. Its bytes are in memory as long as the object lives.
class AttachedFile {
    // No message can hold the text of more; 32 bits have no room for such a view anyway.
    static constexpr unsigned kLongest = sizeof(void*) == 8 ? INT_MAX / 4u * 3 : UINT_MAX;

public:
    explicit AttachedFile(const char* path) : m_name(CStdSplitPath(path).GetFileName()) {
        if (m_file.Open(path, 0, 0, 0, nullptr) && m_file.GetDataLength() <= kLongest)
            m_size = compose::readable_prefix(m_file.GetData(), m_file.GetDataLength());
    }

    compose::Attachment attachment() const { return {m_name.c_str(), m_file.GetData(), m_size}; }

private:
    CStdString m_name;
    CMemoryFile m_file;
    unsigned m_size = 0;
};

// Puts the path of a new message in the folder into the MAX_PATH bytes of path; false if there can be none.
bool name_message(const char* folder, char* path) {
    const UINT number = GetTempFileNameA(folder, "email", 0, path);
    if (!number)
        return false;
    // Only the name is wanted. Whatever the deletion throws must not keep the message from the user.
    try {
        DeleteFileA(path);
    } catch (...) {
    }
    // Another message may have the name: of a program that fails at the same moment, or an old one whose number has
    // come round. Other numbers follow no order, and differ between processes, so that one that is free is soon found.
    unsigned state = GetCurrentProcessId() << 16 | number;
    for (int others_left = 10;; --others_left) {
        // The name ends in three letters behind a dot; changed in place, because memory may be short by now.
        memcpy(strrchr(path, '.'), ".eml", 4);
        if (win::claim_file(path) != win::Claim::kTaken || others_left == 0)
            return true;
        state = state * 1664525 + 1013904223;
        if (!GetTempFileNameA(folder, "email", state % 0xFFFF + 1, path))
            return false;
    }
}

} // namespace

CEmailTool::CEmailTool() = default;

CEmailTool::~CEmailTool() = default;

void CEmailTool::Compose(const char* subject, const char* body, const char* recipient, const char* path) {
    ComposeAt(CTime::GetCurrentTime(), subject, body, recipient, path);
}

void CEmailTool::ComposeAt(const CTime& time, const char* subject, const char* body, const char* recipient,
                           const char* path) {
    // Kept: readers of these messages expect day and year, the reversed clock, and the zone that is always +0000.
    const CString date = time.Format("%A, %d, %y");
    const CString clock = time.Format("%S:%M:%H");
    const compose::MessageFields fields = {subject, body, recipient, date, clock};
    if (!path) {
        m_message = compose::message_text(fields, nullptr);
        return;
    }
    const AttachedFile file(path);
    const compose::Attachment attachment = file.attachment();
    m_message = compose::message_text(fields, &attachment);
}

void CEmailTool::AddAttachment(const char* path) {
    compose::append_attachment(m_message, AttachedFile(path).attachment());
}

CString CEmailTool::EncodeFile(const char* path) const {
    const AttachedFile file(path);
    CString text;
    CBase64Coding().Encode(file.attachment().data, static_cast<int>(file.attachment().size), text);
    return text;
}

void CEmailTool::OpenInMailer() const {
    char folder[1024] = {};
    const DWORD length = win::temporary_folder(folder, sizeof(folder));
    constexpr DWORD kNameSpace = 14; // GetTempFileNameA needs as much of a path's length for the name
    char path[MAX_PATH] = {};
    if (length == 0 || length > MAX_PATH - kNameSpace || !name_message(folder, path))
        return;
    WriteToFile(path);
    ShellExecuteA(nullptr, "open", path, nullptr, nullptr, SW_SHOW);
}

void CEmailTool::WriteToFile(const char* name) const {
    CFile file;
    if (!file.Open(name, CFile::modeCreate | CFile::modeWrite))
        return;
    try {
        file.Write(m_message.c_str(), m_message.length());
    } catch (CFileException* error) {
        error->Delete();
    } catch (gen::genlib_out_of_memory&) { // there was none for the other exception
    }
}
