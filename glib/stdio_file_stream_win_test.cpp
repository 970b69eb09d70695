#include "glib/stdio_file_stream.h"

#include <ctime>
#include <string>

#include <gtest/gtest.h>
#include <windows.h>
#include <winioctl.h>

#include "testing/cxx/scratch_folder.h"

namespace {

class StdioFileStream : public testing::Test {
protected:
    // Opens the file, which holds these bytes.
    void open(const char* mode, const std::string& bytes = "") {
        folder.add("file", bytes);
        ASSERT_EQ(stream.Open(path.c_str(), mode), 1u);
    }
    std::string on_disk() { return folder.read("file"); }

    ScratchFolder folder;
    std::string path = folder.path("file");
    VStdioFileStream stream;
};

TEST_F(StdioFileStream, Opens_by_both_kinds_of_path) {
    open("rb", "content");
    EXPECT_EQ(stream.ReadByte(), 'c');
    const std::wstring wide(path.begin(), path.end());
    EXPECT_EQ(stream.OpenWide(wide.c_str(), L"rb"), 1u);
    EXPECT_EQ(stream.Tell(), 0u) << "the first one is closed";
    EXPECT_EQ(stream.Open("C:\\no such folder\\no file", "rb"), 0u);
    EXPECT_EQ(stream.ReadByte(), 0) << "nothing is open then";
    EXPECT_EQ(stream.Open(nullptr, "rb"), 0u);
    EXPECT_EQ(stream.Open(path.c_str(), nullptr), 0u);
    EXPECT_EQ(stream.OpenWide(nullptr, L"rb"), 0u);
}

TEST_F(StdioFileStream, An_error_stays_until_the_next_open) {
    open("rb", "content");
    EXPECT_EQ(stream.WriteByte('x'), 0u);
    EXPECT_EQ(stream.HasError(), 1u);
    EXPECT_EQ(stream.SetPosition(0), 1u);
    EXPECT_EQ(stream.HasError(), 1u);
    EXPECT_EQ(stream.SetPosition(1), 1u);
    EXPECT_EQ(stream.ReadByte(), 'o') << "what can be read is";
    EXPECT_EQ(stream.HasError(), 1u);
    EXPECT_EQ(stream.Open(path.c_str(), "rb"), 1u);
    EXPECT_EQ(stream.HasError(), 0u);
}

TEST_F(StdioFileStream, Without_a_file_every_operation_fails) {
    char line[8];
    EXPECT_EQ(stream.Seek(0, 0), 0u);
    EXPECT_EQ(stream.SetPosition(0), 0u);
    EXPECT_EQ(stream.Tell(), 0u);
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_EQ(stream.IsEmpty(), 1u);
    EXPECT_EQ(stream.IsEndOfData(), 0u);
    EXPECT_EQ(stream.HasError(), 0u);
    EXPECT_EQ(stream.ModificationTime(), 0);
    EXPECT_EQ(stream.SetSize(3), 0u);
    EXPECT_EQ(stream.ReadDword(), 0u);
    EXPECT_EQ(stream.Read(line, 1, 1), 0u);
    EXPECT_EQ(stream.ReadLine(line, 8), nullptr);
    EXPECT_EQ(stream.WriteByte(1), 0u);
    EXPECT_EQ(stream.WriteQword(1), 0u);
    EXPECT_EQ(stream.WriteString("x"), 0u);
    EXPECT_EQ(stream.WriteFormat("x"), 0u);
    EXPECT_EQ(stream.Flush(), 0u);
    EXPECT_EQ(stream.Close(), 0u);
}

TEST_F(StdioFileStream, Numbers_stand_in_the_chosen_byte_order) {
    open("wb");
    EXPECT_EQ(stream.WriteDword(0x11223344), 1u);
    stream.set_big_endian(true);
    EXPECT_EQ(stream.WriteDword(0x11223344), 1u);
    EXPECT_EQ(stream.WriteWord(0x5566), 1u);
    EXPECT_EQ(stream.WriteQword(0x0102030405060708ull), 1u);
    EXPECT_EQ(stream.WriteByte(0xEE), 1u);
    EXPECT_EQ(stream.Close(), 1u);
    EXPECT_EQ(on_disk(),
              std::string("\x44\x33\x22\x11\x11\x22\x33\x44\x55\x66\x01\x02\x03\x04\x05\x06\x07\x08\xEE", 19));
    ASSERT_EQ(stream.Open(path.c_str(), "rb"), 1u);
    EXPECT_EQ(stream.ReadDword(), 0x44332211u);
    EXPECT_EQ(stream.ReadDword(), 0x11223344u);
    EXPECT_EQ(stream.ReadWord(), 0x5566u);
    EXPECT_EQ(stream.ReadQword(), 0x0102030405060708ull);
    EXPECT_EQ(stream.ReadDword(), 0u) << "only one byte is left";
}

TEST_F(StdioFileStream, Seek_knows_three_origins_and_refuses_others) {
    open("rb", "0123456789");
    EXPECT_EQ(stream.Seek(-1, 2), 1u);
    EXPECT_EQ(stream.ReadByte(), '9');
    EXPECT_EQ(stream.Seek(-3, 1), 1u);
    EXPECT_EQ(stream.ReadByte(), '7');
    EXPECT_EQ(stream.Seek(2, 0), 1u);
    EXPECT_EQ(stream.Seek(0, 3), 0u);
    EXPECT_EQ(stream.Seek(-3, 1), 0u);
    EXPECT_EQ(stream.Tell(), 2u);
    EXPECT_EQ(stream.SetPosition(5), 1u);
    EXPECT_EQ(stream.ReadByte(), '5');
}

TEST_F(StdioFileStream, The_end_of_the_data_is_noticed_and_a_seek_clears_it) {
    open("rb", "ab");
    char bytes[8];
    EXPECT_EQ(stream.Read(bytes, 1, 8), 2u);
    EXPECT_EQ(stream.IsEndOfData(), 1u);
    EXPECT_EQ(stream.Read(bytes, 1, 8), 0u);
    EXPECT_EQ(stream.SetPosition(0), 1u);
    EXPECT_EQ(stream.IsEndOfData(), 0u);
    EXPECT_EQ(stream.Read(bytes, 4, 1), 0u) << "less than an element";
    EXPECT_EQ(stream.Tell(), 2u);
}

TEST_F(StdioFileStream, The_size_counts_what_was_just_written) {
    open("wb");
    EXPECT_EQ(stream.IsEmpty(), 1u);
    EXPECT_EQ(stream.WriteString("12345"), 5u);
    EXPECT_EQ(stream.Size(), 5u);
    EXPECT_EQ(stream.IsEmpty(), 0u);
    EXPECT_EQ(stream.Seek(0, 2), 1u);
    EXPECT_EQ(stream.Tell(), 5u);
    EXPECT_EQ(stream.WriteFormat("%d%%", 100), 1u);
    EXPECT_EQ(stream.WriteFormat("%s", ""), 0u);
    EXPECT_EQ(stream.Size(), 9u);
    EXPECT_EQ(stream.Close(), 1u);
    EXPECT_EQ(on_disk(), "12345100%");
}

TEST_F(StdioFileStream, A_formatted_text_may_be_of_any_length) {
    open("wb");
    const std::string text(100000, 'f');
    EXPECT_EQ(stream.WriteFormat("%s!", text.c_str()), 1u);
    stream.Close();
    EXPECT_EQ(on_disk(), text + "!");
}

TEST_F(StdioFileStream, Reads_and_writes_may_follow_each_other) {
    open("r+b", "0123456789");
    EXPECT_EQ(stream.ReadByte(), '0');
    EXPECT_EQ(stream.WriteString("ab"), 2u);
    EXPECT_EQ(stream.ReadByte(), '3');
    EXPECT_EQ(stream.WriteByte('c'), 1u);
    EXPECT_EQ(stream.Tell(), 5u);
    EXPECT_EQ(stream.ReadByte(), '5');
    stream.Close();
    EXPECT_EQ(on_disk(), "0ab3c56789");
}

// A flush used to throw away what was read ahead, and the next read began behind it.
TEST_F(StdioFileStream, A_flush_after_a_read_leaves_the_position) {
    open("r+b", "0123456789");
    EXPECT_EQ(stream.ReadByte(), '0');
    EXPECT_EQ(stream.Flush(), 1u);
    EXPECT_EQ(stream.Tell(), 1u);
    EXPECT_EQ(stream.ReadByte(), '1');
    EXPECT_EQ(stream.Seek(1, 1), 1u);
    EXPECT_EQ(stream.Flush(), 1u);
    EXPECT_EQ(stream.ReadByte(), '3');
    EXPECT_EQ(stream.WriteByte('x'), 1u);
    EXPECT_EQ(stream.Flush(), 1u);
    EXPECT_EQ(on_disk(), "0123x56789") << "what was written is in the file";
    EXPECT_EQ(stream.Tell(), 5u);
    EXPECT_EQ(stream.ReadByte(), '5');
}

TEST_F(StdioFileStream, Lines_end_after_their_line_feed_or_at_the_capacity) {
    open("rb", "one\ntwo three\nend");
    char line[9];
    EXPECT_STREQ(stream.ReadLine(line, 9), "one\n");
    EXPECT_STREQ(stream.ReadLine(line, 9), "two thre");
    EXPECT_STREQ(stream.ReadLine(line, 9), "e\n");
    EXPECT_STREQ(stream.ReadLine(line, 9), "end");
    EXPECT_EQ(stream.ReadLine(line, 9), nullptr);
    EXPECT_EQ(stream.ReadLine(line, 0), nullptr);
}

TEST_F(StdioFileStream, SetSize_cuts_and_extends_and_leaves_the_position) {
    open("r+b", "0123456789");
    stream.SetPosition(2);
    EXPECT_EQ(stream.WriteString("xy"), 2u);
    EXPECT_EQ(stream.SetSize(6), 1u);
    EXPECT_EQ(stream.Tell(), 4u);
    EXPECT_EQ(stream.ReadByte(), '4');
    EXPECT_EQ(stream.SetSize(8), 1u);
    EXPECT_EQ(stream.Size(), 8u);
    stream.Close();
    EXPECT_EQ(on_disk(), std::string("01xy45\0\0", 8));
}

TEST_F(StdioFileStream, A_read_only_file_can_not_be_written_or_resized) {
    open("rb", "0123");
    EXPECT_EQ(stream.WriteByte(1), 0u);
    EXPECT_EQ(stream.SetSize(1), 0u);
    EXPECT_EQ(stream.Size(), 4u);
}

TEST_F(StdioFileStream, Knows_when_the_file_was_changed) {
    open("rb");
    EXPECT_NEAR(static_cast<double>(stream.ModificationTime()), static_cast<double>(std::time(nullptr)), 3600.0);
}

TEST_F(StdioFileStream, Kept_positions_come_back) {
    open("rb", "0123456789");
    stream.SetPosition(6);
    stream.PushPosition();
    stream.SetPosition(1);
    EXPECT_EQ(stream.PopPosition(), 1u);
    EXPECT_EQ(stream.ReadByte(), '6');
}

TEST_F(StdioFileStream, Too_many_elements_are_refused_rather_than_miscounted) {
    open("w+b");
    char byte = 0;
    EXPECT_EQ(stream.Write(&byte, 0x10000, 0x10001), 0u);
    EXPECT_EQ(stream.Read(&byte, 0x10000, 0x10001), 0u);
    EXPECT_EQ(stream.Size(), 0u);
}

TEST_F(StdioFileStream, Works_beyond_4_GB) {
    // Sparse, so that only the pages written take space on the disk.
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD returned;
    DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
    CloseHandle(file);

    const uint64_t beyond = 0x140000003ull; // 5 GB and 3
    ASSERT_EQ(stream.Open(path.c_str(), "r+b"), 1u);
    ASSERT_EQ(stream.SetPosition(beyond), 1u);
    EXPECT_EQ(stream.Tell(), beyond);
    EXPECT_EQ(stream.WriteString("end"), 3u);
    EXPECT_EQ(stream.Size(), beyond + 3);
    EXPECT_EQ(stream.Seek(-3, 2), 1u);
    EXPECT_EQ(stream.Tell(), beyond);
    EXPECT_EQ(stream.ReadByte(), 'e');
    EXPECT_EQ(stream.Seek(-0x100000000LL, 1), 1u);
    EXPECT_EQ(stream.Tell(), 0x40000004u);
    EXPECT_EQ(stream.ReadByte(), 0);
    EXPECT_EQ(stream.SetSize(beyond + 1), 1u);
    EXPECT_EQ(stream.Size(), beyond + 1);
    EXPECT_EQ(stream.SetSize(10), 1u);
    EXPECT_EQ(stream.Size(), 10u);
}

} // namespace
