// The text of the whole system, for char and for unsigned short.
//
// A text is NUL-terminated and has a length of its own, so it may hold further NULs. Storage grows to exactly what a
// text needs, for appends too: whoever builds a long text from many pieces calls grow() first. Every operation that
// must grow and can't throws genlib_out_of_memory and changes nothing. Arguments may point into the string itself.
#pragma once

#include "base/array.h"
#include "base/short_copy.h"
#include "base/text_search.h"

namespace gen {

template <typename T>
class basic_string : public array<T> {
public:
    basic_string();
    basic_string(const T* text);             // null gives an empty text
    basic_string(const T* text, unsigned n); // exactly n characters, NULs included; none of null
    // The two texts one after the other, in storage of the size that takes. A null text needs the length 0.
    basic_string(const T* left, unsigned left_length, const T* right, unsigned right_length);
    basic_string(const basic_string& other);
    basic_string(basic_string&& other) noexcept; // as in array: the source is empty and may be used again
    ~basic_string() override = default;

    basic_string& operator=(const basic_string& other);
    basic_string& operator=(basic_string&& other) noexcept;
    basic_string& operator=(const T* text) {
        assign(text);
        return *this;
    }

    // Kept: assigning null makes the first character NUL and leaves the length alone, so that c_str() is empty and
    // length() is not. Code that takes texts from outside assigns "" for null.
    void assign(const T* text);
    // Exactly n characters, NULs included; a null text as above, whatever n is.
    void assign(const T* text, unsigned n);

    // The text; never null, valid until the next change.
    const T* c_str() const { return this->m_data ? static_cast<const T*>(this->m_data) : &kSNul; }
    // In characters, the final NUL not counted.
    unsigned length() const { return this->m_count ? this->m_count - 1 : 0; }
    // Whether the text begins with its NUL: true after assigning null too, whatever the length.
    bool empty() const { return *c_str() == 0; }

    // Checked: throws genlib_out_of_range(i, length()). The NUL is out of range.
    T at(unsigned i) const {
        this->check(i, length());
        return c_str()[i];
    }
    T& at(unsigned i) {
        this->check(i, length());
        return this->data()[i];
    }
    T operator[](unsigned i) const { return at(i); }
    T& operator[](unsigned i) { return at(i); }

    // Appending null does nothing. What fits into the storage is appended in place; "inline" has the compiler do that
    // where the call stands if it builds the caller for speed, and there the length of a literal is known.
    inline void append(const T* text) { append(text, text_length(text)); }
    inline void append(const T* text, unsigned n) {
        const unsigned old_count = this->m_count;
        if (old_count == 0 || n > this->m_capacity - old_count || !text)
            return append_with_growth(text, n);
        T* const end = this->data() + old_count - 1;
        short_copy(end, text, n * sizeof(T));
        end[n] = 0;
        this->m_count = old_count + n;
    }
    // Adds n characters at the end and returns the first of them. The caller writes them all; until then they are
    // undefined.
    T* extend(unsigned n);
    basic_string& operator+=(const T* text) {
        append(text);
        return *this;
    }
    basic_string& operator+=(const basic_string& other) {
        append(other.c_str(), other.length());
        return *this;
    }
    basic_string& operator+=(T character) {
        append(&character, 1);
        return *this;
    }

    // The index of the first match at or after `from`, or -1. A null or empty pattern is found nowhere.
    int find(const T* pattern, unsigned from = 0) const;
    // The index of the last such character, or -1.
    int rfind(T character) const noexcept;

    // The first n characters, or all there are; nothing for a negative n, so that left(rfind('\\')) of a path without
    // a backslash is empty.
    basic_string left(int n) const;
    // Up to n characters from pos; empty if pos is not below the length.
    basic_string substr(unsigned pos, unsigned n = ~0u) const;

    // Replaces every match, from left to right, and returns how many there were; inserted text is not searched again.
    // A null replacement removes the matches. Linear in the length of the text, with at most one allocation.
    int replace_all(const T* pattern, const T* replacement);
    // As above by the whole length of the replacement, which needs no search for its end.
    int replace_all(const T* pattern, const basic_string& replacement);
    // Removes the characters of the set from the end, until one is not in it.
    void trim_right(const T* set);

    // Makes the capacity at least n (the NUL counts), exactly n if it must grow; the text stays.
    void grow(unsigned n);
    // The capacity becomes exactly n if it is less. Otherwise the string is CUT to n elements, the NUL among them.
    void reserve(unsigned n);

    // Storage to be written from outside: n + 1 characters, all NUL; the old text is gone. release_buffer then sets
    // the length to that of the text found there.
    T* get_buffer(unsigned n);
    void release_buffer() noexcept;

    // By text, up to the first NUL; null compares as an empty text.
    bool operator==(const T* text) const;
    bool operator==(const basic_string& other) const { return *this == other.c_str(); }

protected:
    // For substr: moves the position to the end of the text if it is beyond it, and returns how many of n characters
    // there are from there.
    unsigned clip(unsigned& pos, unsigned n) const;

private:
    // Changing elements, or counting them, without regard to the NUL is not for strings: count() counts it.
    using array<T>::add;
    using array<T>::clear;
    using array<T>::insert;
    using array<T>::remove;
    using array<T>::resize;
    using array<T>::size;

    int replace_all(const T* pattern, const T* replacement, unsigned replacement_length);
    // Writes n characters from position `at` <= length() and ends the text after them; grows exactly.
    void write(unsigned at, const T* text, unsigned n);
    void append_with_growth(const T* text, unsigned n); // or to a text that was never assigned
    // What a new text of that length has.
    static unsigned capacity_for(unsigned length);
    // Ends the text after `length` characters, which stand in the storage, as does space for the NUL.
    void end_at(unsigned length) {
        this->data()[length] = 0;
        this->m_count = length + 1;
    }
    bool holds(const T* text) const; // whether the text lies in this string's own storage

    static constexpr T kSNul = 0;
};

extern template class basic_string<char>;
extern template class basic_string<unsigned short>;

template <typename T>
basic_string<T> operator+(const basic_string<T>& left, const T* right) {
    return basic_string<T>(left.c_str(), left.length(), right, text_length(right));
}

template <typename T>
basic_string<T> operator+(const basic_string<T>& left, const basic_string<T>& right) {
    return basic_string<T>(left.c_str(), left.length(), right.c_str(), right.length());
}

} // namespace gen
