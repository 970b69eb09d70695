// A subject and a body format for each context. The formats of contexts from 1 on all take the same three texts: the
// note, the system's and the fault's.
#include "report/report_texts.h"

namespace report {

const char kDefaultProduct[] = "Corrowfinder";
const char kNoDebugText[] = "Debug info is not accessible.\n";

namespace {

// The texts are what the receiving side knows, slips included: "Report" is capitalised in two subjects only, the main
// text has a stray Cyrillic letter (Windows-1251) after "Thank you,", and some lines end in a blank. \1 stands for the
// product and \2 for the company.

constexpr char kNoteFormat[] =
    "\n\nPlease note, that %s has created a screenshot of your desktop. That screenshot will help developers fix the "
    "problem. If you don't want to send screenshot to \2, delete file screen_copy.jpg and send report.";

constexpr char kMainBody[] =
    "%s has performed an illegal operation.\n"
    "You can help developers to fix this problem by describing your actions that lead to this error.\n\n"
    "Please send this email to \2 Support including attachments.\n"
    "This will help find and fix this problem faster.%s\n\n"
    "Thank you,\xEE\n"
    "\2 Support\n\n"
    "PS:%s\n%s\n";

constexpr char kUserBody[] =
    "Dear user,\n\n"
    "You can help developers to fix this problem by describing your actions that lead to this error.\n\n"
    "Please send this email to \2 Support including attachments: image that program was processing when error "
    "occurred, conversion profile and file with command line.\n\n"
    "This will help find and fix this problem faster.%s\n\n"
    "Thank you,\n"
    "\2 Support\n\n"
    "PS:%s\n%s\n";

constexpr char kEngineBody[] = "\1 has performed an illegal operation.\n"
                               "It could be caused by graphics engine that incorrectly processed graphics file.\n\n"
                               "Please send this email to \2 Support including attachment.\n"
                               "This will help find and fix this problem faster.%s\n\n"
                               "Thank you,\n"
                               "\2 Support\n\n"
                               "PS:%s\n%s\n";

constexpr char kWatchBody[] =
    "\1 has performed an illegal operation. \n\n"
    "You can help developers to fix this problem by describing your actions that lead to this error.\n\n"
    "This will help find and fix this problem faster.%s\n\n"
    "Thank you,\n"
    "\2 Support \n\n"
    "PS:%s\n%s\n";

constexpr char kUnknownBody[] =
    "\1 has performed an illegal operation.\n\n"
    "You can help developers to fix this problem by describing your actions that lead to this error.\n\n"
    "This will help find and fix this problem faster.%s\n\n"
    "Thank you,\n"
    "\2 Support \n\n"
    "PS:%s\n%s\n";

struct Context {
    const char* subject;
    const char* body; // takes note, system text and debug text
};

// Contexts 1 to 6; 0 is put together from the host's own words.
constexpr Context kContexts[] = {
    {"\1 Error Report [Progress]", kUserBody},      {"\1 Error report [InfoWndWork]", kEngineBody},
    {"\1 Error report [InfoRunWork]", kEngineBody}, {"\1 Error report [User]", kUserBody},
    {"\1 Error report [ImageList]", kEngineBody},   {"\1 Error report [Watch]", kWatchBody},
};
constexpr int kContextCount = sizeof(kContexts) / sizeof(kContexts[0]);
constexpr Context kUnknownContext = {"\1 Error report [Unknown]", kUnknownBody};

CStdString with_names(const char* text, const Names& names) {
    CStdString named(text);
    named.replace_all("\1", names.product);
    named.replace_all("\2", names.company);
    return named;
}

} // namespace

CStdString screenshot_note(const char* product, const Names& names) {
    CStdString note;
    note.format(with_names(kNoteFormat, names).c_str(), product);
    return note;
}

MailText mail_text(int context, const char* product, const char* subject, const CStdString& note,
                   const CStdString& system, const CStdString& debug, const Names& names) {
    MailText text;
    if (context == 0) {
        text.subject.format("%s %s", product, subject ? subject : "Error Report [Main]");
        text.body.format(with_names(kMainBody, names).c_str(), product, note.c_str(), system.c_str(), debug.c_str());
        return text;
    }
    const Context& chosen = context >= 1 && context <= kContextCount ? kContexts[context - 1] : kUnknownContext;
    text.subject = with_names(chosen.subject, names);
    text.body.format(with_names(chosen.body, names).c_str(), note.c_str(), system.c_str(), debug.c_str());
    return text;
}

} // namespace report
