// Grab, shrink, save: an image document of glib's does the work, with GDI+ running only as long as that takes and the
// whole under one fault guard.
#include "capture/screenshot.h"

#include "glib/film.h"
#include "glib/filter_manager.h"
#include "glib/gdiplus_init.h"
#include "glib/save_record.h"
#include "win/guard.h"
#include "win/handle.h"
#include "win/paths.h"

namespace {

constexpr unsigned kSide = 512; // pixels of the screenshot
constexpr int kAreaCorrect = 1; // scale type of glib::Scale
constexpr uint8_t kJpegQuality = 75;

// Stops GDI+ at its end, also when an exception passes.
struct GdiplusRun {
    GdiplusRun() { glib::gdiplus_switch(true); }
    ~GdiplusRun() noexcept(false) { glib::gdiplus_switch(false); }
};

} // namespace

CStdString screenshot_path() {
    return win::temporary_path("screen_copy.jpg");
}

namespace {

void grab_and_write(const CStdString& path) {
    const RECT screen = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    win::Bitmap bitmap(copy_screen_to_bitmap(&screen));
    glib::Film film;
    // GDI+ stops before the document goes, whose end then finds it stopped and only lowers the count of documents.
    const GdiplusRun gdiplus;
    film.SetSlideBitmap(0, bitmap.get());
    // What fails from here on shows in the file not being there.
    film.Stretch(kSide, kSide, kAreaCorrect, true, 0, ~0u, false);
    const glib::JPGSave options(kJpegQuality);
    film.Save(path.c_str(), &options);
    DeleteObject(bitmap.release());
}

} // namespace

void write_screenshot(const CStdString& path) {
    // A display driver may be what has failed: its fault costs the screenshot, not the report.
    win::run_guarded([&] { grab_and_write(path); });
}

void set_up_screenshot_format() {
    glib::filter_manager().SetUp(nullptr, "fall\n");
}
