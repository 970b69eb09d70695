// Compiled here once for the two character types that the end of the file names. Whatever has to grow fills its new
// storage before it lets go of the old, in which the argument may lie.
#include "base/basic_string.h"

namespace gen {

// Replace-all searches twice: once to count the matches, which gives the final size, and once to write. The writing
// pass reads the text from `source` and writes to `target`, which may be the same storage as long as what was written
// never overtakes what is still to be read. That holds when the text shrinks, and also when it grows within its
// capacity, if the text is first moved to the very end of the storage: before the last replacement there is always
// more space between the two places than the replacements still to come will take.
template <typename T>
static void write_replaced(T* target, const T* source, unsigned length, const T* pattern, unsigned pattern_length,
                           const T* replacement, unsigned replacement_length, int matches) {
    unsigned done = 0;
    for (; matches > 0; --matches) {
        const unsigned hit = static_cast<unsigned>(find_text(source, length, pattern, pattern_length, done));
        memmove(target, source + done, (hit - done) * sizeof(T));
        target += hit - done;
        if (replacement_length) {
            memcpy(target, replacement, replacement_length * sizeof(T));
            target += replacement_length;
        }
        done = hit + pattern_length;
    }
    memmove(target, source + done, (length - done) * sizeof(T));
}

template <typename T>
static int count_matches(const T* text, unsigned length, const T* pattern, unsigned pattern_length) {
    int matches = 0;
    for (int hit = 0; (hit = find_text(text, length, pattern, pattern_length, static_cast<unsigned>(hit))) >= 0;
         hit += static_cast<int>(pattern_length))
        ++matches;
    return matches;
}

template <typename T>
basic_string<T>::basic_string() {
    *this->data() = 0;
}

template <typename T>
basic_string<T>::basic_string(const T* text) : basic_string(text, text_length(text)) {}

template <typename T>
basic_string<T>::basic_string(const T* text, unsigned n) : basic_string(text, text ? n : 0, nullptr, 0) {
    if (!text)
        this->m_count = 0;
}

// The storage is taken once and in the size that it needs, and before there is an object that would have to be
// destroyed if there is none.
template <typename T>
basic_string<T>::basic_string(const T* left, unsigned left_length, const T* right, unsigned right_length)
    : array<T>(array<T>::kDefaultHint, array<T>::kDefaultStep, capacity_for(this->sum(left_length, right_length))) {
    if (left_length)
        memcpy(this->data(), left, left_length * sizeof(T));
    if (right_length)
        memcpy(this->data() + left_length, right, right_length * sizeof(T));
    end_at(left_length + right_length);
}

template <typename T>
unsigned basic_string<T>::capacity_for(unsigned length) {
    const unsigned wanted = array<T>::sum(length, 1);
    return wanted > base_array::kDefaultHint ? wanted : base_array::kDefaultHint;
}

template <typename T>
basic_string<T>::basic_string(const basic_string& other) : array<T>(other) {
    if (this->m_count == 0)
        *this->data() = 0;
}

template <typename T>
basic_string<T>::basic_string(basic_string&& other) noexcept : array<T>(static_cast<array<T>&&>(other)) {}

template <typename T>
// NOLINTNEXTLINE(*-oop54-cpp): the array looks whether it is itself
basic_string<T>& basic_string<T>::operator=(const basic_string& other) {
    array<T>::operator=(other);
    if (this->m_count == 0 && this->m_capacity)
        *this->data() = 0;
    return *this;
}

template <typename T>
basic_string<T>& basic_string<T>::operator=(basic_string&& other) noexcept {
    array<T>::operator=(static_cast<array<T>&&>(other));
    return *this;
}

template <typename T>
void basic_string<T>::assign(const T* text) {
    assign(text, text_length(text));
}

template <typename T>
void basic_string<T>::assign(const T* text, unsigned n) {
    if (!text) {
        if (this->m_capacity)
            *this->data() = 0;
        return;
    }
    write(0, text, n);
}

template <typename T>
void basic_string<T>::append_with_growth(const T* text, unsigned n) {
    if (text)
        write(length(), text, n);
}

template <typename T>
T* basic_string<T>::extend(unsigned n) {
    const unsigned old_length = length();
    this->grow(this->sum(this->sum(old_length, n), 1));
    end_at(old_length + n);
    return this->data() + old_length;
}

template <typename T>
int basic_string<T>::find(const T* pattern, unsigned from) const {
    return find_text(c_str(), length(), pattern, text_length(pattern), from);
}

template <typename T>
int basic_string<T>::rfind(T character) const noexcept {
    const T* text = c_str();
    int i = static_cast<int>(length()) - 1;
    while (i >= 0 && text[i] != character)
        --i;
    return i;
}

template <typename T>
basic_string<T> basic_string<T>::left(int n) const {
    return substr(0, n > 0 ? static_cast<unsigned>(n) : 0);
}

template <typename T>
basic_string<T> basic_string<T>::substr(unsigned pos, unsigned n) const {
    n = clip(pos, n);
    return basic_string(c_str() + pos, n);
}

template <typename T>
unsigned basic_string<T>::clip(unsigned& pos, unsigned n) const {
    if (pos > length())
        pos = length();
    const unsigned rest = length() - pos;
    return n < rest ? n : rest;
}

template <typename T>
int basic_string<T>::replace_all(const T* pattern, const T* replacement) {
    return replace_all(pattern, replacement, text_length(replacement));
}

template <typename T>
int basic_string<T>::replace_all(const T* pattern, const basic_string& replacement) {
    return replace_all(pattern, replacement.c_str(), replacement.length());
}

template <typename T>
int basic_string<T>::replace_all(const T* pattern, const T* replacement, unsigned replacement_length) {
    const unsigned pattern_length = text_length(pattern);
    const unsigned old_length = length();
    const int matches = count_matches(c_str(), old_length, pattern, pattern_length);
    if (matches == 0)
        return 0;

    const unsigned kept = old_length - static_cast<unsigned>(matches) * pattern_length;
    const unsigned long long added = static_cast<unsigned long long>(matches) * replacement_length;
    if (added > this->kMaxBytes)
        throw_out_of_memory();
    const unsigned new_length = this->sum(kept, static_cast<size_t>(added));
    const unsigned wanted = this->sum(new_length, 1);

    const bool in_place = wanted <= this->m_capacity && !holds(pattern) && !holds(replacement);
    if (in_place) {
        const T* source = this->data();
        if (replacement_length > pattern_length) {
            T* moved = this->data() + (this->m_capacity - old_length);
            memmove(moved, this->data(), old_length * sizeof(T));
            source = moved;
        }
        write_replaced(this->data(), source, old_length, pattern, pattern_length, replacement, replacement_length,
                       matches);
    } else {
        const unsigned new_capacity = wanted > this->m_capacity ? wanted : this->m_capacity;
        T* storage = static_cast<T*>(this->allocate(new_capacity, sizeof(T)));
        write_replaced(storage, c_str(), old_length, pattern, pattern_length, replacement, replacement_length, matches);
        this->adopt(storage, new_capacity);
    }
    end_at(new_length);
    return matches;
}

template <typename T>
void basic_string<T>::trim_right(const T* set) {
    const unsigned set_length = text_length(set);
    unsigned n = length();
    while (n > 0 && find_text(set, set_length, c_str() + n - 1, 1, 0) >= 0)
        --n;
    if (n < length())
        end_at(n);
}

template <typename T>
void basic_string<T>::grow(unsigned n) {
    array<T>::grow(n);
    if (this->m_count == 0 && this->m_capacity)
        *this->data() = 0;
}

template <typename T>
void basic_string<T>::reserve(unsigned n) {
    if (n > this->m_capacity)
        return grow(n);
    array<T>::reserve(n);
    if (this->m_capacity)
        this->data()[this->m_count ? this->m_count - 1 : 0] = 0;
}

template <typename T>
T* basic_string<T>::get_buffer(unsigned n) {
    const unsigned wanted = this->sum(1, n);
    grow(wanted);
    this->m_count = wanted;
    memset(this->m_data, 0, wanted * sizeof(T));
    return this->data();
}

template <typename T>
void basic_string<T>::release_buffer() noexcept {
    if (this->m_count == 0)
        return;
    this->data()[this->m_count - 1] = 0;
    end_at(static_cast<unsigned>(measure(c_str())));
}

template <typename T>
bool basic_string<T>::operator==(const T* text) const {
    const T* mine = c_str();
    if (!text)
        return *mine == 0;
    while (*mine && *mine == *text) {
        ++mine;
        ++text;
    }
    return *mine == *text;
}

template <typename T>
void basic_string<T>::write(unsigned at, const T* text, unsigned n) {
    const unsigned wanted = this->sum(this->sum(at, n), 1);
    if (wanted <= this->m_capacity) {
        memmove(this->data() + at, text, n * sizeof(T));
    } else {
        // The old storage stays until the end: the text may lie in it.
        T* storage = static_cast<T*>(this->allocate(wanted, sizeof(T)));
        memcpy(storage, c_str(), at * sizeof(T));
        memcpy(storage + at, text, n * sizeof(T));
        this->adopt(storage, wanted);
    }
    end_at(at + n);
}

template <typename T>
bool basic_string<T>::holds(const T* text) const {
    const T* mine = this->data();
    return text >= mine && text < mine + this->m_capacity;
}

template class basic_string<char>;
template class basic_string<unsigned short>;

} // namespace gen
