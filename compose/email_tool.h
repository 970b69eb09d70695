// CEmailTool: composes an e-mail message with attachments and opens it in the user's mail program.
#pragma once

#include <afx.h>

#include "base/std_string.h"

// The order of calls is Compose, AddAttachment for each further file, OpenInMailer. The message is in memory as a
// whole; its format is described in docs/message-format.md. Exhausted memory throws gen::genlib_out_of_memory and
// leaves the message as it was; no other failure is reported. May be used after a fault, by one thread at a time.
class CEmailTool {
public:
    CEmailTool();
    virtual ~CEmailTool();

    // Makes the message, dated now, with one attachment or, for a null path, none. A null text is an empty one.
    void Compose(const char* subject, const char* body, const char* recipient, const char* path);
    // The same, dated otherwise.
    void ComposeAt(const CTime& time, const char* subject, const char* body, const char* recipient, const char* path);

    // Adds a file at the end of the message. A file that can't be opened, or is empty, is attached as no bytes; one
    // that can't be read to its end, with the bytes before. The attachment's name is what follows the last backslash.
    void AddAttachment(const char* path);

    // The bytes of a file in base64, as AddAttachment puts them into the message.
    CString EncodeFile(const char* path) const;

    // Writes the message to a new file in the temporary directory and has the shell open it. The file stays. Without a
    // temporary directory that can be written to nothing happens. Where eleven names in turn are those of files, the
    // last of these is overwritten.
    void OpenInMailer() const;

    // Writes the message to a file, whose former contents are lost. If it can't be opened nothing is written; if the
    // disk gets full, what fits; with no memory left, too.
    void WriteToFile(const char* name) const;

    const CStdString& GetText() const { return m_message; }

private:
    CStdString m_message;
};

namespace compose {

// The number of bytes from the start up to the first page that can't be read. The file behind a view may become
// unreadable after it was mapped, with its network or its disk; the read then faults, here instead of in the encoder.
unsigned readable_prefix(const unsigned char* data, unsigned size);

} // namespace compose

#ifdef _MSC_VER
static_assert(sizeof(CEmailTool) == (sizeof(void*) == 8 ? 40 : 28), "the type table and the message");
#endif
