// Sizes the containers for the codec, also where source and target are the same object or share memory.
#include "compose/base64_coding.h"

#include <limits.h>
#include <string.h>

#include "base/array.h"
#include "compose/base64_codec.h"

namespace {

// What is reserved for the text of so many bytes: a third more, and something for breaks that are no longer made.
int text_capacity(int length, int extra_per_line, int extra) {
    const long long groups = length * 4ll / 3;
    const long long capacity = groups + extra + extra_per_line * ((groups + 1) / base64::kLineLength);
    if (capacity > INT_MAX)
        gen::throw_out_of_memory();
    return static_cast<int>(capacity);
}

// Lengths are ints, as those of texts are.
int length_of(const CByteArray& bytes) {
    if (bytes.GetSize() > INT_MAX)
        gen::throw_out_of_memory();
    return static_cast<int>(bytes.GetSize());
}

} // namespace

CBase64Coding::~CBase64Coding() = default;

void CBase64Coding::BuildDecodeTable() {
    static_assert(sizeof(m_table) == sizeof(base64::kDecodeTable.values));
    memcpy(m_table, base64::kDecodeTable.values, sizeof(m_table));
}

int CBase64Coding::Decode(const CString& text, CByteArray& bytes) {
    return decode(static_cast<LPCSTR>(text), text.GetLength(), bytes);
}

int CBase64Coding::Decode(const CByteArray& text, CByteArray& bytes) {
    return decode(text.GetData(), length_of(text), bytes);
}

int CBase64Coding::decode(const void* text, int length, CByteArray& bytes) {
    if (m_table[0] == 0)
        BuildDecodeTable();
    if (length == 0) {
        bytes.SetSize(0);
        return 0;
    }
    // Never more than the text is long, so that an array decoded into itself keeps its storage.
    bytes.SetSize(static_cast<int>(base64::decoded_capacity(length)));
    const base64::Decoded result =
        base64::decode(m_table, static_cast<const unsigned char*>(text), length, bytes.GetData());
    bytes.SetSize(static_cast<int>(result.size));
    return result.end == base64::DecodeEnd::padding;
}

int CBase64Coding::Encode(const unsigned char* data, int length, CString& text) {
    if (length < 0)
        length = 0;
    CString encoded; // of its own: the data may lie in the old text
    char* const buffer = encoded.GetBuffer(text_capacity(length, 2, 3));
    base64::encode(data, length, base64::LineBreak::once, buffer);
    encoded.ReleaseBuffer(static_cast<int>(base64::encoded_length(length, base64::LineBreak::once)));
    text = encoded;
    return 1;
}

int CBase64Coding::Encode(const CByteArray& data, CString& text) {
    return Encode(data.GetData(), length_of(data), text);
}

int CBase64Coding::Encode(const CByteArray& data, CByteArray& text) {
    const int length = length_of(data);
    if (&data == &text) {
        CByteArray copy;
        copy.SetSize(length);
        if (length)
            memcpy(copy.GetData(), data.GetData(), length);
        return Encode(copy, text);
    }
    text.SetSize(text_capacity(length, 0, length % 3 + 2));
    base64::encode(data.GetData(), length, base64::LineBreak::none, reinterpret_cast<char*>(text.GetData()));
    text.SetSize(static_cast<int>(base64::encoded_length(length, base64::LineBreak::none)));
    return 1;
}
