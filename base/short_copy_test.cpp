#include "base/short_copy.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/guarded_copy.h"

namespace {

// Never known to the compiler.
size_t opaque(size_t size) {
    volatile size_t hidden = size;
    return hidden;
}

TEST(ShortCopy, Copies_every_size_and_touches_nothing_beyond_it) {
    for (size_t size = 0; size <= 3 * gen::kLongestShortCopy; ++size) {
        SCOPED_TRACE(size);
        std::string text;
        for (size_t i = 0; i < size; ++i)
            text += static_cast<char>('0' + i);
        const GuardedCopy<char> ends_at_a_guard({text.begin(), text.end()}, GuardedCopy<char>::guarded_end);
        const GuardedCopy<char> begins_at_a_guard({text.begin(), text.end()}, GuardedCopy<char>::guarded_begin);
        for (const char* source : {ends_at_a_guard.data(), begins_at_a_guard.data()}) {
            std::string target(size + 2, '.');
            gen::short_copy(&target[1], source, opaque(size));
            EXPECT_EQ("." + text + ".", target);
        }
    }
}

TEST(ShortCopy, Copies_a_text_with_its_NUL_behind_itself) {
    for (size_t length = 0; length <= gen::kLongestShortCopy + 1; ++length) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        std::string storage = text + std::string(length + 2, '.');
        storage[length] = '\0';
        gen::short_copy(&storage[length], storage.data(), opaque(length + 1));
        EXPECT_EQ(text + text + std::string(1, '\0') + ".", storage);
    }
}

} // namespace
