// The upload form: what an upload report sends besides the bytes of its files, and how an answer is judged. Pure text,
// no network. The format as a whole is written down in docs/upload-format.md.
#pragma once

#include "net/super_buffer.h"

namespace upload_form {

// The files of a report, in the order in which they are sent.
enum Part {
    conversion_script,
    conversion_config,
    file_for_conversion,
    conversion_log,
    screen_copy,
    system_info,
    part_count
};

// What stands before a part's bytes: five settings fields of the form, then the headers of the file itself. The path
// goes out as it is, unescaped. Texts beyond some 32 KiB are cut, as CStdString::format does.
CStdString part_header(Part part, const char* path);

// What stands after a part's bytes. Kept: it reads as the end of the whole body, after every single part.
extern const char kPartEnd[];

// The form's own fields, after the last part. Kept: it ends in an open boundary.
extern const char kTrailer[];

// The request header that names the boundary; no line end.
extern const char kRequestHeaders[];

// Appends the whole body to the buffer. names[part] is the path that each part's header has, "" for none; paths[part]
// that of the file with its bytes, mostly the same; a path that names no readable file gives an empty part. Throws
// gen::genlib_out_of_memory as the buffer does.
void append_body(CSuperBuffer& body, const char* const (&names)[part_count], const char* const (&paths)[part_count]);
inline void append_body(CSuperBuffer& body, const char* const (&paths)[part_count]) {
    append_body(body, paths, paths);
}

// Whether the server's answer confirms the upload; null is no answer. Kept: an answer that begins with the
// confirmation is refused, whatever else it holds.
bool confirms(const char* response);

} // namespace upload_form
