#include <gtest/gtest.h>

#include <windows.h>

#include <stdio.h>
#include <string.h>

#include <string>

#include "sysinfo/std_info.h"

namespace {

DEVMODEA g_mode;
BOOL g_result;

BOOL WINAPI fake_settings(LPCSTR device, DWORD number, DEVMODEA* mode) {
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(number, 0xFFFFFFFFu);
    EXPECT_EQ(mode->dmSize, 148u);
    EXPECT_EQ(mode->dmDriverExtra, 0u);
    *mode = g_mode;
    return g_result;
}

TEST(MonitorInfo, Puts_each_field_of_the_mode_in_its_line) {
    g_mode = {};
    g_mode.dmBitsPerPel = 16;
    g_mode.dmPelsWidth = 800;
    g_mode.dmPelsHeight = 600;
    g_mode.dmDisplayFrequency = 75;
    g_result = TRUE;
    EXPECT_STREQ(
        sysinfo::GetDisplayText(fake_settings).c_str(),
        "Color depth: 16 Bits per pixel.\r\nPixel Width: 800\r\nPixel Height: 600\r\nRefresh frequency: 75 Hz");
}

TEST(MonitorInfo, Without_a_mode_is_the_error_text_alone) {
    g_result = FALSE;
    EXPECT_STREQ(sysinfo::GetDisplayText(fake_settings).c_str(), "Error: can not enumerate display settings.");
}

// The mode of this machine as the screen's device context has it, which is another road to the same facts.
TEST(MonitorInfo, Describes_the_mode_of_the_screen) {
    HDC screen = GetDC(nullptr);
    ASSERT_NE(screen, nullptr);
    const int bits = GetDeviceCaps(screen, BITSPIXEL) * GetDeviceCaps(screen, PLANES);
    const int width = GetDeviceCaps(screen, HORZRES);
    const int height = GetDeviceCaps(screen, VERTRES);
    ReleaseDC(nullptr, screen);
    char expected[200];
    snprintf(expected, sizeof(expected),
             "Color depth: %d Bits per pixel.\r\nPixel Width: %d\r\nPixel Height: %d\r\nRefresh frequency: ", bits,
             width, height);
    const std::string text = CMonitorInfo().GetDisplayText().c_str();
    EXPECT_EQ(text.rfind(expected, 0), 0u) << text << "\nexpected " << expected;
    EXPECT_EQ(text.substr(text.size() - 3), " Hz");
}

} // namespace
