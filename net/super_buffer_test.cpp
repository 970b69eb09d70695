#include "net/super_buffer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "testing/cxx/failing_allocator.h"
#include "testing/cxx/scratch_folder.h"

namespace {

std::string bytes_of(const CSuperBuffer& buffer) {
    return std::string(buffer.GetData() ? buffer.GetData() : "", buffer.GetLength());
}

std::string pattern(size_t size) {
    std::string bytes(size, 0);
    unsigned state = 12345;
    for (char& byte : bytes) {
        state = state * 1103515245 + 12345;
        byte = static_cast<char>(state >> 16);
    }
    return bytes;
}

class SuperBuffer : public testing::Test {
protected:
    std::string Write(const std::string& bytes) { return m_folder.add("file", bytes); }

    ScratchFolder m_folder;
    CSuperBuffer m_buffer;
};

TEST_F(SuperBuffer, Starts_without_bytes) {
    EXPECT_EQ(m_buffer.GetData(), nullptr);
    EXPECT_EQ(m_buffer.GetLength(), 0u);
}

TEST_F(SuperBuffer, Texts_follow_each_other_without_terminators) {
    m_buffer.Append("one ");
    m_buffer.Append("");
    m_buffer.Append("two");
    EXPECT_EQ(bytes_of(m_buffer), "one two");
}

TEST_F(SuperBuffer, Text_with_a_zero_byte_goes_in_whole) {
    CStdString text;
    text.assign("a\0b", 3);
    m_buffer.Append(text);
    EXPECT_EQ(bytes_of(m_buffer), std::string("a\0b", 3));
}

TEST_F(SuperBuffer, File_goes_in_whole_whatever_its_size) {
    for (size_t size : {1, 2, 63, 64, 65, 127, 128, 129, 4095, 4096, 4097, 100000}) {
        CSuperBuffer buffer;
        const std::string bytes = pattern(size);
        buffer.Append("<");
        buffer.AppendFile(Write(bytes).c_str());
        buffer.Append(">");
        EXPECT_EQ(bytes_of(buffer), "<" + bytes + ">") << size;
    }
}

TEST_F(SuperBuffer, Line_ends_and_end_of_file_characters_are_bytes_like_others) {
    const std::string bytes("a\r\nb\nc\rd\x1A\0e\r", 12);
    m_buffer.AppendFile(Write(bytes).c_str());
    EXPECT_EQ(bytes_of(m_buffer), bytes);
}

TEST_F(SuperBuffer, Empty_file_and_missing_file_add_nothing) {
    m_buffer.AppendFile(Write("").c_str());
    m_buffer.AppendFile(m_folder.path("missing").c_str());
    m_buffer.AppendFile("");
    m_buffer.AppendFile(nullptr);
    EXPECT_EQ(m_buffer.GetLength(), 0u);
}

TEST_F(SuperBuffer, Folder_adds_nothing) {
    m_buffer.Append("<");
    m_buffer.AppendFile(m_folder.path("").c_str());
    m_buffer.Append(">");
    EXPECT_EQ(bytes_of(m_buffer), "<>");
}

TEST_F(SuperBuffer, Pieces_go_in_together_in_their_order) {
    m_buffer.Append("0");
    const std::string path = Write("[file]");
    const CStdString last("2");
    CSuperBuffer::Piece pieces[5];
    pieces[0].SetText("1");
    pieces[1].SetFile(path.c_str());
    pieces[3].SetFile("missing");
    pieces[4].SetText(last);
    m_buffer.Append(pieces, 5);
    EXPECT_EQ(bytes_of(m_buffer), "01[file]2");
}

TEST_F(SuperBuffer, File_that_has_shrunk_gives_what_is_left) {
    const std::string path = Write(pattern(10000));
    CSuperBuffer::Piece pieces[2];
    pieces[0].SetFile(path.c_str());
    pieces[1].SetText("end");
    Write("rest");
    m_buffer.Append(pieces, 2);
    EXPECT_EQ(bytes_of(m_buffer), "restend");
}

TEST_F(SuperBuffer, File_that_has_grown_is_cut_at_the_size_it_had) {
    const std::string path = Write("12345678");
    CSuperBuffer::Piece pieces[2];
    pieces[0].SetFile(path.c_str());
    pieces[1].SetText("end");
    Write("1234567890");
    m_buffer.Append(pieces, 2);
    EXPECT_EQ(bytes_of(m_buffer), "12345678end");
}

TEST_F(SuperBuffer, File_too_large_for_one_block_is_out_of_memory_and_changes_nothing) {
    const std::string path = Write("");
    std::filesystem::resize_file(path, 0x7FFFFFF0u);
    m_buffer.Append("sixteen bytes...");
    EXPECT_THROW(m_buffer.AppendFile(path.c_str()), gen::genlib_out_of_memory);
    EXPECT_EQ(bytes_of(m_buffer), "sixteen bytes...");
    std::filesystem::resize_file(path, 0x80000000u); // and by itself
    EXPECT_THROW(m_buffer.AppendFile(path.c_str()), gen::genlib_out_of_memory);
    EXPECT_EQ(bytes_of(m_buffer), "sixteen bytes...");
}

#ifndef _WIN32
TEST_F(SuperBuffer, Append_without_memory_for_the_longer_block_changes_nothing) {
    m_buffer.Append("before");
    const std::string path = Write("file");
    {
        FailingAllocator allocator(1);
        EXPECT_THROW(m_buffer.AppendFile(path.c_str()), gen::genlib_out_of_memory);
        EXPECT_TRUE(allocator.failed());
    }
    EXPECT_EQ(bytes_of(m_buffer), "before");
    m_buffer.AppendFile(path.c_str());
    EXPECT_EQ(bytes_of(m_buffer), "beforefile");
}
#endif

} // namespace
