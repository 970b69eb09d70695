// The document's beginning and end, which count it among those that need GDI+, and its plain properties. Bitmaps,
// loading and saving are in the other film_*_win.cpp.
#include "glib/film.h"

#include <new>

#include "glib/film_body.h"
#include "glib/gdiplus_init.h"

namespace glib {

Film::Film() : m_body(new(std::nothrow) FilmBody) {
    if (!m_body)
        gen::throw_out_of_memory();
    count_document();
}

Film::~Film() noexcept(false) {
    try {
        m_body->TellEnd();
    } catch (gen::genlib_error&) {
        // Without memory for its record the callback is not called.
    }
    delete m_body;
    discount_document();
}

void Film::SetTitle(const char* title, bool only_if_unset) {
    if (!only_if_unset || m_body->title.empty())
        m_body->title = title ? title : "";
}

Film* Film::Clone() const {
    Film* copy = nullptr;
    bool copied = false;
    try {
        copy = new (std::nothrow) Film;
        copied = copy && copy->m_body->CopyFrom(*m_body);
    } catch (gen::genlib_out_of_memory&) {
        // Answered with null, as every lack of memory here.
    }
    if (copied)
        return copy;
    delete copy;
    return nullptr;
}

void Film::Reset() {
    m_body->Reset();
}

void Film::RemovePage(unsigned index) {
    m_body->pages().remove(index);
    // The current page stays the same one; where it goes itself, the next one takes its place, or the last.
    const int32_t current = m_body->current_page(), last = static_cast<int32_t>(PageCount()) - 1;
    if (current > last || current > static_cast<int32_t>(index))
        m_body->SetCurrentPage(current - 1);
}

uint32_t Film::SourceFormat() const {
    return m_body->source_format;
}

uint32_t Film::PageWidth(unsigned index) const {
    return m_body->pages()[index]->width();
}

uint32_t Film::PageHeight(unsigned index) const {
    return m_body->pages()[index]->height();
}

uint32_t Film::PageDepth(unsigned index) const {
    return m_body->pages()[index]->BitsPerPixel();
}

uint32_t Film::PageLayers(unsigned index) const {
    return m_body->pages()[index]->LayerCount();
}

unsigned Film::Stretch(unsigned width, unsigned height, int scale_type, bool fit_rect, unsigned first, unsigned count,
                       bool all_layers) {
    return m_body->Stretch(width, height, scale_type, fit_rect, first, count, all_layers);
}

void Film::SetProgress(FilmProgressCallback callback, void* context) {
    m_body->SetProgress(callback, context);
}

unsigned Film::PageCount() const {
    return m_body->pages().size();
}

Slide& Film::Page(unsigned index) {
    return *m_body->pages()[index];
}

Slide* Film::AddPage() {
    return m_body->AppendPage();
}

int32_t Film::CurrentPage() const {
    return m_body->current_page();
}

void Film::SetCurrentPage(int32_t index) {
    m_body->SetCurrentPage(index);
}

const char* Film::Title() const {
    return m_body->title.c_str();
}

} // namespace glib
