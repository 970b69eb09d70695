#include <gtest/gtest.h>

#include <string>

#include "report/report_texts.h"

namespace {

const CStdString kNote("<note>");
const CStdString kSys("<system>");
const CStdString kDebug("<debug>");

report::MailText text_of(int context, const char* product = "Prod", const char* subject = nullptr) {
    return report::mail_text(context, product, subject, kNote, kSys, kDebug);
}

std::string subject_of(int context) {
    return text_of(context).subject.c_str();
}

std::string body_of(int context) {
    return text_of(context).body.c_str();
}

TEST(ScreenshotNote, Names_the_product) {
    EXPECT_STREQ(report::screenshot_note("My Program").c_str(),
                 "\n\nPlease note, that My Program has created a screenshot of your desktop. That screenshot will help "
                 "developers fix the problem. If you don't want to send screenshot to Torvex, delete file "
                 "screen_copy.jpg and send report.");
}

TEST(MailText, Main_subject_joins_product_and_default_text) {
    EXPECT_STREQ(text_of(0, report::kDefaultProduct).subject.c_str(), "Corrowfinder Error Report [Main]");
}

TEST(MailText, Main_subject_takes_the_hosts_words) {
    EXPECT_STREQ(text_of(0, "Prod", "fell over").subject.c_str(), "Prod fell over");
}

TEST(MailText, Empty_words_are_no_defaults) {
    EXPECT_STREQ(text_of(0, "", "x").subject.c_str(), " x");
    EXPECT_STREQ(text_of(0, "Prod", "").subject.c_str(), "Prod ");
}

TEST(MailText, Main_body_begins_with_the_product_and_holds_the_stray_letter) {
    EXPECT_EQ(body_of(0),
              "Prod has performed an illegal operation.\nYou can help developers to fix this problem by "
              "describing your actions that lead to this error.\n\nPlease send this email to Torvex Support "
              "including attachments.\nThis will help find and fix this problem faster.<note>\n\nThank you,"
              "\xEE\nTorvex Support\n\nPS:<system>\n<debug>\n");
}

struct Case {
    int context;
    const char* subject;
    const char* body_begins;
    const char* body_ends;
};

const char kUserBegins[] =
    "Dear user,\n\nYou can help developers to fix this problem by describing your actions that lead to this error.\n\n"
    "Please send this email to Torvex Support including attachments: image that program was processing when error "
    "occurred, conversion profile and file with command line.\n\nThis will help find and fix this problem "
    "faster.<note>";
const char kEngineBegins[] = "Corrowfinder has performed an illegal operation.\nIt could be caused by graphics engine "
                             "that incorrectly processed "
                             "graphics file.\n\nPlease send this email to Torvex Support including attachment.\nThis "
                             "will help find and fix this "
                             "problem faster.<note>";
const char kWatchBegins[] =
    "Corrowfinder has performed an illegal operation. \n\nYou can help developers to fix this problem by describing "
    "your "
    "actions that lead to this error.\n\nThis will help find and fix this problem faster.<note>";
const char kUnknownBegins[] =
    "Corrowfinder has performed an illegal operation.\n\nYou can help developers to fix this problem by describing "
    "your "
    "actions that lead to this error.\n\nThis will help find and fix this problem faster.<note>";
const char kPlainEnd[] = "\n\nThank you,\nTorvex Support\n\nPS:<system>\n<debug>\n";
const char kBlankEnd[] = "\n\nThank you,\nTorvex Support \n\nPS:<system>\n<debug>\n";

const Case kCases[] = {
    {1, "Corrowfinder Error Report [Progress]", kUserBegins, kPlainEnd},
    {2, "Corrowfinder Error report [InfoWndWork]", kEngineBegins, kPlainEnd},
    {3, "Corrowfinder Error report [InfoRunWork]", kEngineBegins, kPlainEnd},
    {4, "Corrowfinder Error report [User]", kUserBegins, kPlainEnd},
    {5, "Corrowfinder Error report [ImageList]", kEngineBegins, kPlainEnd},
    {6, "Corrowfinder Error report [Watch]", kWatchBegins, kBlankEnd},
    {7, "Corrowfinder Error report [Unknown]", kUnknownBegins, kBlankEnd},
    {-1, "Corrowfinder Error report [Unknown]", kUnknownBegins, kBlankEnd},
    {0x7FFFFFFF, "Corrowfinder Error report [Unknown]", kUnknownBegins, kBlankEnd},
};

TEST(MailText, Every_context_has_its_subject_and_body) {
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.context);
        EXPECT_EQ(subject_of(one.context), one.subject);
        EXPECT_EQ(body_of(one.context), std::string(one.body_begins) + one.body_ends);
    }
}

