#include "base/text_search.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/guarded_copy.h"

namespace {

template <typename T>
std::vector<T> elements(const std::string& text) {
    return std::vector<T>(text.begin(), text.end());
}

// Finds with both texts ending at unreadable pages, and again with both beginning at one.
template <typename T>
int guarded_find(const std::string& text, const std::string& pattern, unsigned from) {
    const GuardedCopy<T> text_end(elements<T>(text));
    const GuardedCopy<T> pattern_end(elements<T>(pattern));
    const GuardedCopy<T> text_begin(elements<T>(text), GuardedCopy<T>::guarded_begin);
    const GuardedCopy<T> pattern_begin(elements<T>(pattern), GuardedCopy<T>::guarded_begin);
    const unsigned text_size = static_cast<unsigned>(text.size());
    const unsigned pattern_size = static_cast<unsigned>(pattern.size());
    const int hit = gen::find_text(text_end.data(), text_size, pattern_end.data(), pattern_size, from);
    EXPECT_EQ(hit, gen::find_text(text_begin.data(), text_size, pattern_begin.data(), pattern_size, from));
    return hit;
}

int expected_find(const std::string& text, const std::string& pattern, unsigned from) {
    if (pattern.empty())
        return -1;
    const std::size_t hit = text.find(pattern, from);
    return hit == std::string::npos ? -1 : static_cast<int>(hit);
}

struct FindCase {
    const char* name;
    std::string text;
    std::string pattern;
    unsigned from;
    int expected;
};

const FindCase kFindCases[] = {
    {"first_of_several", "abcabc", "bc", 0, 1},
    {"from_a_match_on", "abcabc", "bc", 1, 1},
    {"behind_a_match", "abcabc", "bc", 2, 4},
    {"whole_text", "abc", "abc", 0, 0},
    {"one_character", "abc", "c", 0, 2},
    {"at_the_end", "aab", "ab", 0, 1},
    {"overlapping_starts", "aaab", "aab", 0, 1},
    {"right_ends_wrong_middle", "axcabc", "abc", 0, 3},
    {"cut_off_at_the_end", "xxab", "abc", 0, -1},
    {"longer_than_the_text", "ab", "abc", 0, -1},
    {"empty_pattern", "abc", "", 0, -1},
    {"empty_text", "", "a", 0, -1},
    {"both_empty", "", "", 0, -1},
    {"from_the_last_place", "abc", "c", 2, 2},
    {"from_the_end", "abc", "c", 3, -1},
    {"from_far_beyond_the_end", "abc", "c", 0xFFFFFFFFu, -1},
    {"pattern_does_not_fit_behind_from", "abab", "ab", 3, -1},
    {"across_a_nul", std::string("a\0b", 3), "b", 0, 2},
    {"pattern_with_a_nul", std::string("a\0b", 3), std::string("\0b", 2), 0, 1},
    {"high_bytes", "\x61\xFF\x80", "\xFF\x80", 0, 1},
    {"high_bytes_in_a_long_text", "\x61\xFF\x61\x80 0123456789ab \xFF\x80 0123456789", "\xFF\x80", 0, 18},
    {"nuls_in_a_long_text", std::string("a\0a\1 0123456789ab \0\1 0123456789", 31), std::string("\0\1", 2), 0, 18},
};

TEST(FindText, Finds_the_first_match_and_reads_nothing_outside) {
    for (const FindCase& test : kFindCases) {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(test.expected, guarded_find<char>(test.text, test.pattern, test.from));
        EXPECT_EQ(test.expected, guarded_find<unsigned short>(test.text, test.pattern, test.from));
    }
}

TEST(FindText, Agrees_with_the_standard_string_on_random_texts) {
    std::mt19937 random(20240229);
    const auto text_of = [&](unsigned longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char& c : text)
            c = static_cast<char>('a' + random() % 2);
        return text;
    };
    for (int round = 0; round < 2000; ++round) {
        const std::string text = text_of(40);
        const std::string pattern = text_of(6);
        const unsigned from = random() % 45;
        ASSERT_EQ(expected_find(text, pattern, from), guarded_find<char>(text, pattern, from))
            << '"' << pattern << "\" in \"" << text << "\" from " << from;
        ASSERT_EQ(expected_find(text, pattern, from), guarded_find<unsigned short>(text, pattern, from));
    }
}

