#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "report/report_texts.h"

namespace {

// The texts as Unicode, turned into Windows-1251 by this test's own small table.
std::string windows_1251(const char16_t* text) {
    std::string bytes;
    for (; *text; ++text) {
        if (*text < 0x80)
            bytes += static_cast<char>(*text);
        else if (*text == 0x0451) // io
            bytes += '\xB8';
        else
            bytes += static_cast<char>(*text - 0x0410 + 0xC0);
    }
    return bytes;
}

TEST(UploadTexts, Wait_text_is_russian_in_windows_1251_with_a_latin_word) {
    EXPECT_EQ(report::kUploadWaitText,
              windows_1251(u"Upload отчёта о crash'e может занять некоторое время. Пожалуйста подождите.\n\n"
                           u"После окончания операции загрузки программа будет автоматически закрыта."));
    EXPECT_EQ(std::strlen(report::kUploadWaitText), 149u);
}

TEST(UploadTexts, Failure_text_is_russian_in_windows_1251) {
    EXPECT_EQ(report::kUploadFailureText,
              windows_1251(u"Ошибка передачи данных.\n\n"
                           u"Пожалуйста подключитесь к сети Internet и разрешите программе ksv.exe выход в сеть для "
                           u"соединения с сервером компании Torvex."));
    EXPECT_EQ(std::strlen(report::kUploadFailureText), 150u);
}

TEST(UploadTexts, Failure_text_names_whom_it_is_given) {
    char text[report::kUploadFailureSize];
    report::upload_failure_text(text, {});
    EXPECT_STREQ(text, report::kUploadFailureText);
    report::upload_failure_text(text, {"Fine Drawing", "\xD0\xEE\xE3\xE0 & Co", "draw.exe"});
    EXPECT_EQ(text, windows_1251(u"Ошибка передачи данных.\n\n"
                                 u"Пожалуйста подключитесь к сети Internet и разрешите программе draw.exe выход в сеть "
                                 u"для соединения с сервером компании Рога && Co."));
}

TEST(UploadTexts, Failure_text_has_space_for_the_longest_names) {
    char text[report::kUploadFailureSize];
    const std::string longest(63, '&');
    report::upload_failure_text(text, {"", longest.c_str(), longest.c_str()});
    EXPECT_EQ(std::strlen(text), 150u - 7 + 126 - 6 + 126);
    report::upload_failure_text(text, {"", std::string(500, '&').c_str(), std::string(500, '&').c_str()});
    EXPECT_EQ(std::strlen(text), 150u - 7 + 126 - 6 + 126);
}

TEST(UploadTexts, Success_text_is_english) {
    EXPECT_STREQ(report::kUploadSuccessText, "Thank you.\n\nData has uploaded successfully");
}

} // namespace
