// Owners of Windows handles: one type per kind, each with its own invalid value and its own way to close.
#pragma once

#include <stdlib.h>
#include <windows.h>

namespace win {

// The same function, said to throw nothing: for the system's own closing functions in destructors. Without it the
// destructor would have to end the process should one throw after all, also for a fault that a guard further out waits
// for, and would carry the tables for that.
template <class Result, class... Arguments>
auto nothrow(Result(WINAPI* function)(Arguments...)) noexcept {
    return reinterpret_cast<Result(WINAPI*)(Arguments...) noexcept>(function);
}

// Closes the handle at its end. Traits give the handle's type, its invalid value and the closing call.
template <class Traits>
class UniqueHandle {
public:
    using Value = typename Traits::Value;

    explicit UniqueHandle(Value value = Traits::invalid()) : m_value(value) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_value(other.release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        reset(other.release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { reset(); }

    explicit operator bool() const { return m_value != Traits::invalid(); }
    Value get() const { return m_value; }

    // Gives the handle away; the caller closes it.
    Value release() noexcept {
        const Value value = m_value;
        m_value = Traits::invalid();
        return value;
    }

    void reset(Value value = Traits::invalid()) noexcept {
        const Value old = m_value;
        m_value = value;
        if (old != Traits::invalid())
            Traits::close(old);
    }

    // For calls that put a handle into a variable; what was held is closed first.
    Value* put() noexcept {
        reset();
        return &m_value;
    }

private:
    Value m_value;
};

// Of kinds whose invalid value is null: the type, and the system's function that closes one.
template <class Handle, auto kClose>
struct NullableTraits {
    using Value = Handle;
    static Value invalid() noexcept { return nullptr; }
    static void close(Value handle) noexcept { nothrow(kClose)(handle); }
};

using LibraryHandle = UniqueHandle<NullableTraits<HMODULE, FreeLibrary>>;
using RegistryKey = UniqueHandle<NullableTraits<HKEY, RegCloseKey>>;
// What MapViewOfFile gives.
using MappedView = UniqueHandle<NullableTraits<void*, UnmapViewOfFile>>;
// A device context made by CreateDC or CreateCompatibleDC.
using DeviceContext = UniqueHandle<NullableTraits<HDC, DeleteDC>>;

// A bitmap that is selected into no device context.
using Bitmap = UniqueHandle<NullableTraits<HBITMAP, DeleteObject>>;

// What malloc gives.
struct BlockTraits {
    using Value = void*;
    static Value invalid() noexcept { return nullptr; }
    static void close(Value block) noexcept { free(block); }
};
using Block = UniqueHandle<BlockTraits>;

// Of kinds whose invalid value is all ones.
template <auto kClose>
struct FileTraits {
    using Value = HANDLE;
    static Value invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(Value handle) noexcept { nothrow(kClose)(handle); }
};

// Files and their mappings.
using FileHandle = UniqueHandle<FileTraits<CloseHandle>>;
// What FindFirstFile gives.
using SearchHandle = UniqueHandle<FileTraits<FindClose>>;

} // namespace win
