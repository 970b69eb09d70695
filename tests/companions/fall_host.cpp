// A bare host of fall.dll: reads a file in one format and writes it in another, and prints both results.
//     fall_host SOURCE FORMAT TARGET FORMAT QUALITY BITS_PER_PIXEL
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "glib/module_contract.h"
#include "glib/save_record.h"

namespace {

// One page, kept in memory.
glib::IDEPage g_page;
uint32_t g_pages;
glib::RGB32 g_palette[256];

FILE* file_of(VStream* stream) {
    return reinterpret_cast<FILE*>(stream);
}

glib::IDEPage* add_page(glib::ImageDataExchange*, uint32_t width, uint32_t height, uint32_t bits) {
    const uint32_t row_bytes = (bits * width + 31) / 8 & ~3u;
    g_page = {};
    g_page.pixels = static_cast<uint8_t*>(calloc(height, row_bytes));
    if (!g_page.pixels)
        return nullptr;
    g_page.width = width;
    g_page.height = height;
    g_page.bits_per_pixel = bits;
    g_page.row_bytes = row_bytes;
    g_page.transparent_index = -1;
    if (bits == 8) {
        for (unsigned i = 0; i < 256; ++i)
            g_palette[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(i), static_cast<uint8_t>(i), 255};
        g_page.palette = g_palette;
        g_page.palette_count = 256;
    }
    ++g_pages;
    return &g_page;
}

uint32_t page_count(const glib::ImageDataExchange*) {
    return g_pages;
}

glib::IDEPage* page(glib::ImageDataExchange*, uint32_t index) {
    return index < g_pages ? &g_page : nullptr;
}

uint32_t progress(glib::ImageDataExchange*, uint32_t, uint32_t) {
    return 1;
}

uint32_t read(VStream* stream, void* buffer, uint32_t bytes) {
    return static_cast<uint32_t>(fread(buffer, 1, bytes, file_of(stream)));
}

uint32_t write(VStream* stream, const void* buffer, uint32_t bytes) {
    return static_cast<uint32_t>(fwrite(buffer, 1, bytes, file_of(stream)));
}

uint32_t seek(VStream* stream, int64_t offset, int32_t origin) {
    return fseek(file_of(stream), static_cast<long>(offset), origin) == 0;
}

uint64_t tell(VStream* stream) {
    return static_cast<uint64_t>(ftell(file_of(stream)));
}

uint64_t size(VStream* stream) {
    const long here = ftell(file_of(stream));
    fseek(file_of(stream), 0, SEEK_END);
    const long end = ftell(file_of(stream));
    fseek(file_of(stream), here, SEEK_SET);
    return static_cast<uint64_t>(end);
}

const glib::ModuleServices kServices = {
    sizeof(kServices), GLIB_INTERFACE_VERSION, add_page, page_count, page, progress, read, write, seek, tell, size};

template <class Entry>
Entry entry(HMODULE module, const char* pattern, const char* format) {
    char name[64];
    sprintf(name, pattern, format);
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

void print_code(const char* name, uint32_t code) {
    printf("%s: %c%c%c%c\n", name, static_cast<char>(code >> 24), static_cast<char>(code >> 16),
           static_cast<char>(code >> 8), static_cast<char>(code));
}

} // namespace

int main(int argc, char** argv) {
    HMODULE module = LoadLibraryA("fall.dll");
    if (argc != 7 || !module)
        return 2;
    glib::FilterInfoRequest request = {&kServices, sizeof(request), 0, 0, nullptr};
    entry<glib::GetFilterInfoEntry>(module, "GetFilterInfo", "")(0, &request);
    printf("version: %x\n", static_cast<unsigned>(request.interface_version));
    for (uint32_t i = 0; i < request.format_count; ++i)
        printf("%08X%s", static_cast<unsigned>(request.formats[i]), i + 1 < request.format_count ? " " : "\n");

    FILE* source = fopen(argv[1], "rb");
    FILE* target = fopen(argv[3], "wb");
    const auto load = entry<glib::LoadEntry>(module, "Load%sImageData", argv[2]);
    const auto save = entry<glib::SaveEntry>(module, "Save%sImageData", argv[4]);
    if (!source || !target || !load || !save)
        return 2;
    print_code("load", load(nullptr, reinterpret_cast<VStream*>(source), 0));
    glib::JPGSave options(static_cast<uint8_t>(atoi(argv[5])));
    options.bits_per_pixel = static_cast<uint32_t>(atoi(argv[6]));
    print_code("save", save(nullptr, reinterpret_cast<VStream*>(target), &options));
    fclose(target);
    fclose(source);
    FreeLibrary(module);
    return 0;
}
