// Standard exceptions as Visual C++ lays them out: the toolchain has no C++ standard library.
#pragma once

namespace std {

class exception {
public:
    explicit exception(const char* words) : m_words(words), m_owned(false) {}
    virtual ~exception() {}
    virtual const char* what() const { return m_words; }

private:
    const char* m_words;
    [[maybe_unused]] bool m_owned;
};

class runtime_error : public exception {
public:
    explicit runtime_error(const char* words) : exception(words) {}
};

[[noreturn]] void terminate() __asm__("?terminate@@YAXXZ");

} // namespace std
