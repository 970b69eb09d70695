// Every text ends up in character(), the one place that looks at the storage's size.
#include "companions/faultkit/text_builder.h"

namespace faultkit {

unsigned bounded_length(const char* text, unsigned most) {
    unsigned length = 0;
    while (length < most && text[length])
        ++length;
    return length;
}

TextBuilder::TextBuilder(char* storage, unsigned size) : m_storage(storage), m_size(size) {
    m_storage[0] = '\0';
}

TextBuilder& TextBuilder::character(char c) {
    if (m_length + 1 >= m_size) {
        m_overflowed = true;
        return *this;
    }
    m_storage[m_length++] = c;
    m_storage[m_length] = '\0';
    return *this;
}

TextBuilder& TextBuilder::text(const char* text) {
    for (; text && *text; ++text)
        character(*text);
    return *this;
}

TextBuilder& TextBuilder::name(const char* name, unsigned most) {
    const unsigned length = bounded_length(name, most + 1);
    const bool cut = length > most;
    const unsigned kept = cut ? (most > 3 ? most - 3 : 0) : length;
    for (unsigned i = 0; i < kept; ++i)
        character(static_cast<unsigned char>(name[i]) < 0x20 || name[i] == 0x7F ? '?' : name[i]);
    return cut ? text("...") : *this;
}

TextBuilder& TextBuilder::tail_of_name(const char* whole, unsigned most) {
    const unsigned length = bounded_length(whole, 0xFFFF);
    if (length <= most)
        return name(whole, most);
    const unsigned kept = most > 3 ? most - 3 : 0;
    return text("...").name(whole + (length - kept), kept);
}

TextBuilder& TextBuilder::hex(uint32_t value, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        character("0123456789ABCDEF"[(value >> shift) & 15]);
    return *this;
}

TextBuilder& TextBuilder::address(Address value) {
    if (sizeof value > 4)
        hex(static_cast<uint32_t>(static_cast<uint64_t>(value) >> 32));
    return hex(static_cast<uint32_t>(value));
}

TextBuilder& TextBuilder::least_hex(uint32_t value) {
    int digits = 1;
    while (digits < 8 && value >> (digits * 4))
        ++digits;
    return hex(value, digits);
}

TextBuilder& TextBuilder::short_hex(uint32_t value) {
    return text("0x").least_hex(value);
}

TextBuilder& TextBuilder::decimal(uint32_t value) {
    char digits[10];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value);
    while (count)
        character(digits[--count]);
    return *this;
}

TextBuilder& TextBuilder::padded(uint32_t value, unsigned digits) {
    for (uint32_t power = 10; digits > 1; --digits, power *= 10)
        if (value < power) {
            for (; digits > 1; --digits)
                character('0');
            break;
        }
    return decimal(value);
}

void TextBuilder::cut_to(unsigned length) {
    if (length <= m_length) {
        m_length = length;
        m_storage[m_length] = '\0';
        m_overflowed = false;
    }
}

void TextBuilder::cut_to_lines(unsigned mark, unsigned most) {
    if (!m_overflowed && m_length - mark <= most)
        return;
    unsigned end = m_length - mark < most ? m_length : mark + most;
    while (end > mark && m_storage[end] != '\n')
        --end;
    cut_to(end);
}

} // namespace faultkit
