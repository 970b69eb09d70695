// The image document: pages of layers, loaded, edited and saved through the format modules.
#pragma once

#include "base/basic_string.h"
#include "glib/module_contract.h"

struct HBITMAP__;
struct HINSTANCE__;

namespace glib {

class FilmBody;
class Slide;

// How far a document has come, as it tells its user.
struct FilmProgress {
    static constexpr int32_t kFinished = -2;

    // Of the operation: "load...", "save...", "stretch..."; empty at the end of a document.
    gen::basic_string<char> text;
    uint32_t total;   // steps there are
    int32_t step;     // the present one, from 1; 0 before the first; -2 when all is over
    uint8_t can_stop; // 1
};

// 0: stop. The answers before the first step and after the last one change nothing. Must not throw.
typedef uint8_t (*FilmProgressCallback)(void* context, const FilmProgress* progress);

// A document belongs to one thread at a time; any number may live. While one lives GDI+ runs, unless it was switched
// off (glib/gdiplus_init.h). Operations that answer with a ResultCode leave the document as it was on failure; out of
// memory in a container passes out as gen::genlib_out_of_memory.
//
// Save records: one with JPEG's format code must be a JPGSave, which modules read to its end; of any other the fields
// of BaseFormatDesc count.
//
// Paths are in the process's ANSI code page. max_width and max_height of a load are both 0 for the picture in full;
// else the pages come as thumbnails that fit into that size, read from the file if it holds one. An "Append" puts the
// pages behind those at hand; a "Damaged" takes what is good of a damaged file (OKAF), where the others give BADI and
// nothing. Without a format the data decides, helped by the path's extension.
//
// The order of the virtual operations is fixed; each has a name of its own because the compilers reverse overloads.
class Film {
public:
    Film();
    Film(const Film&) = delete;
    Film& operator=(const Film&) = delete;

    // 1: Calls the progress callback, if there is one, with an empty text and the step "finished". Lets a fault pass.
    virtual ~Film() noexcept(false);
    virtual ResultCode AppendDamaged(const char* path, uint32_t max_width, uint32_t max_height); // 2
    virtual ResultCode Append(const char* path, uint32_t max_width, uint32_t max_height);        // 3
    virtual ResultCode LoadDamaged(const char* path, uint32_t max_width, uint32_t max_height);   // 4
    virtual ResultCode Load(const char* path, uint32_t max_width, uint32_t max_height);          // 5
    // 6, 7: One page of the file, from 0.
    virtual ResultCode LoadDamagedPage(const char* path, uint32_t max_width, uint32_t max_height, int32_t page);
    virtual ResultCode LoadPage(const char* path, uint32_t max_width, uint32_t max_height, int32_t page);
    // 8, 9, 10: The format is known.
    virtual ResultCode AppendAs(const char* path, uint32_t format, uint32_t max_width, uint32_t max_height);
    virtual ResultCode LoadAs(const char* path, uint32_t format, uint32_t max_width, uint32_t max_height);
    virtual ResultCode LoadPageAs(const char* path, uint32_t format, uint32_t max_width, uint32_t max_height,
                                  int32_t page);
    // 11, 12, 13: From memory, which is needed during the call only; format 0: the data decides.
    virtual ResultCode AppendMemory(const void* data, uint32_t size, uint32_t format);
    virtual ResultCode LoadMemory(const void* data, uint32_t size, uint32_t format);
    virtual ResultCode LoadMemoryPage(const void* data, uint32_t size, uint32_t format, int32_t page);
    // 14: From a resource of a module; identifier and type as FindResource takes them. MISS: not there.
    virtual ResultCode LoadResource(HINSTANCE__* module, const char* identifier, const char* type);
    // 15, 16, 17: What is known of an image without loading it.
    virtual ResultCode FileInfo(const char* path, ImageFileInfo* info);
    virtual ResultCode FileInfoAs(const char* path, uint32_t format, ImageFileInfo* info);
    virtual ResultCode MemoryInfo(const void* data, uint32_t size, ImageFileInfo* info);
    // 18: Saves with settings of one's own over those of `options`, which may be null for the format's usual ones.
    // Resolutions are in pixels per inch, 0: the page's own. page_count 0: all from first_page on.
    virtual ResultCode SaveWith(const char* path, uint32_t format, uint32_t bits_per_pixel, double resolution_x,
                                double resolution_y, const BaseFormatDesc* options, uint32_t first_page,
                                uint32_t page_count);
    // 19: Writes beside the file, by a name that is not taken, and puts the result in its place only when it is
    // complete.
    virtual ResultCode SaveSafely(const char* path, const BaseFormatDesc* options);
    // 20: Writes over the file. BADA for an empty document, UNSF, NSUP and DISF come before the file is touched; a
    // file that then can't be finished is removed.
    virtual ResultCode Save(const char* path, const BaseFormatDesc* options);
    // 21: The caller gives the buffer back with FreeMemory; null and 0 on failure.
    virtual ResultCode SaveMemory(const BaseFormatDesc* options, void** buffer, uint32_t* length);
    virtual void SetTitle(const char* title, bool only_if_unset); // 22: null is an empty title
    virtual Film* Clone() const;                                  // 23: the caller deletes it; null without memory
    virtual void Reset();                                         // 24: as new; the progress callback stays
    // 25: Checked, as the four below. The current page stays the same one; if it is the one removed, the page behind it
    // is current then, or the last.
    virtual void RemovePage(unsigned index);
    virtual uint32_t SourceFormat() const; // 26: of the last load, 0: none
    // 27 to 30: Of a page; past the end gen::genlib_out_of_range(index, PageCount()).
    virtual uint32_t PageWidth(unsigned index) const;
    virtual uint32_t PageHeight(unsigned index) const;
    virtual uint32_t PageDepth(unsigned index) const; // bits per pixel of its deepest layer
    virtual uint32_t PageLayers(unsigned index) const;

