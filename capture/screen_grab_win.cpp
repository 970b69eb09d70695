// Results of GDI go unchecked: a call on a null handle fails as well, and the failure shows at the end, in a section
// that is null or black.
#include "capture/screenshot.h"

#include "win/handle.h"

namespace {

LONG smaller(LONG a, LONG b) {
    return a < b ? a : b;
}
LONG larger(LONG a, LONG b) {
    return a > b ? a : b;
}

// Given back also when a fault passes.
struct ScreenContext {
    HDC const dc = GetDC(nullptr);
    ~ScreenContext() { win::nothrow(ReleaseDC)(nullptr, dc); }
};

HBITMAP make_section(LONG width, LONG height) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits;
    const ScreenContext screen;
    return CreateDIBSection(screen.dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
}

} // namespace

HBITMAP copy_screen_to_bitmap(const RECT* rect) {
    if (IsRectEmpty(rect))
        return nullptr;
    win::Bitmap section; // goes after the contexts, because what is selected in one can't be deleted
    win::DeviceContext display(CreateDCA("DISPLAY", nullptr, nullptr, nullptr));
    win::DeviceContext memory(CreateCompatibleDC(display.get()));
    const LONG x0 = larger(rect->left, 0);
    const LONG y0 = larger(rect->top, 0);
    const LONG width = smaller(GetDeviceCaps(display.get(), HORZRES), rect->right) - x0;
    const LONG bottom = smaller(GetDeviceCaps(display.get(), VERTRES), rect->bottom);

    // A negative height makes the top row come first.
    section.reset(make_section(width, y0 - bottom));
    HGDIOBJ previous = SelectObject(memory.get(), section.get());
    BitBlt(memory.get(), 0, 0, width, bottom - y0, display.get(), x0, y0, SRCCOPY);
    // What gives way to the previous object is the section itself, or null if it could not be selected.
    return SelectObject(memory.get(), previous) == section.get() ? section.release() : nullptr;
}
