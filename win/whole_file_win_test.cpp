#include "win/whole_file.h"

#include <windows.h>

#include <string>

#include <gtest/gtest.h>

namespace {

class WholeFile : public testing::Test {
protected:
    void SetUp() override {
        char folder[MAX_PATH];
        ASSERT_NE(GetTempPathA(sizeof folder, folder), 0u);
        ASSERT_NE(GetTempFileNameA(folder, "who", 0, m_path), 0u);
    }
    void TearDown() override { DeleteFileA(m_path); }

    bool Write(const std::string& text) { return win::write_whole_file(m_path, text.data(), text.size()); }

    std::string Content() {
        std::string content(1 << 20, '\0');
        FILE* const file = fopen(m_path, "rb");
        content.resize(file ? fread(content.data(), 1, content.size(), file) : 0);
        if (file)
            fclose(file);
        return content;
    }

    char m_path[MAX_PATH];
};

TEST_F(WholeFile, Has_the_new_bytes_and_none_of_the_old) {
    EXPECT_TRUE(Write(std::string(100000, '#')));
    EXPECT_TRUE(Write(std::string("a\0b\r\n", 5)));
    EXPECT_EQ(Content(), std::string("a\0b\r\n", 5));
    EXPECT_TRUE(Write(""));
    EXPECT_EQ(Content(), "");
}

TEST_F(WholeFile, Is_written_while_another_reads_it) {
    FILE* const reader = fopen(m_path, "rb");
    ASSERT_NE(reader, nullptr);
    EXPECT_TRUE(Write("new"));
    fclose(reader);
    EXPECT_EQ(Content(), "new");
}

TEST_F(WholeFile, Says_where_it_could_not_be_written) {
    EXPECT_FALSE(win::write_whole_file("C:\\no such folder\\file", "x", 1));
    EXPECT_FALSE(win::write_whole_file("C:\\windows", "x", 1));
    EXPECT_FALSE(win::write_whole_file("", "x", 1));
}

} // namespace
