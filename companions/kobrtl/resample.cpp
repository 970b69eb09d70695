// The vertical pass comes first: for one destination row it sums up whole source rows, which streams through the
// picture once and vectorises whatever the pixels are. The result, one row of 16-bit samples as wide as the source,
// goes through the horizontal pass at once, while it is in the cache.
//
// A picture of 32 bits begins as one that is opaque, since nearly all are. The first row that isn't starts it over with
// colours weighted by their opacity.
#include "companions/kobrtl/resample.h"

#include <string.h>

#include "companions/kobrtl/row_source.h"

namespace kobrtl {

namespace {

// What keeps sums within 32 bits: bytes and 16-bit samples in the vertical pass, 16-bit samples in the horizontal one.
constexpr unsigned kMostByteShift = 22;
constexpr unsigned kMostSampleShift = 15;
constexpr unsigned kMostHorizontalShift = 16;

enum class Outcome { done, no_memory, not_opaque };

class Resampler {
public:
    Resampler(const Picture& source, const Canvas& canvas, const FilterPair& filters, const RowKernels& kernels)
        : m_source(source), m_canvas(canvas), m_filters(filters), m_kernels(kernels),
          m_channels(pixel_kind(source).channels) {}

    Outcome run(RowForm form);

private:
    Outcome sum_rows(unsigned y);
    void continue_edges();

