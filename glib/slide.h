// One page of an image document.
#pragma once

#include "base/array_ptr.h"
#include "glib/layer.h"

namespace glib {

// Four bounds in page pixels; all 0: unset.
struct PageRect {
    int32_t left, top, right, bottom;

    bool is_set() const { return left || top || right || bottom; }
};

// The largest size with the aspect ratio of `rect` that fits inside width x height, at least one pixel a side, in the
// middle of it. An empty or inverted rectangle comes out unset.
PageRect fitted(const PageRect& rect, uint32_t width, uint32_t height) noexcept;

// A position on a page of `old_size` pixels as it comes to lie when the page gets `new_size`; truncates towards 0.
int32_t scaled_position(int32_t position, uint32_t new_size, uint32_t old_size);
// A size likewise, but at least 1: a layer that would vanish keeps one pixel.
uint32_t scaled_size(uint32_t size, uint32_t new_size, uint32_t old_size);

// Every change either happens as a whole or leaves the page as it was.
class Slide {
public:
    Slide() = default;
    Slide(const Slide&) = delete;
    Slide& operator=(const Slide&) = delete;
    virtual ~Slide(); // 1

    // 2: Makes the page exactly width x height. Every layer that scales gets its size and place times width / old width
    // by height / old height; with `all_layers` the others too. With `fit_rect`, the page's own rectangle, if set, is
    // fitted into the new size; without it the rectangle stays as it is. A page with a layer in "diss" mode above
    // another one is flattened first: its noise would not survive resampling. BADA for a size of 0, or one that makes
    // any size 2^31 or more.
    virtual ResultCode Stretch(uint32_t width, uint32_t height, int scale_type, bool fit_rect, bool all_layers);
    // 3: Makes one pixel layer of all, of the page's size, named "Layer 1". What sticks out of the page is cut.
    virtual ResultCode Flatten();
    // 4: A page that looks the same; the caller deletes it. Without memory null, or gen::genlib_out_of_memory.
    virtual Slide* Clone() const;
    // 5: Tells the page which page of its document is the current one, -1: none.
    virtual void SetCurrentPage(int32_t index);

    uint32_t width() const { return m_width; }
    uint32_t height() const { return m_height; }
    // Changes the page alone; layers stay where and as they are.
    void SetSize(uint32_t width, uint32_t height);
    int32_t current_page() const { return m_current_page; }

    unsigned LayerCount() const { return m_layers.size(); }
    // Layer 0 is the lowest. Checked: throws gen::genlib_out_of_range(i, LayerCount()).
    Layer& LayerAt(unsigned i) { return *m_layers[i]; }
    const Layer& LayerAt(unsigned i) const { return *m_layers[i]; }
    // Puts a layer on top and names it "Layer %d" by its place, from 1. It is the page's from the call on, also if the
    // call throws. An empty page takes its size.
    void AddLayer(Layer* layer);
    // Takes the layer out and deletes it; checked.
    void RemoveLayer(unsigned i);
    // Removes all layers and the rectangle; the size becomes 0 x 0.
    void Clear() noexcept;

    // The bits per pixel of the deepest layer, 0 without layers.
    uint32_t BitsPerPixel() const;
    // Whether the page is one pixel layer that covers it exactly.
    bool IsPlain() const;
    // The page as one picture, see Flatten. Empty pages: BADA.
    ResultCode Render(Canvas& canvas) const;

    PageRect rect = {0, 0, 0, 0};                  // the page's own rectangle
    double resolution_x = 0.0, resolution_y = 0.0; // pixels per inch, 0: unknown
    uint32_t delay = 0;                            // milliseconds until the next page, 0: no film

private:
    bool needs_flattening() const;
    bool fits(uint32_t width, uint32_t height) const;

    gen::array_ptr<Layer> m_layers;
    uint32_t m_width = 0;
    uint32_t m_height = 0;
    int32_t m_current_page = -1;
};

} // namespace glib
