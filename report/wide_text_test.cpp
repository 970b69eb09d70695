#include "report/report_texts.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Replaced {
    bool changed;
    std::wstring text;
};

Replaced replaced(const wchar_t* text, const wchar_t* word, const wchar_t* name, unsigned size = 32) {
    wchar_t place[64];
    std::wstring(text).copy(place, std::size(place) - 1);
    place[std::wstring(text).size()] = 0;
    for (unsigned i = size; i < std::size(place); ++i)
        place[i] = L'#';
    const bool changed = report::replace_word(place, size, word, name);
    for (unsigned i = size; i < std::size(place); ++i)
        EXPECT_EQ(place[i], L'#');
    return {changed, place};
}

TEST(ReplaceWord, Puts_a_shorter_or_longer_name_in_its_place) {
    EXPECT_EQ(replaced(L"Please tell Torvex now", L"Torvex", L"Us").text, L"Please tell Us now");
    EXPECT_EQ(replaced(L"Please tell Torvex now", L"Torvex", L"Somebody else").text, L"Please tell Somebody else now");
    EXPECT_EQ(replaced(L"Torvex", L"Torvex", L"Us").text, L"Us");
    EXPECT_EQ(replaced(L"to Torvex", L"Torvex", L"\x0420\x043E\x0433").text, L"to \x0420\x043E\x0433");
}

TEST(ReplaceWord, Takes_the_first_only) {
    EXPECT_EQ(replaced(L"Torvex, Torvex", L"Torvex", L"Torvex & Sons").text, L"Torvex && Sons, Torvex");
}

TEST(ReplaceWord, Doubles_ampersands) {
    EXPECT_EQ(replaced(L"to Torvex.", L"Torvex", L"&A&B&").text, L"to &&A&&B&&.");
}

TEST(ReplaceWord, Leaves_other_texts_alone) {
    for (const wchar_t* text : {L"", L"Torve", L"torvex", L"T"}) {
        const Replaced result = replaced(text, L"Torvex", L"Us");
        EXPECT_FALSE(result.changed);
        EXPECT_EQ(result.text, text);
    }
}

TEST(ReplaceWord, Leaves_a_text_alone_that_would_become_too_long) {
    EXPECT_TRUE(replaced(L"to Torvex", L"Torvex", L"1234567", 11).changed);
    const Replaced result = replaced(L"to Torvex", L"Torvex", L"12345678", 11);
    EXPECT_FALSE(result.changed);
    EXPECT_EQ(result.text, L"to Torvex");
    EXPECT_FALSE(replaced(L"to Torvex", L"Torvex", L"123456&", 11).changed);
}

} // namespace
