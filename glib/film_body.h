// What an image document holds and does. glib::Film (glib/film.h) is the handle that everyone else uses.
#pragma once

#include "base/array_ptr.h"
#include "base/std_string.h"
#include "glib/film.h"
#include "glib/filter_manager.h"
#include "glib/slide.h"

namespace glib {

// What is to be loaded, and how.
struct LoadRequest {
    EFormat format = EFormat_none; // none: found by the data
    const char* name = nullptr;    // a file name whose extension hints at the format; may be null
    uint32_t max_width = 0;        // both 0: the picture in full; else the thumbnail, or the picture made to fit
    uint32_t max_height = 0;       //
    bool append = false;           // behind the pages at hand, instead of in their place
    int32_t page = -1;             // this page alone, -1: all
    bool tolerant = false;         // of a damaged file take what is good (OKAF), instead of refusing it (BADI)
};

class FilmBody final : private ProgressSink {
public:
    static constexpr unsigned kAllPages = ~0u;

    FilmBody() = default;
    FilmBody(const FilmBody&) = delete;
    FilmBody& operator=(const FilmBody&) = delete;

    gen::array_ptr<Slide>& pages() { return m_pages; }
    const gen::array_ptr<Slide>& pages() const { return m_pages; }
    // Makes an empty page at the end. Without memory null, or gen::genlib_out_of_memory.
    Slide* AppendPage();
    // The page that a picture put in at `index` goes to: a page at hand, a new one if index is -1 or there are no
    // pages, null for an index past the end. `is_new` tells which. Without memory as AppendPage.
    Slide* TargetPage(unsigned index, bool* is_new);

    int32_t current_page() const { return m_current_page; }
    void SetCurrentPage(int32_t index); // tells every page

    void SetProgress(FilmProgressCallback callback, void* context);
    // Calls the callback, if there is one, for the last time.
    void TellEnd();

    // 1: all pages of the range stretched; 0: stopped, failed, or nothing to do it on. See Film::Stretch.
    unsigned Stretch(uint32_t width, uint32_t height, int scale_type, bool fit_rect, unsigned first, unsigned count,
                     bool all_layers);

    // The document stays as it was unless the result is a success.
    ResultCode Load(FilterManager& manager, VStream& stream, const LoadRequest& request);
    ResultCode Info(FilterManager& manager, VStream& stream, const char* name, EFormat format, ImageFileInfo& info);
    // What can be said against saving before anything is written.
    ResultCode CanSave(FilterManager& manager, const BaseFormatDesc& options) const;
    ResultCode Save(FilterManager& manager, VStream& stream, const BaseFormatDesc& options);

    // Takes pages, title and format of the other. Without memory nothing is changed: false, or out of memory thrown by
    // a container. The callback stays.
    bool CopyFrom(const FilmBody& other);
    // No pages, no title, no format, no current page. The callback stays.
    void Reset();

    CStdString title;
    EFormat source_format = EFormat_none; // of the last load

private:
    bool tell(FilmProgress& progress, int32_t step) const; // false: the callback wants to stop
    bool OnModuleProgress(uint32_t step, uint32_t total) override;
    ResultCode load_exchange(FilterManager& manager, VStream& stream, const LoadRequest& request, EFormat format,
                             ImageDataExchange& image);
    ResultCode adopt(ImageDataExchange& image, const LoadRequest& request);
    ResultCode export_page(Slide& page, bool keep_alpha, ImageDataExchange& image, gen::array_ptr<Raster>& made);

    gen::array_ptr<Slide> m_pages;
    int32_t m_current_page = -1;
    FilmProgressCallback m_callback = nullptr;
    void* m_context = nullptr;
    const char* m_module_step = ""; // the text for the progress of a module
};

} // namespace glib
