#include "compose/message_template.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/failures.h"

namespace {

std::string expected_part(const std::string& name, const std::string& body) {
    return "Content-Type: file;\r\n\tname=\"" + name +
           "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment;\r\n\tfilename=\"" + name +
           "\"\r\n\r\n" + body + "\r\n------=_NextPart_000_023D_01C25DB8.8402B210\r\n";
}

std::string expected_message(const std::string& to, const std::string& subject, const std::string& date,
                             const std::string& body) {
    return "To: \"" + to + "\" \r\nReply-To: \r\nFrom: \r\nSubject: " + subject + "\r\nDate: " + date +
           " +0000\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed;\r\n"
           "\tboundary=\"----=_NextPart_000_023D_01C25DB8.8402B210\"\r\nX-Priority: 3\r\nX-MSMail-Priority: Normal\r\n"
           "X-Unsent: 1\r\nX-MimeOLE: Produced By Microsoft MimeOLE V6.00.2600.0000\r\n\r\n"
           "This is a multi-part message in MIME format.\r\n\r\n------=_NextPart_000_023D_01C25DB8.8402B210\r\n"
           "Content-Type: text/plain;\r\n\tcharset=\"windows-1251\"\r\nContent-Transfer-Encoding: 7bit\r\n\r\n" +
           body + "\r\n\r\n------=_NextPart_000_023D_01C25DB8.8402B210\r\n";
}

compose::Attachment attachment(const char* name, const char* bytes) {
    return {name, reinterpret_cast<const unsigned char*>(bytes), static_cast<unsigned>(strlen(bytes))};
}

std::string text_of(const compose::MessageFields& fields, const compose::Attachment* attached = nullptr) {
    const CStdString text = compose::message_text(fields, attached);
    EXPECT_EQ(strlen(text.c_str()), text.length());
    return std::string(text.c_str(), text.length());
}

const compose::MessageFields kPlain = {"Subj", "Line one\nLine two\n", "who@example.com", "Sunday, 15, 06", "07:05:09"};

TEST(MessageText, Without_an_attachment_ends_with_the_separator_behind_the_text) {
    EXPECT_EQ(text_of(kPlain),
              expected_message("who@example.com", "Subj", "Sunday, 15, 06 07:05:09", "Line one\nLine two\n"));
}

TEST(MessageText, With_an_attachment_goes_on_with_its_part) {
    const compose::Attachment abc = attachment("notes.txt", "abc");
    EXPECT_EQ(text_of(kPlain, &abc),
              expected_message("who@example.com", "Subj", "Sunday, 15, 06 07:05:09", "Line one\nLine two\n") +
                  expected_part("notes.txt", "YWJj="));
}

TEST(MessageText, Null_fields_are_empty) {
    const compose::MessageFields nothing = {};
    EXPECT_EQ(text_of(nothing), expected_message("", "", " ", ""));
    EXPECT_NE(text_of(nothing).find("To: \"\" \r\n"), std::string::npos);
    EXPECT_NE(text_of(nothing).find("\r\nSubject: \r\n"), std::string::npos);
}

TEST(MessageText, Line_ends_of_the_body_stay_as_they_are) {
    compose::MessageFields fields = kPlain;
    fields.body = "a\nb\r\nc\rd";
    EXPECT_NE(text_of(fields).find("\r\n\r\na\nb\r\nc\rd\r\n\r\n"), std::string::npos);
}

TEST(MessageText, Bytes_above_127_pass) {
    compose::MessageFields fields = kPlain;
    fields.body = "Thank you,\xEE\n";
    EXPECT_NE(text_of(fields).find("Thank you,\xEE\n"), std::string::npos);
}

TEST(MessageText, Placeholders_in_a_field_are_filled_by_those_that_come_later) {
    compose::MessageFields fields = kPlain;
    fields.recipient = "{Date}{To}{Subject}";
    fields.subject = "{To}{TextBody}";
    fields.body = "{Subject}{TextBody}|{AttachmentPart}{FileName}{AttachmentTitle}{AttachmentBody}|";
    // Dates are filled first, so a date's placeholder in the recipient stays; a field's own isn't looked at again.
    const std::string body = "{Subject}{TextBody}||";
    EXPECT_EQ(text_of(fields),
              expected_message("{Date}{To}{To}" + body, "{To}" + body, "Sunday, 15, 06 07:05:09", body));
}

TEST(MessageText, Attachment_placeholders_in_the_body_are_filled_too) {
    compose::MessageFields fields = kPlain;
    fields.body = "[{FileName}|{AttachmentTitle}|{AttachmentBody}]";
    const compose::Attachment abc = attachment("notes.txt", "abc");
    EXPECT_EQ(text_of(fields, &abc),
              expected_message("who@example.com", "Subj", "Sunday, 15, 06 07:05:09", "[notes.txt|notes.txt|YWJj=]") +
                  expected_part("notes.txt", "YWJj="));
    fields.body = "{AttachmentPart}";
    EXPECT_EQ(text_of(fields, &abc), expected_message("who@example.com", "Subj", "Sunday, 15, 06 07:05:09",
                                                      expected_part("notes.txt", "YWJj=")) +
                                         expected_part("notes.txt", "YWJj="));
}

TEST(MessageText, Braces_that_are_no_placeholder_stay) {
    compose::MessageFields fields = kPlain;
    fields.body = "{ {} {to} {To {FileName {{Nothing}} }";
    EXPECT_EQ(text_of(fields), expected_message("who@example.com", "Subj", "Sunday, 15, 06 07:05:09",
                                                "{ {} {to} {To {FileName {{Nothing}} }"));
}

TEST(MessageText, Replaces_many_placeholders_of_a_large_body) {
    std::string body;
    for (int i = 0; i < 20000; ++i)
        body += "{FileName}.";
    compose::MessageFields fields = kPlain;
    fields.body = body.c_str();
    EXPECT_NE(text_of(fields).find("\r\n\r\n" + std::string(20000, '.') + "\r\n\r\n"), std::string::npos);
}

TEST(AppendAttachment, Adds_part_after_part_each_closed_by_the_separator) {
    CStdString message("head\r\n");
    compose::append_attachment(message, attachment("a.txt", "a"));
    compose::append_attachment(message, attachment("b.txt", ""));
    EXPECT_EQ(std::string(message.c_str()), "head\r\n" + expected_part("a.txt", "YQ==") + expected_part("b.txt", "="));
    EXPECT_EQ(strlen(message.c_str()), message.length());
}

TEST(AppendAttachment, Leaves_placeholders_of_the_message_alone) {
    CStdString message("{FileName}{AttachmentBody}");
    compose::append_attachment(message, attachment("a", "abc"));
    EXPECT_EQ(std::string(message.c_str()), "{FileName}{AttachmentBody}" + expected_part("a", "YWJj="));
}

TEST(AppendAttachment, A_name_that_is_a_placeholder_is_filled_by_what_comes_later) {
    CStdString message;
    compose::append_attachment(message, attachment("{AttachmentTitle}", "abc"));
    std::string part = expected_part("{AttachmentTitle}", "YWJj=");
    EXPECT_EQ(std::string(message.c_str()), part);
    message = "";
    compose::append_attachment(message, attachment("{AttachmentBody}", "abc"));
    EXPECT_EQ(std::string(message.c_str()), expected_part("YWJj=", "YWJj="));
}

TEST(AppendAttachment, No_bytes_and_no_name) {
    CStdString message;
    compose::append_attachment(message, {nullptr, nullptr, 0});
    EXPECT_EQ(std::string(message.c_str()), expected_part("", "="));
}

TEST(AppendAttachment, Grows_the_message_once_to_exactly_its_new_size) {
    const std::vector<unsigned char> bytes(1000000, 7);
    CStdString message("head");
    unsigned calls_for_nothing;
    {
        CStdString other("head");
        FailingAllocator counter(0);
        compose::append_attachment(other, {"a.bin", bytes.data(), 0});
        calls_for_nothing = counter.calls();
    }
    FailingAllocator counter(0);
    compose::append_attachment(message, {"a.bin", bytes.data(), static_cast<unsigned>(bytes.size())});
    EXPECT_EQ(counter.calls(), calls_for_nothing) << "the bytes cost no allocation of their own";
    EXPECT_EQ(message.capacity(), message.count());
}

TEST(AppendAttachment, Leaves_the_message_as_it_was_when_memory_is_short) {
    for (EachAllocation each; each.next();) {
        CStdString message("head");
        each.run([&] {
            compose::append_attachment(message, attachment("notes.txt", "abc"));
            return true;
        });
        EXPECT_EQ(std::string(message.c_str()), each.failed() ? "head" : "head" + expected_part("notes.txt", "YWJj="));
    }
}

// The bytes are never looked at: the text's size alone is too much for a string.
TEST(AppendAttachment, Text_beyond_2_GiB_is_out_of_memory) {
    CStdString message("head");
    EXPECT_THROW(compose::append_attachment(message, {"a", nullptr, 0x7FFFFFFF}), gen::genlib_out_of_memory);
    EXPECT_THROW(compose::append_attachment(message, {"a", nullptr, 0xFFFFFFFF}), gen::genlib_out_of_memory);
    EXPECT_EQ(std::string(message.c_str()), "head");
}

} // namespace
