// Text in storage of fixed size. It is built in a process whose heap, locale and locks may be broken, so nothing here
// allocates, locks or calls the C runtime's formatting.
#pragma once

#include "companions/faultkit/address.h"

namespace faultkit {

class TextBuilder {
public:
    // Builds in storage, which the caller owns and which must outlive the builder. size counts the final NUL and must
    // not be 0. The text is NUL-terminated at every moment.
    TextBuilder(char* storage, unsigned size);
    template <unsigned Size>
    explicit TextBuilder(char (&storage)[Size]) : TextBuilder(storage, Size) {}
    TextBuilder(const TextBuilder&) = delete;
    TextBuilder& operator=(const TextBuilder&) = delete;

    // A text of our own. Null appends nothing.
    TextBuilder& text(const char* text);
    // A name that comes from outside (file, symbol, type): control characters become '?', so that a line stays one
    // line. At most `most` characters are taken; a longer name ends in "...".
    TextBuilder& name(const char* name, unsigned most);
    // Like name(), but a longer one loses its beginning: the end of a path tells more.
    TextBuilder& tail_of_name(const char* name, unsigned most);
    TextBuilder& character(char c);
    // Upper-case hexadecimal, exactly `digits` of them (1 to 8), the lowest ones.
    TextBuilder& hex(uint32_t value, int digits = 8);
    // All digits that an address has in this process.
    TextBuilder& address(Address value);
    // As many digits as the value needs.
    TextBuilder& least_hex(uint32_t value);
    // The same behind "0x".
    TextBuilder& short_hex(uint32_t value);
    TextBuilder& decimal(uint32_t value);
    // With zeros in front, so that there are `digits` of them at least.
    TextBuilder& padded(uint32_t value, unsigned digits);

    const char* c_str() const { return m_storage; }
    unsigned length() const { return m_length; }
    // Characters that still fit.
    unsigned space() const { return m_size - 1 - m_length; }
    // Whether something did not fit; what came after it may be there all the same.
    bool overflowed() const { return m_overflowed; }
    // Drops everything after the first `length` characters and forgets an overflow: to take back a line that did not
    // fit.
    void cut_to(unsigned length);
    // Keeps of what was added behind `mark` the first lines that have at most `most` characters, each with the line
    // feed that it begins with.
    void cut_to_lines(unsigned mark, unsigned most);

private:
    char* m_storage;
    unsigned m_size;
    unsigned m_length = 0;
    bool m_overflowed = false;
};

// Length of a NUL-terminated text, at most `most`.
unsigned bounded_length(const char* text, unsigned most);

} // namespace faultkit
