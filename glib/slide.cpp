// A stretch scales each layer apart and puts the new ones in place only when all are done. A page with a dissolving
// layer above another is flattened first.
#include "glib/slide.h"

#include <new>

#include "base/owner.h"
#include "glib/canvas.h"

namespace glib {

// The sides are compared by products, in 64 bits: quotients would round before they are compared.
PageRect fitted(const PageRect& rect, uint32_t width, uint32_t height) noexcept {
    const int64_t w = static_cast<int64_t>(rect.right) - rect.left;
    const int64_t h = static_cast<int64_t>(rect.bottom) - rect.top;
    if (w <= 0 || h <= 0)
        return {0, 0, 0, 0};
    int64_t fit_w = width, fit_h = height;
    if (w * height < h * width)
        fit_w = w * height / h;
    else
        fit_h = h * width / w;
    fit_w = fit_w < 1 ? 1 : fit_w;
    fit_h = fit_h < 1 ? 1 : fit_h;
    const int32_t left = static_cast<int32_t>((width - fit_w) / 2), top = static_cast<int32_t>((height - fit_h) / 2);
    return {left, top, static_cast<int32_t>(left + fit_w), static_cast<int32_t>(top + fit_h)};
}

int32_t scaled_position(int32_t position, uint32_t new_size, uint32_t old_size) {
    const int64_t scaled = static_cast<int64_t>(position) * new_size / old_size;
    const int64_t kept = scaled > INT32_MAX ? INT32_MAX : scaled < INT32_MIN ? INT32_MIN : scaled;
    return static_cast<int32_t>(kept);
}

uint32_t scaled_size(uint32_t size, uint32_t new_size, uint32_t old_size) {
    const uint64_t scaled = static_cast<uint64_t>(size) * new_size / old_size;
    if (scaled > 0xFFFFFFFFu)
        return 0xFFFFFFFFu; // beyond every limit
    return scaled ? static_cast<uint32_t>(scaled) : 1;
}

Slide::~Slide() {}

void Slide::SetSize(uint32_t width, uint32_t height) {
    m_width = width;
    m_height = height;
}

void Slide::AddLayer(Layer* layer) {
    gen::Owner<Layer> owner(layer);
    layer->name.format("Layer %d", static_cast<int>(m_layers.size()) + 1);
    m_layers.add(gen::move(owner));
    // The first layer gives the page its size.
    if (!m_width && !m_height)
        SetSize(layer->width(), layer->height());
}

void Slide::RemoveLayer(unsigned i) {
    m_layers.remove(i);
}

void Slide::Clear() noexcept {
    m_layers.clear();
    rect = {0, 0, 0, 0};
    SetSize(0, 0);
}

uint32_t Slide::BitsPerPixel() const {
    uint32_t bits = 0;
    for (unsigned i = 0; i < m_layers.size(); ++i)
        if (m_layers[i]->bits_per_pixel() > bits)
            bits = m_layers[i]->bits_per_pixel();
    return bits;
}

bool Slide::IsPlain() const {
    if (m_layers.size() != 1)
        return false;
    const Layer& only = *m_layers[0];
    return !only.is_vector() && only.blend_mode == blend_norm && !only.left && !only.top && only.width() == m_width &&
           only.height() == m_height;
}

ResultCode Slide::Render(Canvas& canvas) const {
    if (!m_layers.size())
        return BADA;
    if (!canvas.Create(m_width, m_height))
        return OMEM;
    for (unsigned i = 0; i < m_layers.size(); ++i) {
        const ResultCode code = m_layers[i]->DrawOn(canvas);
        if (code != RCOK)
            return code;
    }
    return RCOK;
}

ResultCode Slide::Flatten() {
    Canvas canvas;
    const ResultCode code = Render(canvas);
    if (code != RCOK)
        return code;
    Raster raster;
    if (!canvas.ToRaster(raster))
        return OMEM;
    gen::Owner<Layer> flat(new (std::nothrow) Layer(gen::move(raster)));
    if (!flat)
        return OMEM;
    flat->name = "Layer 1";
    // From here on nothing fails: the one element stays in its place.
    while (m_layers.size() > 1)
        m_layers.remove(m_layers.size() - 1);
    m_layers.set(0, flat.release());
    return RCOK;
}

bool Slide::needs_flattening() const {
    for (unsigned i = 1; i < m_layers.size(); ++i)
        if (m_layers[i]->blend_mode == blend_diss)
            return true;
    return false;
}

// Whether every size that a stretch to this one leads to has 31 bits, as positions have: no product overflows then.
bool Slide::fits(uint32_t width, uint32_t height) const {
    uint32_t all = width | height;
    for (unsigned i = 0; i < m_layers.size(); ++i)
        all |= scaled_size(m_layers[i]->width(), width, m_width) | scaled_size(m_layers[i]->height(), height, m_height);
    return all <= INT32_MAX;
}

ResultCode Slide::Stretch(uint32_t width, uint32_t height, int scale_type, bool fit_rect, bool all_layers) {
    if (!width || !height || !m_width || !m_height || !fits(width, height))
        return BADA;
    if (needs_flattening()) {
        // On a copy, so that a failure later on leaves the layers apart.
        gen::Owner<Slide> flat(Clone());
        if (!flat)
            return OMEM;
        ResultCode code = flat->Flatten();
        if (code == RCOK)
            code = flat->Stretch(width, height, scale_type, fit_rect, all_layers);
        if (code != RCOK)
            return code;
        m_layers = gen::move(flat->m_layers);
        rect = flat->rect;
        SetSize(width, height);
        return RCOK;
    }

    // Null stays in the place of a layer that isn't scaled.
    gen::array_ptr<Layer> resized;
    resized.resize(m_layers.size());
    for (unsigned i = 0; i < m_layers.size(); ++i) {
        const Layer& layer = *m_layers[i];
        if (!layer.scales && !all_layers)
            continue;
        Layer* scaled;
        const ResultCode code = layer.Resized(scaled_size(layer.width(), width, m_width),
                                              scaled_size(layer.height(), height, m_height), scale_type, &scaled);
        if (code != RCOK)
            return code;
        resized.set(i, scaled);
        scaled->left = scaled_position(layer.left, width, m_width);
        scaled->top = scaled_position(layer.top, height, m_height);
    }
    for (unsigned i = m_layers.size(); i-- > 0;)
        if (Layer* scaled = resized.detach(i))
            m_layers.set(i, scaled);
    if (fit_rect && rect.is_set())
        rect = fitted(rect, width, height);
    SetSize(width, height);
    return RCOK;
}

Slide* Slide::Clone() const {
    gen::Owner<Slide> copy(new (std::nothrow) Slide);
    for (unsigned i = 0; copy && i < m_layers.size(); ++i) {
        gen::Owner<Layer> layer(m_layers[i]->Clone());
        if (!layer)
            return nullptr;
        copy->m_layers.add(gen::move(layer));
    }
    if (copy) {
        copy->rect = rect;
        copy->resolution_x = resolution_x;
        copy->resolution_y = resolution_y;
        copy->delay = delay;
        copy->SetSize(m_width, m_height);
    }
    return copy.release();
}

void Slide::SetCurrentPage(int32_t index) {
    m_current_page = index;
}

} // namespace glib
