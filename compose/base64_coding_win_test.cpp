#include "compose/base64_coding.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

void fill(CByteArray& array, const std::string& bytes) {
    array.SetSize(static_cast<int>(bytes.size()));
    if (!bytes.empty())
        std::memcpy(array.GetData(), bytes.data(), bytes.size());
}

std::string contents(const CByteArray& array) {
    return std::string(reinterpret_cast<const char*>(array.GetData()), array.GetSize());
}

std::string contents(const CString& text) {
    EXPECT_EQ(static_cast<LPCSTR>(text)[text.GetLength()], '\0');
    return std::string(text, text.GetLength());
}

// The bytes 0, 1, 2...
std::string counting(unsigned size) {
    std::string bytes(size, '\0');
    for (unsigned i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i);
    return bytes;
}

std::string encoded(const std::string& bytes) {
    CString text;
    CBase64Coding coding;
    EXPECT_EQ(coding.Encode(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()), text),
              1);
    return contents(text);
}

struct Decoded {
    int result;
    std::string bytes;
    bool operator==(const Decoded& other) const { return result == other.result && bytes == other.bytes; }
};

Decoded decoded(const std::string& text) {
    CBase64Coding coding;
    CByteArray characters, bytes, bytes_of_string;
    fill(characters, text);
    fill(bytes, "old bytes");
    const int result = coding.Decode(characters, bytes);
    EXPECT_EQ(coding.Decode(CString(text.data(), static_cast<int>(text.size())), bytes_of_string), result);
    EXPECT_EQ(contents(bytes_of_string), contents(bytes));
    return {result, contents(bytes)};
}

TEST(Base64Coding, Encodes_to_a_text_with_one_break_after_72_characters) {
    EXPECT_EQ(encoded(""), "=");
    EXPECT_EQ(encoded("abc"), "YWJj=");
    EXPECT_EQ(encoded(std::string(53, '\0')), std::string(71, 'A') + "=");
    EXPECT_EQ(encoded(std::string(54, '\0')), std::string(72, 'A') + "\r\n=");
    EXPECT_EQ(encoded(std::string(300, '\0')), std::string(72, 'A') + "\r\n" + std::string(328, 'A') + "=");
}

TEST(Base64Coding, Encodes_an_array_to_a_text_like_a_block) {
    CBase64Coding coding;
    for (unsigned size = 0; size <= 200; ++size) {
        CByteArray bytes;
        fill(bytes, counting(size));
        CString text("old text");
        EXPECT_EQ(coding.Encode(bytes, text), 1);
        EXPECT_EQ(contents(text), encoded(counting(size))) << size << " bytes";
    }
}

TEST(Base64Coding, Encodes_to_an_array_without_break_and_NUL) {
    CBase64Coding coding;
    for (unsigned size = 0; size <= 200; ++size) {
        CByteArray bytes, text;
        fill(bytes, counting(size));
        fill(text, std::string(1000, 'x'));
        EXPECT_EQ(coding.Encode(bytes, text), 1);
        std::string expected = encoded(counting(size));
        if (size >= 54)
            expected.erase(72, 2);
        EXPECT_EQ(contents(text), expected) << size << " bytes";
    }
}

TEST(Base64Coding, Encodes_a_negative_length_as_no_bytes) {
    CBase64Coding coding;
    CString text;
    EXPECT_EQ(coding.Encode(nullptr, -1, text), 1);
    EXPECT_EQ(contents(text), "=");
}

TEST(Base64Coding, Encodes_bytes_that_lie_in_the_text_or_array_that_receives_them) {
    CBase64Coding coding;
    CString text("abcabc");
    text.GetBuffer(100); // space enough to write over the bytes
    text.ReleaseBuffer();
    coding.Encode(reinterpret_cast<const unsigned char*>(static_cast<LPCSTR>(text)), 6, text);
    EXPECT_EQ(contents(text), "YWJjYWJj=");
    CByteArray array;
    fill(array, "abcabc");
    coding.Encode(array, array);
    EXPECT_EQ(contents(array), "YWJjYWJj=");
}

TEST(Base64Coding, Decoding_says_whether_padding_ended_the_text) {
    EXPECT_EQ(decoded(""), (Decoded{0, ""}));
    EXPECT_EQ(decoded("YWJj"), (Decoded{0, "abc"}));
    EXPECT_EQ(decoded("YWJj="), (Decoded{1, "abc"}));
    EXPECT_EQ(decoded("YW="), (Decoded{1, "a"}));
    EXPECT_EQ(decoded("YQ=="), (Decoded{1, "a"}));
    EXPECT_EQ(decoded("="), (Decoded{1, ""}));
    EXPECT_EQ(decoded("Y="), (Decoded{1, ""}));
    EXPECT_EQ(decoded("YWI=*YWJj"), (Decoded{1, "ab"}));
}

TEST(Base64Coding, Decoding_malformed_text_gives_no_bytes_and_0) {
    EXPECT_EQ(decoded("YWJj\r\n"), (Decoded{0, ""}));
    EXPECT_EQ(decoded("YW"), (Decoded{0, ""}));
    EXPECT_EQ(decoded("YWJjYW*j"), (Decoded{0, ""}));
    EXPECT_EQ(decoded(std::string("YWJ\0", 4)), (Decoded{0, ""}));
}

TEST(Base64Coding, Decodes_what_it_encoded) {
    for (unsigned size = 0; size <= 200; ++size)
        EXPECT_EQ(decoded(encoded(counting(size))), (Decoded{1, counting(size)})) << size << " bytes";
}

TEST(Base64Coding, Decodes_an_array_into_itself) {
    CBase64Coding coding;
    for (unsigned size = 0; size <= 200; ++size) {
        CByteArray array;
        fill(array, encoded(counting(size)));
        EXPECT_EQ(coding.Decode(array, array), 1);
        EXPECT_EQ(contents(array), counting(size)) << size << " bytes";
    }
    CByteArray empty;
    EXPECT_EQ(coding.Decode(empty, empty), 0);
    EXPECT_EQ(empty.GetSize(), 0);
}

TEST(Base64Coding, Builds_its_table_once_through_the_virtual_function) {
    struct Counting : CBase64Coding {
        void BuildDecodeTable() override {
            ++built;
            CBase64Coding::BuildDecodeTable();
        }
        int built = 0;
    } coding;
    CByteArray bytes;
    coding.Encode(nullptr, 0, *std::make_unique<CString>());
    EXPECT_EQ(coding.built, 0);
    coding.Decode(CString("YWJj"), bytes);
    coding.Decode(CString("YWJj"), bytes);
    EXPECT_EQ(coding.built, 1);
    EXPECT_EQ(contents(bytes), "abc");
}

} // namespace
