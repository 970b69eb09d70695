// Does what the first argument says and prints what came of it, one fact a line; the tests of this folder drive it.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "base/genlib_error.h"
#include "capture/screenshot.h"
#include "glib/film.h"
#include "glib/filter_manager.h"
#include "glib/gdiplus_api.h"
#include "glib/gdiplus_init.h"
#include "glib/slide.h"
#include "testing/cxx/painted_stack.h"
#include "testing/cxx/stack_guard.h"
#include "testing/cxx/usage.h"
#include "tests/imaging/stream_slots.h"

namespace {

void print_code(const char* name, uint32_t code) {
    printf("%s: %c%c%c%c\n", name, static_cast<char>(code >> 24), static_cast<char>(code >> 16),
           static_cast<char>(code >> 8), static_cast<char>(code));
}

void print_number(const char* name, unsigned long value) {
    printf("%s: %lu\n", name, value);
}

// The GDI objects of the process: their handles' low halves are indices of one table.
unsigned long gdi_objects() {
    unsigned long count = 0;
    for (uintptr_t index = 1; index < 0x10000; ++index)
        count += GetObjectType(reinterpret_cast<HGDIOBJ>(index)) != 0;
    return count;
}

int screenshot() {
    const CStdString path = screenshot_path();
    write_screenshot(path);
    printf("path: %s\n", path.c_str());
    print_number("documents", static_cast<unsigned long>(glib::live_documents()));
    print_number("period", glib::gdiplus_period());
    return 0;
}

int many_screenshots(int count) {
    const CStdString path = screenshot_path();
    write_screenshot(path); // what is made once and kept is made now
    const unsigned long objects = gdi_objects(), handles = process_handles();
    for (int i = 0; i < count; ++i)
        write_screenshot(path);
    print_number("objects before", objects);
    print_number("objects after", gdi_objects());
    print_number("handles before", handles);
    print_number("handles after", process_handles());
    return 0;
}

int screenshot_stack() {
    const CStdString path = screenshot_path();
    write_screenshot(path); // libraries are loaded and bound now
    print_number("stack bytes", stack_taken_by([&] { write_screenshot(path); }));
    return 0;
}

// A picture of the display's part around a pixel, and that pixel.
int grab(int x, int y) {
    const RECT rect = {x - 5, y - 3, x + 5, y + 5};
    HBITMAP bitmap = copy_screen_to_bitmap(&rect);
    DIBSECTION section;
    if (!GetObjectA(bitmap, sizeof(section), &section))
        return 1;
    const uint8_t* pixel = static_cast<const uint8_t*>(section.dsBm.bmBits) + 3 * section.dsBm.bmWidthBytes + 5 * 3;
    print_number("width", static_cast<unsigned long>(section.dsBm.bmWidth));
    print_number("height", static_cast<unsigned long>(section.dsBm.bmHeight));
    printf("red, green, blue: %u %u %u\n", pixel[2], pixel[1], pixel[0]);
    DeleteObject(bitmap);
    return 0;
}

// Loads a picture, makes it width x height and saves it in a format.
int convert(const char* source, const char* target, const char* format, unsigned width, unsigned height) {
    glib::Film film;
    const glib::ResultCode loaded = film.Load(source, 0, 0);
    print_code("load", loaded);
    if (loaded != glib::RCOK)
        return 0;
    printf("was: %lux%lux%lu, %u pages\n", static_cast<unsigned long>(film.PageWidth(0)),
           static_cast<unsigned long>(film.PageHeight(0)), static_cast<unsigned long>(film.PageDepth(0)),
           film.PageCount());
    if (width)
        print_number("stretch", film.Stretch(width, height, 1, true, 0, ~0u, false));
    const glib::EFormat code = glib::format_from_name(format);
    print_code("save", film.SaveWith(target, code, 24, 0.0, 0.0, nullptr, 0, 0));
    return 0;
}

int formats() {
    glib::FilterManager& manager = glib::filter_manager();
    for (unsigned i = 0; i < manager.FormatCount(); ++i) {
        const glib::FilterFormatDesc& format = manager.Format(i);
        printf("%s:%s%s\n", glib::FormatName(format.format).text, format.can_save ? " save" : "",
               format.has_thumbnail ? " thumbnail" : "");
    }
    return 0;
}

// A file through each way of loading by its name.
int load(const char* path) {
    glib::Film film;
    print_code("AppendDamaged", film.AppendDamaged(path, 0, 0));
    print_code("Append", film.Append(path, 0, 0));
    print_number("pages appended", film.PageCount());
    print_code("LoadDamaged", film.LoadDamaged(path, 0, 0));
    print_number("pages loaded", film.PageCount());
    print_code("Load", film.Load(path, 0, 0));
    print_code("LoadDamagedPage", film.LoadDamagedPage(path, 0, 0, 0));
    print_code("LoadPage", film.LoadPage(path, 0, 0, 0));
    print_number("pages kept", film.PageCount());
    return 0;
}

int resource(const char* identifier) {
    glib::Film film;
    print_code("load", film.LoadResource(GetModuleHandleA(nullptr), identifier, RT_RCDATA));
    print_number("pages", film.PageCount());
    return 0;
}

Gdiplus::Status WINAPI faulting_start(ULONG_PTR*, const Gdiplus::GdiplusStartupInput*, Gdiplus::GdiplusStartupOutput*) {
    *static_cast<volatile int*>(nullptr) = 1;
    return Gdiplus::Ok;
}

int gdiplus_fault() {
    glib::bind_gdiplus();
    const auto real = glib::gdiplus_api().Startup;
    glib::gdiplus_api().Startup = faulting_start;
    glib::gdiplus_switch(true);
    print_number("running after the fault", glib::gdiplus_period());
    {
        glib::Film film;
        print_number("documents", static_cast<unsigned long>(glib::live_documents()));
        glib::gdiplus_api().Startup = real;
        glib::gdiplus_switch(true);
        print_number("running after the next try", glib::gdiplus_period());
    }
    print_number("running in the end", glib::gdiplus_period());
    return 0;
}

// Every entry of the module faults in its own way.
int module_faults() {
    glib::filter_manager().SetUp(nullptr, "faulty_module\n");
    glib::Film film;
    const char data[] = "data";
    print_code("load", film.LoadMemory(data, sizeof(data), glib::EFormat_JPG));
    print_code("detect", film.LoadMemory(data, sizeof(data), 0));
    char any_file[MAX_PATH];
    GetModuleFileNameA(nullptr, any_file, MAX_PATH);
    ULONG reserve = 32 * 1024;
    SetThreadStackGuarantee(&reserve);
    guard_stack_reserve();
    print_code("thumbnail", film.LoadAs(any_file, glib::EFormat_JPG, 10, 10));
    // The stack can overflow once more.
    guard_stack_reserve();
    print_code("thumbnail again", film.LoadAs(any_file, glib::EFormat_JPG, 10, 10));
    const RECT rect = {0, 0, 8, 8};
    HBITMAP bitmap = copy_screen_to_bitmap(&rect);
    film.SetSlideBitmap(0, bitmap);
    DeleteObject(bitmap);
    void* buffer;
    uint32_t length;
    const glib::JPGSave options;
    print_code("save", film.SaveMemory(&options, &buffer, &length));
    glib::filter_manager().SetUp(nullptr, "faulty_discovery\n");
    print_number("formats of one that can't be asked", glib::filter_manager().FormatCount());
    return 0;
}

int index_error() {
    try {
        glib::Film film;
        film.PageWidth(7);
    } catch (const gen::genlib_out_of_range& error) {
        print_number("index", error.index);
        print_number("size", error.size);
    }
    print_number("documents", static_cast<unsigned long>(glib::live_documents()));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const auto argument = [&](int i) { return i < argc ? argv[i] : ""; };
    const char* const command = argument(1);
    if (const char* temp = getenv("IMAGING_TEMP")) // Wine sets TMP itself
        SetEnvironmentVariableA("TMP", temp);
    // A list of modules for the whole run, instead of the usual one.
    if (const char* modules = getenv("IMAGING_MODULES"))
        glib::filter_manager().SetUp(getenv("IMAGING_DIRECTORY"), modules);
    if (!strcmp(command, "stream-slots"))
        return stream_slots(argument(2));
    if (!strcmp(command, "screenshot"))
        return screenshot();
    if (!strcmp(command, "many-screenshots"))
        return many_screenshots(atoi(argument(2)));
    if (!strcmp(command, "screenshot-stack"))
        return screenshot_stack();
    if (!strcmp(command, "grab"))
        return grab(atoi(argument(2)), atoi(argument(3)));
    if (!strcmp(command, "convert"))
        return convert(argument(2), argument(3), argument(4), static_cast<unsigned>(atoi(argument(5))),
                       static_cast<unsigned>(atoi(argument(6))));
    if (!strcmp(command, "load"))
        return load(argument(2));
    if (!strcmp(command, "formats"))
        return formats();
    if (!strcmp(command, "resource"))
        return resource(argument(2));
    if (!strcmp(command, "gdiplus-fault"))
        return gdiplus_fault();
    if (!strcmp(command, "module-faults"))
        return module_faults();
    if (!strcmp(command, "index-error"))
        return index_error();
    return 2;
}
