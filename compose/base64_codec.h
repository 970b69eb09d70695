// Base64 between plain blocks of memory: the whole of the format, without containers and without Windows.
//
// The alphabet is that of RFC 2045, but the text differs from it: it always ends in padding, a lone "=" standing behind
// whole groups of three bytes and for no bytes at all, and it breaks its line at most once.
#pragma once

namespace base64 {

constexpr unsigned kLineLength = 72; // characters before the one line break

enum class LineBreak {
    none,
    once, // CR LF after the first 72 characters, if these come from whole groups: from 54 bytes on
};

// Characters that encode() writes for so many bytes; more than 32 bits hold from 3 GiB on.
unsigned long long encoded_length(unsigned size, LineBreak line_break);

// Writes exactly encoded_length() characters and no NUL. The blocks must not overlap; data may be null if size is 0.
void encode(const unsigned char* data, unsigned size, LineBreak line_break, char* text);

// What a decode table holds for a character: its value, or one of these.
constexpr unsigned char kSkipped = 0xFE;         // tab, line feed, carriage return and blank
constexpr unsigned char kOutsideAlphabet = 0xFF; // "=" too: the decoder looks at it before it looks it up

struct DecodeTable {
    unsigned char values[256];
    constexpr DecodeTable();
};
extern const DecodeTable kDecodeTable; // that of the alphabet

// The size of the buffer that decode() needs for so many characters, in bytes.
constexpr unsigned decoded_capacity(unsigned length) {
    return static_cast<unsigned>(length * 3ull / 4) + 1;
}

enum class DecodeEnd {
    end_of_text, // the text ended with a whole group
    padding,     // a "=" ended it; whatever follows is ignored
    malformed,   // a foreign character, or an end inside a group (blanks behind the last group begin a new one)
};

struct Decoded {
    unsigned size; // bytes written; 0 if malformed
    DecodeEnd end;
};

// Writes into decoded_capacity(length) bytes, whose contents behind the result are undefined. The bytes may begin where
// the text does; otherwise the blocks must not overlap. Any table may be given; that of the alphabet is the fast one.
Decoded decode(const unsigned char table[256], const unsigned char* text, unsigned length, unsigned char* bytes);

} // namespace base64
