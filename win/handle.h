// Owners of Windows handles: one type per kind, each with its own invalid value and its own way to close.
#pragma once

#include <windows.h>

namespace win {

// Closes the handle at its end. Traits give the handle's type, its invalid value and the closing call.
template <class Traits>
class UniqueHandle {
public:
    using Value = typename Traits::Value;

    explicit UniqueHandle(Value value = Traits::invalid()) : value_(value) {}
    UniqueHandle(UniqueHandle&& other) noexcept : value_(other.release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        reset(other.release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { reset(); }

    explicit operator bool() const { return value_ != Traits::invalid(); }
    Value get() const { return value_; }

    // Gives the handle away; the caller closes it.
    Value release() {
        const Value value = value_;
        value_ = Traits::invalid();
        return value;
    }

    void reset(Value value = Traits::invalid()) {
        const Value old = value_;
        value_ = value;
        if (old != Traits::invalid())
            Traits::close(old);
    }

    // For calls that put a handle into a variable; what was held is closed first.
    Value* put() {
        reset();
        return &value_;
    }

private:
    Value value_;
};

struct RegistryKeyTraits {
    using Value = HKEY;
    static Value invalid() { return nullptr; }
    static void close(Value key) { RegCloseKey(key); }
};
using RegistryKey = UniqueHandle<RegistryKeyTraits>;

struct LibraryTraits {
    using Value = HMODULE;
    static Value invalid() { return nullptr; }
    static void close(Value module) { FreeLibrary(module); }
};
using LibraryHandle = UniqueHandle<LibraryTraits>;

} // namespace win
