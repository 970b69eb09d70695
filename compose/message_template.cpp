// Two forms with placeholders in braces, replaced one after another: a field may bring placeholders that are replaced
// later, and they are. Files are encoded straight into the finished text.
#include "compose/message_template.h"

#include "compose/base64_codec.h"

#define BOUNDARY "----=_NextPart_000_023D_01C25DB8.8402B210"
// Kept: every part ends in this line, the last one too, and no line closes the message.
#define SEPARATOR "--" BOUNDARY "\r\n"

namespace compose {

namespace {

constexpr char kMessageForm[] = "To: \"{To}\" \r\n"
                                "Reply-To: \r\n" // the mail program fills in the sender
                                "From: \r\n"
                                "Subject: {Subject}\r\n"
                                "Date: {Date} {Time} +0000\r\n"
                                "MIME-Version: 1.0\r\n"
                                "Content-Type: multipart/mixed;\r\n"
                                "\tboundary=\"" BOUNDARY "\"\r\n"
                                "X-Priority: 3\r\n"
                                "X-MSMail-Priority: Normal\r\n"
                                "X-Unsent: 1\r\n" // makes the mail program open the file as a draft
                                "X-MimeOLE: Produced By Microsoft MimeOLE V6.00.2600.0000\r\n"
                                "\r\n"
                                "This is a multi-part message in MIME format.\r\n"
                                "\r\n" SEPARATOR "Content-Type: text/plain;\r\n"
                                "\tcharset=\"windows-1251\"\r\n"
                                "Content-Transfer-Encoding: 7bit\r\n"
                                "\r\n"
                                "{TextBody}\r\n"
                                "\r\n" SEPARATOR "{AttachmentPart}";

constexpr char kAttachmentForm[] = "Content-Type: file;\r\n"
                                   "\tname=\"{FileName}\"\r\n"
                                   "Content-Transfer-Encoding: base64\r\n"
                                   "Content-Disposition: attachment;\r\n"
                                   "\tfilename=\"{AttachmentTitle}\"\r\n"
                                   "\r\n"
                                   "{AttachmentBody}\r\n" SEPARATOR;

constexpr char kBodyPlaceholder[] = "{AttachmentBody}";
constexpr unsigned kBodyPlaceholderLength = sizeof(kBodyPlaceholder) - 1;

void fill_name(CStdString& text, const char* file_name) {
    text.replace_all("{FileName}", file_name);
    text.replace_all("{AttachmentTitle}", file_name);
}

// Appends the form with the encoded bytes in the place of each body placeholder: one, unless a field of the message or
// a file's name contains some more.
void append_filled(CStdString& target, const CStdString& form, const Attachment& attachment) {
    const auto line_break = base64::LineBreak::once;
    const unsigned long long encoded = base64::encoded_length(attachment.size, line_break);
    unsigned long long wanted = target.length() + form.length() + 1ull;
    for (int hit = 0; (hit = form.find(kBodyPlaceholder, hit)) >= 0; hit += kBodyPlaceholderLength)
        wanted += encoded - kBodyPlaceholderLength;
    if (wanted > gen::base_array::kMaxBytes)
        gen::throw_out_of_memory();
    target.grow(static_cast<unsigned>(wanted));

    unsigned from = 0;
    for (int hit; (hit = form.find(kBodyPlaceholder, from)) >= 0; from = hit + kBodyPlaceholderLength) {
        target.append(form.c_str() + from, hit - from);
        base64::encode(attachment.data, attachment.size, line_break, target.extend(static_cast<unsigned>(encoded)));
    }
    target.append(form.c_str() + from, form.length() - from);
}

} // namespace

CStdString message_text(const MessageFields& fields, const Attachment* attachment) {
    CStdString text(kMessageForm);
    text.replace_all("{Date}", fields.date);
    text.replace_all("{Time}", fields.time);
    text.replace_all("{To}", fields.recipient);
    text.replace_all("{Subject}", fields.subject);
    text.replace_all("{TextBody}", fields.body);
    text.replace_all("{AttachmentPart}", attachment ? kAttachmentForm : nullptr);
    fill_name(text, attachment ? attachment->file_name : nullptr);
    if (!attachment) {
        text.replace_all(kBodyPlaceholder, nullptr);
        return text;
    }
    CStdString filled;
    append_filled(filled, text, *attachment);
    return filled;
}

void append_attachment(CStdString& message, const Attachment& attachment) {
    CStdString part(kAttachmentForm);
    fill_name(part, attachment.file_name);
    append_filled(message, part, attachment);
}

} // namespace compose
