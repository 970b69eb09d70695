// Loading and copying make their pages apart, and change the document only when nothing can fail any more. Stretch goes
// page by page and stops at the first that fails.
#include "glib/film_body.h"

#include <new>

#include "base/owner.h"
#include "glib/canvas.h"
#include "glib/stream.h"

namespace glib {

Slide* FilmBody::AppendPage() {
    gen::Owner<Slide> page(new (std::nothrow) Slide);
    if (!page)
        return nullptr;
    page->SetCurrentPage(m_current_page);
    return m_pages.add(gen::move(page));
}

Slide* FilmBody::TargetPage(unsigned index, bool* is_new) {
    *is_new = index == kAllPages || m_pages.empty();
    if (*is_new)
        return AppendPage();
    return index < m_pages.size() ? m_pages[index] : nullptr;
}

void FilmBody::SetCurrentPage(int32_t index) {
    m_current_page = index;
    for (unsigned i = 0; i < m_pages.size(); ++i)
        m_pages[i]->SetCurrentPage(index);
}

void FilmBody::SetProgress(FilmProgressCallback callback, void* context) {
    m_callback = callback;
    m_context = context;
}

bool FilmBody::tell(FilmProgress& progress, int32_t step) const {
    progress.step = step;
    return !m_callback || m_callback(m_context, &progress) != 0;
}

void FilmBody::TellEnd() {
    if (!m_callback)
        return;
    FilmProgress progress = {"", 0, 0, 1};
    tell(progress, FilmProgress::kFinished);
}

bool FilmBody::OnModuleProgress(uint32_t step, uint32_t total) {
    if (!m_callback)
        return true;
    try {
        FilmProgress progress = {m_module_step, total, 0, 1};
        return tell(progress, step > INT32_MAX ? INT32_MAX : static_cast<int32_t>(step));
    } catch (gen::genlib_out_of_memory&) {
        return true; // nobody can be asked
    }
}

unsigned FilmBody::Stretch(uint32_t width, uint32_t height, int scale_type, bool fit_rect, unsigned first,
                           unsigned count, bool all_layers) {
    const unsigned total = m_pages.size();
    if (first >= total)
        return 0;
    const unsigned end = count > total - first ? total : first + count; // all_pages too
    FilmProgress progress = {"stretch...", total, 0, 1};
    tell(progress, 0);
    unsigned done = 1;
    for (unsigned i = first; i < end && done; ++i)
        done = tell(progress, static_cast<int32_t>(i + 1)) &&
               m_pages[i]->Stretch(width, height, scale_type, fit_rect, all_layers) == RCOK;
    tell(progress, FilmProgress::kFinished);
    return done;
}

// A thumbnail is asked for first where one would do. Not every module or file has one: then the picture itself is
// loaded from the place where the stream was, and made to fit when it becomes a page.
ResultCode FilmBody::load_exchange(FilterManager& manager, VStream& stream, const LoadRequest& request, EFormat format,
                                   ImageDataExchange& image) {
    const uint64_t start = stream.Tell();
    if (request.max_width && request.page <= 0) {
        const ResultCode code = manager.Thumbnail(format, image, stream, request.max_width, request.max_height);
        if (code != NSUP && code != TMNS)
            return code;
        stream.SetPosition(start);
    }
    return manager.Load(format, image, stream, request.page);
}

// Makes pages of what the module has given, and only then changes the document.
ResultCode FilmBody::adopt(ImageDataExchange& image, const LoadRequest& request) {
    gen::array_ptr<Slide> fresh;
    for (unsigned i = 0; i < image.pages.size(); ++i) {
        gen::Owner<Slide> page(new (std::nothrow) Slide);
        gen::Owner<Layer> layer(page ? new (std::nothrow) Layer(image.TakeRaster(i)) : nullptr);
        if (!layer)
            return OMEM;
        page->AddLayer(layer.release());
        page->resolution_x = image.pages[i]->resolution_x;
        page->resolution_y = image.pages[i]->resolution_y;
        page->delay = image.pages[i]->delay;
        if (request.max_width && (page->width() > request.max_width || page->height() > request.max_height)) {
            const PageRect whole = {0, 0, static_cast<int32_t>(page->width()), static_cast<int32_t>(page->height())};
            const PageRect fit = fitted(whole, request.max_width, request.max_height);
            const ResultCode code = page->Stretch(static_cast<uint32_t>(fit.right - fit.left),
                                                  static_cast<uint32_t>(fit.bottom - fit.top), 1, false, true);
            if (code != RCOK)
                return code;
        }
        fresh.add(gen::move(page));
    }
    if (!request.append) {
        m_pages = gen::move(fresh);
        SetCurrentPage(0);
        return RCOK;
    }
    // From here on nothing fails.
    m_pages.grow(m_pages.size() + fresh.size());
    while (!fresh.empty())
        m_pages.add(fresh.detach(0));
    SetCurrentPage(m_current_page);
    return RCOK;
}

ResultCode FilmBody::Load(FilterManager& manager, VStream& stream, const LoadRequest& request) {
    if (request.page < -1 || !request.max_width != !request.max_height)
        return BADA;
    EFormat format = request.format;
    if (format == EFormat_none) {
        const ResultCode code = manager.Detect(stream, request.name, &format);
        if (code != RCOK)
            return code;
    }
    ImageDataExchange image(this);
    m_module_step = "load...";
    ResultCode code = load_exchange(manager, stream, request, format, image);
    // What could be saved of a damaged file is a picture only to whoever said so before.
    if (code == OKAF && !request.tolerant)
        code = BADI;
    if (!succeeded(code))
        return code;
    const ResultCode adopted = adopt(image, request);
    if (adopted != RCOK)
        return adopted;
    source_format = format;
    return code;
}

ResultCode FilmBody::Info(FilterManager& manager, VStream& stream, const char* name, EFormat format,
                          ImageFileInfo& info) {
    if (format == EFormat_none) {
        const ResultCode code = manager.Detect(stream, name, &format);
        if (code != RCOK)
            return code;
    }
    return manager.Info(format, stream, info);
}

ResultCode FilmBody::CanSave(FilterManager& manager, const BaseFormatDesc& options) const {
    if (options.first_page >= m_pages.size())
        return BADA;
    return manager.CanSave(static_cast<EFormat>(options.format));
}

// Puts the page into the exchange: as it lies in the document if it is one picture that can be written as it is, else a
// rendering that `made` keeps.
ResultCode FilmBody::export_page(Slide& page, bool keep_alpha, ImageDataExchange& image, gen::array_ptr<Raster>& made) {
    const bool plain = page.IsPlain();
    Raster* shown = plain ? &page.LayerAt(0).raster() : nullptr;
    if (!plain || (!keep_alpha && shown->HasAlpha())) {
        Canvas canvas;
        const ResultCode code = plain ? (canvas.CreateFrom(*shown) ? RCOK : OMEM) : page.Render(canvas);
        if (code != RCOK)
            return code;
        gen::Owner<Raster> raster(new (std::nothrow) Raster);
        if (!raster || !(keep_alpha ? canvas.ToRaster(*raster) : canvas.ToRasterOnWhite(*raster)))
            return OMEM;
        shown = made.add(gen::move(raster));
    }
    if (!is_within_contract(shown->width(), shown->height(),
                            picture_length(shown->bits_per_pixel(), shown->width(), shown->height())))
        return OMEM; // modules rely on it
    image.AddView(*shown);
    IDEPage& record = *image.pages[image.pages.size() - 1];
    record.resolution_x = page.resolution_x;
    record.resolution_y = page.resolution_y;
    record.delay = page.delay;
    return RCOK;
}

ResultCode FilmBody::Save(FilterManager& manager, VStream& stream, const BaseFormatDesc& options) {
    ResultCode code = CanSave(manager, options);
    if (code != RCOK)
        return code;
    const unsigned left = m_pages.size() - options.first_page;
    const unsigned count = options.page_count && options.page_count < left ? options.page_count : left;
    gen::array_ptr<Raster> made;
    ImageDataExchange image(this);
    for (unsigned i = 0; i < count; ++i) {
        code = export_page(*m_pages[options.first_page + i], options.keep_alpha != 0, image, made);
        if (code != RCOK)
            return code;
    }
    m_module_step = "save...";
    return manager.Save(static_cast<EFormat>(options.format), image, stream, options);
}

bool FilmBody::CopyFrom(const FilmBody& other) {
    gen::array_ptr<Slide> fresh;
    for (unsigned i = 0; i < other.m_pages.size(); ++i) {
        gen::Owner<Slide> page(other.m_pages[i]->Clone());
        if (!page)
            return false;
        fresh.add(gen::move(page));
    }
    CStdString copied_title(other.title);
    m_pages = gen::move(fresh);
    title = gen::move(copied_title);
    source_format = other.source_format;
    SetCurrentPage(other.m_current_page);
    return true;
}

void FilmBody::Reset() {
    m_pages.clear();
    title = "";
    source_format = EFormat_none;
    m_current_page = -1;
}

} // namespace glib
