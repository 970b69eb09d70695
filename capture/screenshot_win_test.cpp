#include "capture/screenshot.h"

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <windows.h>

#include "glib/film.h"
#include "glib/filter_manager.h"
#include "glib/gdiplus_init.h"
#include "testing/cxx/recorded_boxes.h"

namespace {

std::string contents(const char* path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

template <typename T>
T at(const std::string& bytes, size_t offset) {
    T value = {};
    EXPECT_GE(bytes.size(), offset + sizeof(T));
    if (bytes.size() >= offset + sizeof(T))
        std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

class Screenshot : public testing::Test {
protected:
    void SetUp() override {
        char path[MAX_PATH];
        GetModuleFileNameA(nullptr, path, MAX_PATH);
        *strrchr(path, '\\') = 0;
        glib::filter_manager().SetUp(path, "jpg_recorder\n");
        GetTempPathA(MAX_PATH, path);
        m_temp = path;
        clear_recorded_boxes();
    }
    void TearDown() override {
        set_temp(m_temp.c_str());
        DeleteFileA(screenshot_path().c_str());
        EXPECT_EQ(glib::live_documents(), 0);
        EXPECT_EQ(recorded_boxes().size(), 0u);
    }
    void set_temp(const char* folder) {
        SetEnvironmentVariableA("TMP", folder);
        SetEnvironmentVariableA("TEMP", folder);
    }

private:
    std::string m_temp;
};

TEST_F(Screenshot, Lies_directly_in_the_temporary_directory) {
    for (const char* folder : {"C:\\users", "C:\\users\\", "C:\\users\\\\"}) {
        set_temp(folder);
        EXPECT_STREQ(screenshot_path().c_str(), "C:\\users\\screen_copy.jpg") << folder;
    }
    set_temp("C:\\");
    EXPECT_STREQ(screenshot_path().c_str(), "C:\\screen_copy.jpg");
}

TEST_F(Screenshot, Goes_to_the_module_as_512_by_512_with_the_settled_record) {
    const CStdString path = screenshot_path();
    write_screenshot(path);
    const std::string file = contents(path.c_str());
    ASSERT_EQ(file.size(), 136u + 12 + 512 * 512 * 3);
    EXPECT_EQ(at<uint32_t>(file, 8), 0x044A5047u);
    EXPECT_EQ(at<uint32_t>(file, 12), 0u);
    EXPECT_EQ(at<uint32_t>(file, 16), 0u);
    EXPECT_EQ(at<uint32_t>(file, 20), 24u);
    EXPECT_EQ(at<uint32_t>(file, 24), 1u);
    EXPECT_EQ(at<double>(file, 32), 0.0);
    EXPECT_EQ(at<double>(file, 40), 0.0);
    EXPECT_EQ(at<uint32_t>(file, 56), 0u);
    EXPECT_EQ(at<int32_t>(file, 60), -1);
    EXPECT_EQ(file.substr(64, 3), std::string("\1\0\0", 3));
    EXPECT_EQ(at<uint32_t>(file, 68), 8u);
    EXPECT_EQ(file.substr(72, 3), std::string("\x7F\1\0", 3));
    EXPECT_EQ(at<uint32_t>(file, 76), 128u);
    EXPECT_EQ(at<uint32_t>(file, 80), 96u);
    EXPECT_EQ(file.substr(88, 16), std::string(16, '\0'));
    EXPECT_EQ(at<uint8_t>(file, 104), 75);
    EXPECT_EQ(at<uint32_t>(file, 108), 192u);
    EXPECT_EQ(file.substr(112, 8), std::string(8, '\1'));
    EXPECT_EQ(at<uint32_t>(file, 120), 0u);
    EXPECT_EQ(at<uint32_t>(file, 124), 1u);
    EXPECT_EQ(at<uint8_t>(file, 128), 1);
    EXPECT_EQ(at<uint32_t>(file, 136), 512u);
    EXPECT_EQ(at<uint32_t>(file, 140), 512u);
    EXPECT_EQ(at<uint32_t>(file, 144), 24u);
}

TEST_F(Screenshot, Overwrites_an_older_one) {
    const CStdString path = screenshot_path();
    std::ofstream(path.c_str()) << std::string(2000000, 'o');
    write_screenshot(path);
    EXPECT_EQ(contents(path.c_str()).size(), 136u + 12 + 512 * 512 * 3);
    write_screenshot(path);
    EXPECT_EQ(contents(path.c_str()).size(), 136u + 12 + 512 * 512 * 3);
}

TEST_F(Screenshot, Leaves_gdiplus_stopped_also_for_other_documents) {
    {
        glib::Film film;
        EXPECT_NE(glib::gdiplus_period(), 0u);
        write_screenshot(screenshot_path());
        EXPECT_EQ(glib::gdiplus_period(), 0u);
        EXPECT_EQ(glib::live_documents(), 1);
    }
    EXPECT_EQ(glib::gdiplus_period(), 0u);
}

TEST_F(Screenshot, Without_a_module_there_is_no_file_and_no_message) {
    set_up_screenshot_format();
    EXPECT_TRUE(glib::filter_manager().directory().empty());
    ASSERT_EQ(glib::filter_manager().names().size(), 1u);
    EXPECT_STREQ(glib::filter_manager().names()[0], "fall.dll");
    const CStdString path = screenshot_path();
    write_screenshot(path);
    EXPECT_EQ(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Screenshot, Into_a_folder_that_is_not_there_goes_nowhere) {
    set_temp("C:\\no such folder");
    const CStdString path = screenshot_path();
    EXPECT_STREQ(path.c_str(), "C:\\no such folder\\screen_copy.jpg");
    write_screenshot(path);
    EXPECT_EQ(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES);
}

} // namespace