TEST(MailText, Other_contexts_use_neither_product_nor_subject) {
    EXPECT_STREQ(text_of(1, "Prod", "mine").subject.c_str(), "Corrowfinder Error Report [Progress]");
    EXPECT_EQ(std::string(text_of(6, "Prod", "mine").body.c_str()).find("Prod"), std::string::npos);
}

// Each text with other names is the text with those that are built in, but for the names.
TEST(MailText, Names_of_another_program_take_the_place_of_those_built_in) {
    const report::Names names = {"Fine Drawing", "Pencil & Co", "draw.exe"};
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.context);
        std::string subject = one.subject, body = std::string(one.body_begins) + one.body_ends;
        for (std::string* text : {&subject, &body}) {
            for (size_t at; (at = text->find("Corrowfinder")) != std::string::npos;)
                text->replace(at, 12, "Fine Drawing");
            for (size_t at; (at = text->find("Torvex")) != std::string::npos;)
                text->replace(at, 6, "Pencil & Co");
        }
        const report::MailText text = report::mail_text(one.context, "Prod", nullptr, kNote, kSys, kDebug, names);
        EXPECT_EQ(text.subject.c_str(), subject);
        EXPECT_EQ(text.body.c_str(), body);
    }
    const report::MailText main = report::mail_text(0, "Prod", nullptr, kNote, kSys, kDebug, names);
    EXPECT_STREQ(main.subject.c_str(), "Prod Error Report [Main]");
    EXPECT_NE(std::string(main.body.c_str()).find("Thank you,\xEE\nPencil & Co Support\n"), std::string::npos);
    EXPECT_NE(std::string(main.body.c_str()).find("send this email to Pencil & Co Support"), std::string::npos);
    EXPECT_NE(std::string(report::screenshot_note("Prod", names).c_str()).find("screenshot to Pencil & Co, delete"),
              std::string::npos);
}

TEST(MailText, Names_of_another_program_stand_as_they_are) {
    const report::Names names = {"Torvex", "Corrowfinder {Date}", "draw.exe"};
    const report::MailText text = report::mail_text(2, "Prod", nullptr, kNote, kSys, kDebug, names);
    EXPECT_STREQ(text.subject.c_str(), "Torvex Error report [InfoWndWork]");
    EXPECT_NE(std::string(text.body.c_str()).find("Thank you,\nCorrowfinder {Date} Support\n"), std::string::npos);
}

TEST(MailText, Texts_of_the_host_are_no_formats) {
    const report::MailText text =
        report::mail_text(0, "%s%n", "100%d", CStdString("%x"), CStdString("%s"), CStdString("%%"));
    EXPECT_STREQ(text.subject.c_str(), "%s%n 100%d");
    EXPECT_NE(std::string(text.body.c_str()).find("PS:%s\n%%\n"), std::string::npos);
}

// The bound begins at the format's own 289 bytes and grows by 1024 until it reaches 32767.
TEST(MailText, Long_body_is_cut_at_its_end) {
    const std::string long_text(60000, 'x');
    const report::MailText text = report::mail_text(0, "Prod", nullptr, kNote, CStdString(long_text.c_str()), kDebug);
    EXPECT_EQ(text.body.length(), 289u + 32 * 1024);
    EXPECT_EQ(std::string(text.body.c_str()).substr(0, 8), "Prod has");
}

} // namespace
