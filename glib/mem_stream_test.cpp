#include "glib/mem_stream.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/stream_model.h"

namespace {

using stream_model::contents;

// A stream that holds the text, at its beginning.
struct Holding : VMemStream {
    explicit Holding(const char* text) {
        WriteString(text);
        SetPosition(0);
    }
};

TEST(MemStream, Grows_by_the_step_or_by_what_is_left_after_filling_the_capacity) {
    const struct {
        const char* what;
        uint32_t step, capacity, first, second, grown;
    } cases[] = {{"the step is more than the shortfall", 65535, 65535, 65535, 10, 131070},
                 {"the shortfall is more than the step", 65535, 65535, 65535, 100000, 165535},
                 {"two bytes fit, eight are left", 4, 10, 8, 10, 18}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        VMemStream stream(c.step, c.capacity);
        const std::string first(c.first, 'x'), second(c.second, 'y');
        EXPECT_EQ(stream.Write(first.data(), 1, c.first), c.first);
        EXPECT_EQ(stream.capacity(), c.capacity);
        EXPECT_EQ(stream.Write(second.data(), 1, c.second), c.second);
        EXPECT_EQ(stream.capacity(), c.grown);
        EXPECT_EQ(stream.Size(), c.first + c.second);
        EXPECT_EQ(stream.Tell(), c.first + c.second);
        EXPECT_EQ(contents(stream), first + second);
    }
}

TEST(MemStream, Seven_bytes_in_elements_of_two_are_three_elements) {
    char seven[7];
    VMemStream stream(seven, 7);
    EXPECT_EQ(stream.Write("12345678", 2, 4), 3u);
    EXPECT_EQ(stream.Tell(), 7u);
    EXPECT_EQ(std::string(seven, 7), "1234567");
}

TEST(MemStream, A_fixed_stream_never_changes_its_size) {
    char buffer[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    VMemStream stream(buffer, 4);
    EXPECT_EQ(stream.Write("123456", 1, 6), 4u);
    EXPECT_EQ(stream.Size(), 4u);
    EXPECT_EQ(stream.Write("x", 1, 1), 0u);
    EXPECT_EQ(stream.HasError(), 0u);
    EXPECT_EQ(std::string(buffer, 8), "1234efgh");
    EXPECT_EQ(stream.SetSize(5), 0u);
    EXPECT_EQ(stream.SetSize(4), 1u);
    EXPECT_EQ(stream.Detach(), nullptr);
}

TEST(MemStream, A_position_beyond_the_end_is_no_space) {
    char buffer[4] = {1, 2, 3, 4};
    VMemStream stream(buffer, 4);
    ASSERT_EQ(stream.SetPosition(10), 1u);
    EXPECT_EQ(stream.Write("x", 1, 1), 0u);
    EXPECT_EQ(stream.Read(buffer, 1, 1), 0u);
    EXPECT_EQ(stream.ReadByte(), 0u);
    EXPECT_EQ(stream.IsEndOfData(), 1u);
    EXPECT_EQ(stream.Tell(), 10u);
}

TEST(MemStream, A_stream_for_reading_takes_no_bytes) {
    const char text[] = "text";
    VMemStream stream(static_cast<const void*>(text), 4);
    EXPECT_EQ(stream.Write("1234", 1, 4), 0u);
    EXPECT_EQ(stream.WriteByte(1), 0u);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(stream.ReadByte(), 't');
}

TEST(MemStream, Seek_knows_three_origins_and_refuses_others) {
    VMemStream stream;
    stream.WriteString("0123456789");
    const struct {
        int offset, origin;
        uint64_t position;
    } good[] = {{4, 0, 4}, {3, 1, 7}, {-5, 1, 2}, {-1, 2, 9}};
    for (const auto& seek : good) {
        EXPECT_EQ(stream.Seek(seek.offset, seek.origin), 1u);
        EXPECT_EQ(stream.Tell(), seek.position);
    }
    for (int origin : {3, -1, 100}) {
        EXPECT_EQ(stream.Seek(0, origin), 0u);
        EXPECT_EQ(stream.Tell(), 9u);
    }
    EXPECT_EQ(stream.Seek(-10, 1), 0u);
    EXPECT_EQ(stream.Seek(-11, 2), 0u);
    EXPECT_EQ(stream.SetPosition(~uint64_t(0)), 0u);
    EXPECT_EQ(stream.Tell(), 9u);
}

TEST(MemStream, Positions_are_of_64_bits) {
    VMemStream stream;
    stream.WriteString("abc");
    EXPECT_EQ(stream.Seek(0x123456789ALL, 0), 1u);
    EXPECT_EQ(stream.Tell(), 0x123456789Aull);
    EXPECT_EQ(stream.Seek(-0x1234567899LL, 1), 1u);
    EXPECT_EQ(stream.ReadByte(), 'b');
}

TEST(MemStream, Reading_at_the_end_sets_the_flag_and_a_seek_clears_it) {
    VMemStream stream;
    stream.WriteString("ab");
    EXPECT_EQ(stream.IsEndOfData(), 0u);
    EXPECT_EQ(stream.ReadByte(), 0);
    EXPECT_EQ(stream.IsEndOfData(), 1u);
    EXPECT_EQ(stream.Seek(0, 5), 0u);
    EXPECT_EQ(stream.IsEndOfData(), 1u) << "a refused seek leaves it";
    stream.SetPosition(1);
    EXPECT_EQ(stream.IsEndOfData(), 0u);
    EXPECT_EQ(stream.ReadByte(), 'b');
    EXPECT_EQ(stream.Tell(), 2u);
    char two[2];
    EXPECT_EQ(stream.Read(two, 1, 2), 0u);
}

TEST(MemStream, A_block_read_short_of_an_element_still_moves_on) {
    Holding stream("1234567");
    char bytes[8] = {};
    EXPECT_EQ(stream.Read(bytes, 2, 4), 3u);
    EXPECT_EQ(stream.Tell(), 7u);
    EXPECT_STREQ(bytes, "1234567");
}

TEST(MemStream, Numbers_are_little_endian_unless_the_flag_is_set) {
    VMemStream stream;
    stream.WriteDword(0x11223344);
    stream.set_big_endian(true);
    stream.WriteDword(0x11223344);
    stream.WriteWord(0x5566);
    stream.WriteQword(0x0102030405060708ull);
    EXPECT_EQ(contents(stream),
              std::string("\x44\x33\x22\x11\x11\x22\x33\x44\x55\x66\x01\x02\x03\x04\x05\x06\x07\x08", 18));
    stream.SetPosition(4);
    EXPECT_EQ(stream.ReadDword(), 0x11223344u);
    EXPECT_EQ(stream.ReadWord(), 0x5566u);
    EXPECT_EQ(stream.ReadQword(), 0x0102030405060708ull);
    stream.SetPosition(0);
    EXPECT_EQ(stream.ReadDword(), 0x44332211u);
    stream.SetPosition(0);
    stream.set_big_endian(false);
    EXPECT_EQ(stream.ReadWord(), 0x3344u);
    EXPECT_EQ(stream.ReadQword(), 0x6655443322111122ull);
}

TEST(MemStream, A_number_that_is_cut_off_reads_as_zero) {
    Holding stream("abc");
    EXPECT_EQ(stream.ReadDword(), 0u);
    EXPECT_EQ(stream.IsEndOfData(), 1u);
}

TEST(MemStream, Nothing_is_read_into_nothing) {
    VMemStream stream(static_cast<const void*>("abc"), 3);
    char byte = '.';
    EXPECT_EQ(stream.Read(nullptr, 1, 1), 0u);
    EXPECT_EQ(stream.Read(&byte, 0, 1), 0u);
    EXPECT_EQ(stream.Read(&byte, 1, 0), 0u);
    EXPECT_EQ(stream.Tell(), 0u);
    EXPECT_EQ(byte, '.');
}

TEST(MemStream, Over_no_buffer_is_empty) {
    VMemStream stream(static_cast<const void*>(nullptr), 5);
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_EQ(stream.ReadByte(), 0);
    EXPECT_EQ(stream.IsEndOfData(), 1u);
}

TEST(MemStream, Nothing_is_written_of_nothing) {
    VMemStream stream;
    EXPECT_EQ(stream.Write("x", 0, 5), 0u);
    EXPECT_EQ(stream.Write("x", 5, 0), 0u);
    EXPECT_EQ(stream.Write(nullptr, 1, 1), 0u);
    EXPECT_EQ(stream.WriteString(""), 0u);
    EXPECT_EQ(stream.WriteString(nullptr), 0u);
    EXPECT_EQ(stream.WriteFormat("%s", ""), 0u);
    EXPECT_EQ(stream.WriteFormat(nullptr), 0u);
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_EQ(stream.IsEmpty(), 1u);
}

TEST(MemStream, A_formatted_text_counts_as_one_element) {
    VMemStream stream;
    EXPECT_EQ(stream.WriteFormat("%d-%s", 42, "x"), 1u);
    EXPECT_EQ(contents(stream), "42-x");
    EXPECT_EQ(stream.IsEmpty(), 0u);
}

TEST(MemStream, A_formatted_text_is_cut_at_1024_bytes) {
    for (size_t length : {1023u, 1024u, 1025u, 5000u}) {
        VMemStream stream;
        const std::string text(length, 'f');
        EXPECT_EQ(stream.WriteFormat("%s", text.c_str()), 1u);
        EXPECT_EQ(contents(stream), text.substr(0, 1024)) << length;
    }
}

TEST(MemStream, Lines_end_after_their_line_feed_or_at_the_capacity) {
    Holding stream("one\ntwo three\nend");
    char line[9];
    EXPECT_STREQ(stream.ReadLine(line, 9), "one\n");
    EXPECT_STREQ(stream.ReadLine(line, 9), "two thre");
    EXPECT_STREQ(stream.ReadLine(line, 9), "e\n");
    EXPECT_STREQ(stream.ReadLine(line, 1), "");
    EXPECT_STREQ(stream.ReadLine(line, 9), "end");
    EXPECT_EQ(stream.ReadLine(line, 9), nullptr);
    EXPECT_EQ(stream.IsEndOfData(), 1u);
    EXPECT_EQ(stream.ReadLine(line, 0), nullptr);
    EXPECT_EQ(stream.ReadLine(nullptr, 9), nullptr);
}

TEST(MemStream, Bytes_that_a_seek_jumped_over_are_zero) {
    VMemStream stream(16, 64);
    stream.WriteString("ab");
    stream.SetPosition(5);
    stream.WriteString("c");
    EXPECT_EQ(contents(stream), std::string("ab\0\0\0c", 6));
}

TEST(MemStream, A_write_from_beyond_the_capacity_lands_at_the_capacity) {
    VMemStream stream(16, 4);
    stream.WriteString("ab");
    stream.SetPosition(100);
    EXPECT_EQ(stream.Write("xyz", 1, 3), 3u);
    EXPECT_EQ(contents(stream), std::string("ab\0\0xyz", 7));
    EXPECT_EQ(stream.Tell(), 7u);
    EXPECT_EQ(stream.capacity(), 20u);
}

TEST(MemStream, SetSize_cuts_and_fills_with_zeros) {
    VMemStream stream(8, 4);
    stream.WriteString("abcdef");
    EXPECT_EQ(stream.SetSize(3), 1u);
    EXPECT_EQ(stream.Tell(), 6u);
    EXPECT_EQ(stream.SetSize(20), 1u);
    EXPECT_EQ(contents(stream), "abc" + std::string(17, '\0'));
}

TEST(MemStream, A_given_buffer_is_the_takers) {
    VMemStream stream;
    stream.WriteString("given");
    uint8_t* given = stream.Detach();
    ASSERT_NE(given, nullptr);
    EXPECT_EQ(std::memcmp(given, "given", 5), 0);
    std::free(given);
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_EQ(stream.WriteString("again"), 5u);
    EXPECT_EQ(contents(stream), "again");
}

TEST(MemStream, Kept_positions_come_back_in_reverse) {
    VMemStream stream;
    stream.WriteString("0123456789");
    EXPECT_EQ(stream.PopPosition(), 0u);
    stream.SetPosition(3);
    stream.PushPosition();
    stream.SetPosition(7);
    stream.PushPosition();
    stream.SetPosition(0);
    EXPECT_EQ(stream.PopPosition(), 1u);
    EXPECT_EQ(stream.Tell(), 7u);
    EXPECT_EQ(stream.PopPosition(), 1u);
    EXPECT_EQ(stream.Tell(), 3u);
    EXPECT_EQ(stream.PopPosition(), 0u);
    EXPECT_EQ(stream.Tell(), 3u);
}

TEST(ProcessStream, Begins_empty_with_its_first_capacity_allocated) {
    VMemStream& stream = glib::process_stream();
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_EQ(stream.Tell(), 0u);
    EXPECT_EQ(stream.capacity(), 65535u);
    EXPECT_EQ(stream.IsEndOfData(), 0u);
    EXPECT_EQ(stream.HasError(), 0u);
    EXPECT_FALSE(stream.big_endian());
    EXPECT_EQ(&stream, &glib::process_stream());

    const std::string full(65535, 'x');
    stream.Write(full.data(), 1, 65535);
    stream.Write("0123456789", 1, 10);
    EXPECT_EQ(stream.capacity(), 131070u);
}

} // namespace
