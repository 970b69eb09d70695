// The text of a composed e-mail message, as docs/message-format.md describes it. Plain text building: the clock, the
// files and their names are the caller's.
#pragma once

#include "base/std_string.h"

namespace compose {

// Null is an empty text.
struct MessageFields {
    const char* subject;
    const char* body;
    const char* recipient;
    const char* date;
    const char* time;
};

struct Attachment {
    const char* file_name;
    const unsigned char* data; // null if there are no bytes
    unsigned size;
};

// A message with one attachment, or with none if that is null. Each field takes the place of its placeholder all over
// the message, in the fields filled before it too.
CStdString message_text(const MessageFields& fields, const Attachment* attachment);

// Adds a further attachment at the end. The message grows once, to exactly its new size, and the bytes are encoded
// straight into it; if there is no memory for that, it stays as it was.
void append_attachment(CStdString& message, const Attachment& attachment);

} // namespace compose