    static void FreeMemory(void* buffer); // of SaveMemory; null is allowed

    // Makes the page `index` a copy of the bitmap, as one layer; the caller keeps the handle. For index -1, or whatever
    // the index if the document is empty, a new page is added. Bitmaps of 1, 4, 8, 24 and 32 bits keep their depth
    // (32 becomes opaque), 16 bits become 24. 1, or 0: null or no bitmap, an index past the end, a depth not named
    // here, or no memory; the page is empty then, and no new one is added. May be called after a fault: pixels are
    // taken from the system, not from the heap.
    unsigned SetSlideBitmap(unsigned index, HBITMAP__* bitmap);

    // Makes the pages from `first` exactly width x height; `count` -1 means all that follow, and more than there are
    // is cut to that. Pixels are resampled by glib::Scale with the scale type (1 is the best). With `fit_rect` a page's
    // own rectangle is fitted into the new size; with `all_layers` layers that don't scale otherwise do too.
    // 1: done (for count 0 nothing). 0: no such page, a page that can't be stretched, or stopped by the callback; the
    // pages before it are done. The callback is given "stretch...", the number of pages in the document, and the page
    // number from 1; before that step 0, whose answer is ignored, and in the end always -2. With no page to begin with
    // it is not called.
    unsigned Stretch(unsigned width, unsigned height, int scale_type, bool fit_rect, unsigned first, unsigned count,
                     bool all_layers);

    // Null: none.
    void SetProgress(FilmProgressCallback callback, void* context);

    unsigned PageCount() const;
    Slide& Page(unsigned index); // checked
    Slide* AddPage();            // an empty one at the end; without memory null, or the exception
    int32_t CurrentPage() const; // -1: none
    void SetCurrentPage(int32_t index);
    const char* Title() const; // until the next change

private:
    FilmBody* m_body;
};

static_assert(sizeof(Film) == 2 * sizeof(void*), "the type table and the body");

} // namespace glib
