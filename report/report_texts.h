// The texts of both reports. Pure text building; no Windows.
#pragma once

#include "base/std_string.h"

namespace report {

// Whom the texts speak of. None has a percent sign or a control character.
struct Names {
    const char* product = "Corrowfinder";
    const char* company = "Torvex";  // in Windows-1251
    const char* program = "ksv.exe"; // the host's file name
};

// The e-mail report: subject and body (mail_text.cpp)

// The name that stands for the product when the host gives none.
extern const char kDefaultProduct[];

// What stands for the fault description in a report without an exception.
extern const char kNoDebugText[];

// The remark about the screenshot that every body holds. product is not null.
CStdString screenshot_note(const char* product, const Names& names = {});

struct MailText {
    CStdString subject;
    CStdString body; // cut at about 32 KiB, the bound of formatted texts
};

// The message of a context (0 to 6, any other value: unknown). product is not null; a null subject takes its default;
// product and subject are used by context 0 alone. note, system and debug go into every body, in this order.
MailText mail_text(int context, const char* product, const char* subject, const CStdString& note,
                   const CStdString& system, const CStdString& debug, const Names& names = {});

// What the upload dialog says while it works (upload_texts.cpp)

// Windows-1251 bytes, given to the control as they stand: they must never be converted.
extern const char kUploadWaitText[];
extern const char kUploadFailureText[]; // as it is with the names that are built in

// The same with other names.
constexpr unsigned kUploadFailureSize = 400;
void upload_failure_text(char (&text)[kUploadFailureSize], const Names& names);

// English, unlike the other two; kept.
extern const char kUploadSuccessText[];

// Names in the texts of a dialog (wide_text.cpp); wchar_t is the system's

// Puts `name` in the place of the first `word` in the text, where that fits into its `size` characters. An ampersand of
// the name is doubled, as a dialog's texts have it. Returns whether the text has changed.
bool replace_word(wchar_t* text, unsigned size, const wchar_t* word, const wchar_t* name);

} // namespace report