TEST(FindText, Finds_at_every_place_of_a_text_of_every_length) {
    for (unsigned length = 1; length < 70; ++length) {
        for (unsigned place = 0; place < length; ++place) {
            for (unsigned size : {1u, 2u, 5u, 17u}) {
                // Right first and last characters all over the text, the whole pattern once.
                const std::string pattern = std::string(size - 1, 'a') + 'b';
                std::string text(length, size > 2 ? 'c' : 'x');
                if (place + size > length)
                    continue;
                for (unsigned i = 0; size > 2 && i + 1 < length; i += 2)
                    text.replace(i, 2, "ab");
                text.replace(place, size, pattern);
                const unsigned from = place > 20 ? place - 20 : 0;
                ASSERT_EQ(expected_find(text, pattern, from), guarded_find<char>(text, pattern, from))
                    << '"' << pattern << "\" in \"" << text << "\" from " << from;
                ASSERT_EQ(expected_find(text, pattern, from), guarded_find<unsigned short>(text, pattern, from));
            }
        }
    }
}

TEST(FindText, Compares_all_of_a_wide_character) {
    const unsigned short text[] = {0x0141, 0x0241, 0x0041, 0x0042};
    const unsigned short pattern[] = {0x0041, 0x0042};
    EXPECT_EQ(2, gen::find_text(text, 4, pattern, 2, 0));
}

TEST(TextLength, Counts_up_to_the_NUL) {
    EXPECT_EQ(0u, gen::text_length<char>(nullptr));
    EXPECT_EQ(0u, gen::text_length(""));
    EXPECT_EQ(3u, gen::text_length("abc"));
    EXPECT_EQ(0u, gen::text_length<unsigned short>(nullptr));
    const unsigned short wide[] = {0x100, 0x200, 0};
    EXPECT_EQ(2u, gen::text_length(wide));
    const GuardedCopy<char> guarded(elements<char>(std::string("abc\0", 4)));
    EXPECT_EQ(3u, gen::text_length(guarded.data()));
}

#ifdef __linux__
// `bytes` times 'a', which take 1 MB of memory: the same pages again and again.
class EndlessText {
public:
    explicit EndlessText(size_t bytes) : m_bytes(bytes) {
        const int file = memfd_create("text", 0);
        m_text = static_cast<char*>(mmap(nullptr, m_bytes + kPiece, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        const std::string piece(kPiece, 'a');
        bool good =
            file >= 0 && m_text != MAP_FAILED && write(file, piece.data(), kPiece) == static_cast<ssize_t>(kPiece);
        for (size_t at = 0; good && at < m_bytes; at += kPiece)
            good = mmap(m_text + at, kPiece, PROT_READ, MAP_SHARED | MAP_FIXED, file, 0) != MAP_FAILED;
        close(file);
        if (!good)
            std::abort();
    }
    ~EndlessText() { munmap(m_text, m_bytes + kPiece); }
    const char* data() const { return m_text; }

private:
    static constexpr size_t kPiece = 1 << 20;
    size_t m_bytes; // whole pieces; NULs follow
    char* m_text;
};

TEST(TextLength, Of_more_than_a_string_can_hold_is_out_of_memory) {
    const EndlessText text(size_t{1} << 31);
    EXPECT_THROW(gen::text_length(text.data()), gen::genlib_out_of_memory);
    EXPECT_EQ(0x7FFFFFFEu, gen::text_length(text.data() + 2));
}
#endif

} // namespace