    const Picture& m_source;
    const Canvas& m_canvas;
    const FilterPair& m_filters;
    const RowKernels& m_kernels;
    const unsigned m_channels;
    RowForm m_form = RowForm::bytes;
    RowSource m_rows;
    AxisWeights m_vertical, m_horizontal;
    Block<int32_t> m_sums;
    Block<int16_t> m_middle;
    int16_t* m_samples = nullptr; // source pixel 0 in m_middle
};

const Filter& filter_for(const FilterPair& filters, unsigned from, unsigned to) {
    return from > to ? filters.shrink : filters.grow;
}

Outcome Resampler::run(RowForm form) {
    m_form = form;
    const Filter& down = filter_for(m_filters, m_source.height, m_canvas.height);
    const Filter& across = filter_for(m_filters, m_source.width, m_canvas.width);
    if (!m_vertical.build(m_source.height, m_canvas.height, down,
                          form == RowForm::bytes ? kMostByteShift : kMostSampleShift) ||
        !m_horizontal.build(m_source.width, m_canvas.width, across, kMostHorizontalShift))
        return Outcome::no_memory;

    const unsigned taps = 2 * m_vertical.most_pairs();
    if (!m_rows.open(m_source, form, taps < kMostRows ? taps : kMostRows, m_kernels))
        return Outcome::no_memory;
    const size_t samples = static_cast<size_t>(m_source.width) * m_channels;
    if (taps > kMostRows && !m_sums.allocate(samples))
        return Outcome::no_memory;

    // Room for the pixels beyond both edges, with the first pixel of the picture 16-byte aligned.
    const int32_t beyond = m_horizontal.highest() - static_cast<int32_t>(m_source.width);
    const size_t before = (static_cast<size_t>(-m_horizontal.lowest()) * m_channels + 7) & ~size_t(7);
    const size_t behind = static_cast<size_t>(beyond > 0 ? beyond : 0) * m_channels + 8;
    if (!m_middle.allocate(before + samples + behind))
        return Outcome::no_memory;
    memset(m_middle.data(), 0, (before + samples + behind) * sizeof(int16_t));
    m_samples = m_middle.data() + before;

    const HorizontalRun run = {m_samples, &m_horizontal, m_canvas.width, m_channels};
    for (unsigned y = 0; y < m_canvas.height; ++y) {
        const Outcome outcome = sum_rows(y);
        if (outcome != Outcome::done)
            return outcome;
        continue_edges();
        if (form == RowForm::bytes)
            m_kernels.horizontal(run, m_canvas.row(y));
        else
            m_kernels.horizontal_weighted(run, m_canvas.row(y));
    }
    return Outcome::done;
}

Outcome Resampler::sum_rows(unsigned y) {
    const AxisWeights::Taps& taps = m_vertical.taps(y);
    const void* rows[kMostRows];
    VerticalRun run = {};
    run.rows = rows;
    run.weights = m_vertical.weights(taps);
    run.count = static_cast<size_t>(m_source.width) * m_channels;
    run.sums = m_sums.data();
    run.out = m_samples;
    const unsigned weight_shift = m_vertical.shift();
    if (m_form == RowForm::bytes) {
        run.shift = weight_shift - kMiddleBits;
        run.start = (1 << (run.shift - 1)) - (kCentre << weight_shift);
    } else {
        run.shift = weight_shift + 1;
        run.start = 1 << (run.shift - 1);
    }

    const int32_t last_row = static_cast<int32_t>(m_source.height) - 1;
    int32_t source_row = taps.first;
    for (unsigned left = taps.pairs; left;) {
        run.pairs = left < kMostRows / 2 ? left : kMostRows / 2;
        for (unsigned i = 0; i < 2 * run.pairs; ++i, ++source_row) {
            const int32_t inside = source_row < 0 ? 0 : source_row > last_row ? last_row : source_row;
            rows[i] = m_rows.row(static_cast<unsigned>(inside));
            if (!rows[i])
                return Outcome::not_opaque;
        }
        run.first = left == taps.pairs;
        run.last = left == run.pairs;
        if (m_form == RowForm::bytes)
            m_kernels.vertical_bytes(run);
        else
            m_kernels.vertical_samples(run);
        run.weights += static_cast<size_t>(run.pairs) * 2 * AxisWeights::kLanes;
        left -= run.pairs;
    }
    return Outcome::done;
}

void Resampler::continue_edges() {
    const size_t pixel = m_channels;
    for (int32_t x = m_horizontal.lowest(); x < 0; ++x)
        memcpy(m_samples + x * static_cast<ptrdiff_t>(pixel), m_samples, pixel * sizeof(int16_t));
    const int16_t* edge = m_samples + (m_source.width - 1) * pixel;
    for (int32_t x = static_cast<int32_t>(m_source.width); x < m_horizontal.highest(); ++x)
        memcpy(m_samples + x * static_cast<ptrdiff_t>(pixel), edge, pixel * sizeof(int16_t));
}

} // namespace

bool resample(const Picture& source, const Canvas& canvas, const FilterPair& filters, const RowKernels& kernels) {
    Outcome outcome = Outcome::not_opaque;
    if (pixel_kind(source).channels != 4 || source.bpp == 32)
        outcome = Resampler(source, canvas, filters, kernels).run(RowForm::bytes);
    if (outcome == Outcome::not_opaque)
        outcome = Resampler(source, canvas, filters, kernels).run(RowForm::weighted);
    return outcome == Outcome::done;
}

void pick_nearest(const Picture& source, const Canvas& canvas) {
    const unsigned bytes = source.bpp / 8;
    for (unsigned y = 0; y < canvas.height; ++y) {
        const uint8_t* from =
            source.row(static_cast<unsigned>((2 * uint64_t(y) + 1) * source.height / (2 * uint64_t(canvas.height))));
        uint8_t* to = canvas.row(y);
        if (!bytes)
            memset(to, 0, row_length(canvas.width, source.bpp));
        for (unsigned x = 0; x < canvas.width; ++x) {
            const size_t at = static_cast<size_t>((2 * uint64_t(x) + 1) * source.width / (2 * uint64_t(canvas.width)));
            if (bytes) {
                memcpy(to + static_cast<size_t>(x) * bytes, from + at * bytes, bytes);
            } else {
                const size_t bit = at * source.bpp, target = static_cast<size_t>(x) * source.bpp;
                const unsigned index = from[bit / 8] >> (8 - source.bpp - bit % 8) & ((1u << source.bpp) - 1);
                to[target / 8] = static_cast<uint8_t>(to[target / 8] | index << (8 - source.bpp - target % 8));
            }
        }
    }
}

} // namespace kobrtl
