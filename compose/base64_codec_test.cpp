#include "compose/base64_codec.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/guarded_copy.h"
#include "compose/base64_kernels.h"
#include "testing/cxx/base64_reference.h"

namespace {

using base64::DecodeEnd;
using base64::LineBreak;
using base64_reference::Bytes;
using base64_reference::Outcome;

// Bytes that look random but are the same in every run.
Bytes noise(unsigned size) {
    Bytes bytes(size);
    unsigned state = size * 2654435761u + 12345;
    for (unsigned char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return bytes;
}

// Through encode(), with a check of what stands around the text.
std::string encoded(const Bytes& bytes, LineBreak line_break) {
    const GuardedCopy<unsigned char> data(bytes);
    const std::size_t length = base64::encoded_length(bytes.size(), line_break);
    std::string text(length + 2, '#');
    base64::encode(data.data(), bytes.size(), line_break, &text[1]);
    EXPECT_EQ(text.front(), '#');
    EXPECT_EQ(text.back(), '#');
    return text.substr(1, length);
}

std::string encoded(const std::string& text, LineBreak line_break = LineBreak::once) {
    return encoded(Bytes(text.begin(), text.end()), line_break);
}

Outcome decoded(const std::string& text, const unsigned char table[256] = base64::kDecodeTable.values) {
    const GuardedCopy<unsigned char> input(Bytes(text.begin(), text.end()));
    const unsigned capacity = base64::decoded_capacity(text.size());
    Bytes bytes(capacity + 1, '#');
    const base64::Decoded result = base64::decode(table, input.data(), text.size(), bytes.data());
    EXPECT_LE(result.size, capacity);
    EXPECT_EQ(bytes[capacity], '#');
    return {std::string(bytes.begin(), bytes.begin() + result.size), result.end};
}

TEST(Base64Encode, Writes_the_text_of_the_reference_for_every_size) {
    for (unsigned size = 0; size <= 200; ++size) {
        for (LineBreak line_break : {LineBreak::once, LineBreak::none})
            EXPECT_EQ(encoded(noise(size), line_break), base64_reference::encoded(noise(size), line_break))
                << size << " bytes";
    }
}

TEST(Base64Encode, Ends_in_padding_even_after_whole_groups) {
    EXPECT_EQ(encoded(""), "=");
    EXPECT_EQ(encoded("a"), "YQ==");
    EXPECT_EQ(encoded("ab"), "YWI=");
    EXPECT_EQ(encoded("abc"), "YWJj=");
}

TEST(Base64Encode, Breaks_the_line_once_after_72_characters) {
    const std::string line(72, 'A');
    EXPECT_EQ(encoded(std::string(53, '\0')), line.substr(0, 71) + "=");
    EXPECT_EQ(encoded(std::string(54, '\0')), line + "\r\n=");
    EXPECT_EQ(encoded(std::string(55, '\0')), line + "\r\nAA==");
    EXPECT_EQ(encoded(std::string(300, '\0')), line + "\r\n" + std::string(328, 'A') + "=");
}

TEST(Base64Encode, Makes_no_break_when_asked_for_none) {
    EXPECT_EQ(encoded(std::string(54, '\0'), LineBreak::none), std::string(72, 'A') + "=");
}

TEST(Base64Encode, Uses_every_letter_of_the_alphabet) {
    Bytes values;
    for (unsigned i = 0; i < 64; i += 4) {
        const unsigned group = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
        values.insert(values.end(), {static_cast<unsigned char>(group >> 16), static_cast<unsigned char>(group >> 8),
                                     static_cast<unsigned char>(group)});
    }
    EXPECT_EQ(encoded(values, LineBreak::none), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=");
}

TEST(Base64Encode, Length_is_right_beyond_32_bits) {
    EXPECT_EQ(base64::encoded_length(0xFFFFFFFF, LineBreak::once), 0xFFFFFFFFull / 3 * 4 + 2 + 1);
    EXPECT_EQ(base64::encoded_length(0xFFFFFFFE, LineBreak::none), 0xFFFFFFFFull / 3 * 4);
}

TEST(Base64DecodeTable, Holds_the_values_the_characters_to_skip_and_nothing_else) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (unsigned character = 0; character < 256; ++character) {
        const std::size_t value = alphabet.find(static_cast<char>(character));
        const bool skipped = character == 9 || character == 10 || character == 13 || character == 32;
        EXPECT_EQ(base64::kDecodeTable.values[character], skipped ? 0xFE : value == std::string::npos ? 0xFF : value);
    }
}

struct DecodeCase {
    const char* name;
    std::string text;
    Outcome outcome;
};

class Base64Decode : public testing::TestWithParam<DecodeCase> {};

TEST_P(Base64Decode, Gives) {
    EXPECT_EQ(decoded(GetParam().text), GetParam().outcome);
    EXPECT_EQ(base64_reference::decoded(GetParam().text), GetParam().outcome) << "the reference itself";
}

const Outcome kMalformed = {"", DecodeEnd::malformed};

INSTANTIATE_TEST_SUITE_P(
    Table, Base64Decode,
    testing::Values(DecodeCase{"nothing_for_no_text", "", {"", DecodeEnd::end_of_text}},
                    DecodeCase{"bytes_of_a_whole_group", "YWJj", {"abc", DecodeEnd::end_of_text}},
                    DecodeCase{"bytes_before_padding_behind_a_group", "YWJj=", {"abc", DecodeEnd::padding}},
                    DecodeCase{"nothing_before_padding_in_the_first_place", "=", {"", DecodeEnd::padding}},
                    DecodeCase{"nothing_before_padding_in_the_second_place", "Y=", {"", DecodeEnd::padding}},
                    DecodeCase{"one_byte_before_padding_in_the_third_place", "YW=", {"a", DecodeEnd::padding}},
                    DecodeCase{"one_byte_before_double_padding", "YQ==", {"a", DecodeEnd::padding}},
                    DecodeCase{"two_bytes_before_padding_in_the_fourth_place", "YWI=", {"ab", DecodeEnd::padding}},
                    DecodeCase{"what_stood_before_padding_whatever_follows", "YWI=*junk", {"ab", DecodeEnd::padding}},
                    DecodeCase{"bytes_across_skipped_characters", "Y W\tJ\r\nj", {"abc", DecodeEnd::end_of_text}},
                    DecodeCase{"bytes_across_a_skip_before_padding", "YWI \r\n=", {"ab", DecodeEnd::padding}},
                    DecodeCase{"failure_for_a_line_end_behind_the_last_group", "YWJj\r\n", kMalformed},
                    DecodeCase{"failure_for_a_lone_blank", " ", kMalformed},
                    DecodeCase{"failure_for_a_cut_group", "YW", kMalformed},
                    DecodeCase{"failure_for_a_cut_group_behind_whole_ones", "YWJjYWJjY", kMalformed},
                    DecodeCase{"failure_for_an_asterisk", "YW*j", kMalformed},
                    DecodeCase{"failure_for_an_asterisk_behind_whole_groups", "YWJjYWJj*===", kMalformed},
                    DecodeCase{"failure_for_a_NUL", std::string("YWJ\0", 4), kMalformed},
                    DecodeCase{"failure_for_a_letter_of_another_alphabet", "YWJ\xEA", kMalformed}),
    [](const testing::TestParamInfo<DecodeCase>& info) { return info.param.name; });

TEST(Base64DecodeRoundTrip, Gives_back_the_bytes_of_every_size) {
    for (unsigned size = 0; size <= 200; ++size) {
        const Bytes bytes = noise(size);
        const Outcome outcome = decoded(encoded(bytes, LineBreak::once));
        EXPECT_EQ(outcome.bytes, std::string(bytes.begin(), bytes.end())) << size << " bytes";
        EXPECT_EQ(outcome.end, DecodeEnd::padding);
    }
}

// One character that stops the fast loops, at every place of a text that is long enough for them.
TEST(Base64DecodeRoundTrip, Reads_a_spoilt_character_anywhere_as_the_reference_does) {
    const Bytes bytes = noise(90);
    const std::string clean = base64_reference::encoded(bytes, LineBreak::none).substr(0, 120);
    for (const char spoiler : {'=', ' ', '*', '\0', '\x80', '-', '@', '[', '`', '{', ':', '.'}) {
        for (std::size_t at = 0; at < clean.size(); ++at) {
            std::string text = clean;
            text[at] = spoiler;
            EXPECT_EQ(decoded(text), base64_reference::decoded(text))
                << "place " << at << ", character " << int(spoiler);
            text.insert(at, 1, clean[at]);
            EXPECT_EQ(decoded(text), base64_reference::decoded(text)) << "inserted at " << at << ", " << int(spoiler);
        }
    }
}

TEST(Base64DecodeRoundTrip, Decodes_in_place) {
    for (unsigned size = 1; size <= 200; ++size) {
        const Bytes bytes = noise(size);
        std::string text = base64_reference::encoded(bytes, LineBreak::once);
        unsigned char* const place = reinterpret_cast<unsigned char*>(&text[0]);
        const base64::Decoded result = base64::decode(base64::kDecodeTable.values, place, text.size(), place);
        ASSERT_EQ(result.size, size);
        EXPECT_EQ(std::memcmp(place, bytes.data(), size), 0) << size << " bytes";
    }
}

TEST(Base64DecodeRoundTrip, Follows_a_table_of_the_callers) {
    unsigned char table[256];
    std::memcpy(table, base64::kDecodeTable.values, sizeof(table));
    std::swap(table['+'], table['-']);
    EXPECT_EQ(decoded("++++"), (Outcome{"\xFB\xEF\xBE", DecodeEnd::end_of_text}));
    EXPECT_EQ(decoded("----", table), (Outcome{"\xFB\xEF\xBE", DecodeEnd::end_of_text}));
    EXPECT_EQ(decoded("++++", table), kMalformed);
    table['='] = 5;
    EXPECT_EQ(decoded("YWJj====", table), (Outcome{"abc", DecodeEnd::padding}));
}

// Only the bits that have a place in a byte go into it.
TEST(Base64DecodeRoundTrip, Takes_six_bits_of_a_value_of_the_callers_that_has_more) {
    unsigned char table[256];
    std::memcpy(table, base64::kDecodeTable.values, sizeof(table));
    table['!'] = 0xC0 | 1;
    table['?'] = 0x40;
    EXPECT_EQ(decoded("AAAA", table), (Outcome{std::string(3, '\0'), DecodeEnd::end_of_text}));
    EXPECT_EQ(decoded("A?==", table), (Outcome{std::string(1, '\0'), DecodeEnd::padding}));
    EXPECT_EQ(decoded("AA?=", table), (Outcome{std::string(2, '\0'), DecodeEnd::padding}));
    EXPECT_EQ(decoded("!!!!", table), (Outcome{std::string("\x04\x10\xC1", 3), DecodeEnd::end_of_text}));
}

class Base64Kernels : public testing::TestWithParam<unsigned> {
protected:
    void SetUp() override {
        if (!m_kernels.available())
            GTEST_SKIP() << "this processor lacks " << m_kernels.name;
    }
    const base64::Kernels& m_kernels = base64::kKernelSets[GetParam()];
};

TEST_P(Base64Kernels, Encode_every_number_of_groups_and_touch_nothing_else) {
    for (unsigned groups = 0; groups <= 160; ++groups) {
        const Bytes bytes = noise(groups * 3);
        const GuardedCopy<unsigned char> data(bytes);
        std::string text(groups * 4 + 2, '#');
        m_kernels.encode(data.data(), groups, &text[1]);
        std::string expected = base64_reference::encoded(bytes, LineBreak::none);
        expected.back() = '#';
        EXPECT_EQ(text, "#" + expected) << groups << " groups";
    }
}

TEST_P(Base64Kernels, Encode_every_value_in_every_place) {
    constexpr unsigned kGroups = 120;
    for (unsigned place = 0; place < 4; ++place) {
        for (unsigned value = 0; value < 64; ++value) {
            const unsigned bits = value << (18 - 6 * place);
            Bytes bytes;
            for (unsigned group = 0; group < kGroups; ++group)
                bytes.insert(bytes.end(), {static_cast<unsigned char>(bits >> 16),
                                           static_cast<unsigned char>(bits >> 8), static_cast<unsigned char>(bits)});
            std::string text(kGroups * 4, '#');
            m_kernels.encode(bytes.data(), kGroups, &text[0]);
            EXPECT_EQ(text + "=", base64_reference::encoded(bytes, LineBreak::none));
        }
    }
}

TEST_P(Base64Kernels, Decode_up_to_the_first_group_that_is_not_clean) {
    const unsigned groups = 40;
    const Bytes bytes = noise(groups * 3);
    const std::string clean = base64_reference::encoded(bytes, LineBreak::none).substr(0, groups * 4);
    for (unsigned spoilt = 0; spoilt <= groups * 4; ++spoilt) {
        std::string text = clean;
        if (spoilt < text.size())
            text[spoilt] = '=';
        const GuardedCopy<unsigned char> input(Bytes(text.begin(), text.end()));
        Bytes out(groups * 3 + 2, '#');
        ASSERT_EQ(m_kernels.decode(input.data(), groups, out.data()), spoilt / 4);
        EXPECT_EQ(std::memcmp(out.data(), bytes.data(), spoilt / 4 * 3), 0) << "spoilt at " << spoilt;
        EXPECT_EQ(out.back(), '#');
    }
}

TEST_P(Base64Kernels, Take_exactly_the_characters_of_the_alphabet) {
    for (unsigned character = 0; character < 256; ++character) {
        for (unsigned place = 0; place < 32; ++place) {
            std::string text(32, 'A');
            text[place] = static_cast<char>(character);
            unsigned char bytes[25];
            const unsigned done = m_kernels.decode(reinterpret_cast<const unsigned char*>(text.data()), 8, bytes);
            const unsigned value = base64::kDecodeTable.values[character];
            ASSERT_EQ(done, value < 64 ? 8 : place / 4) << "character " << character << " in place " << place;
            if (value < 64) {
                const unsigned char* const group = bytes + place / 4 * 3;
                const unsigned bits = group[0] << 16 | group[1] << 8 | group[2];
                ASSERT_EQ(bits, value << (18 - 6 * (place % 4))) << "character " << character;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Base64Kernels, testing::Range(0u, base64::kKernelSetCount),
                         [](const testing::TestParamInfo<unsigned>& info) {
                             return std::string(base64::kKernelSets[info.param].name);
                         });

} // namespace
